#include "tarnwell/mcp/tools.h"

#include <algorithm>
#include <array>

#include "tarnwell/model/block_session.h"

namespace tarnwell::mcp {
namespace {

constexpr auto priorities = texts(TaskPriority{});
constexpr auto modes = texts(SessionMode{});
constexpr auto taskStatuses =
    std::to_array<std::string_view>({"open", "completed", "archived", "all"});
constexpr auto proposalStatuses =
    std::to_array<std::string_view>({"pending", "approved", "dismissed", "all"});

constexpr Argument revision{
    .name = "revision",
    .kind = ArgumentKind::revision,
    .description =
        "The revision of the plan that this change is based on: the one of the last "
        "answer. If the plan has changed since, nothing is done.",
    .isRequired = true};
constexpr Argument taskID{.name = "task_id",
                          .kind = ArgumentKind::identifier,
                          .description = "The id of the task, as the answers give it.",
                          .isRequired = true};
constexpr Argument activeTaskID{
    .name = "task_id",
    .kind = ArgumentKind::identifier,
    .description =
        "The id of the task that you take for the active one. The call is refused if "
        "another task is active."};
constexpr Argument pausedTaskID{
    .name = "task_id",
    .kind = ArgumentKind::identifier,
    .description =
        "The id of the task that you mean. The call is refused if another paused task "
        "comes first; start_task starts any paused task."};
constexpr Argument mode{
    .name = "mode",
    .kind = ArgumentKind::choice,
    .description =
        "For a task that blocks websites: flexible (the default) lets the user end the "
        "block early, strict does not.",
    .choices = modes};
constexpr Argument priority{.name = "priority",
                            .kind = ArgumentKind::choice,
                            .description = "The urgency; normal unless given.",
                            .choices = priorities};
constexpr Argument newPriority{.name = "priority",
                               .kind = ArgumentKind::choice,
                               .description = "The new urgency.",
                               .choices = priorities};
constexpr Argument limit{.name = "limit",
                         .kind = ArgumentKind::count,
                         .description = "The most tasks to list; 50 unless given."};

constexpr std::array dayArguments{
    Argument{.name = "day",
             .kind = ArgumentKind::day,
             .description = "The day as YYYY-MM-DD; today unless given."}};

constexpr std::array listArguments{
    Argument{.name = "status",
             .kind = ArgumentKind::choice,
             .description = "Which tasks: open (the default: neither completed nor archived), "
                            "completed, archived, or all.",
             .choices = taskStatuses},
    Argument{.name = "from",
             .kind = ArgumentKind::day,
             .description = "The first planned day, as YYYY-MM-DD. Leaves out undated tasks."},
    Argument{.name = "to",
             .kind = ArgumentKind::day,
             .description = "The last planned day, as YYYY-MM-DD. Leaves out undated tasks."},
    Argument{.name = "text",
             .kind = ArgumentKind::text,
             .description = "A text that the title or the notes contain, in either case."},
    limit};

constexpr std::array taskArguments{taskID};

constexpr std::array proposalArguments{
    Argument{.name = "status",
             .kind = ArgumentKind::choice,
             .description = "Which proposals: pending (the default), approved, dismissed, or all.",
             .choices = proposalStatuses}};

constexpr std::array changesArguments{
    Argument{.name = "since_revision",
             .kind = ArgumentKind::revision,
             .description = "List the changes after this revision. Not together with since."},
    Argument{.name = "since",
             .kind = ArgumentKind::instant,
             .description = "List the changes from this instant on, such as 2026-11-23T09:00:00Z. "
                            "Not together with since_revision."},
    Argument{.name = "limit",
             .kind = ArgumentKind::count,
             .description = "The most changes to list; 20 unless given."}};

constexpr std::array createArguments{
    revision,
    Argument{.name = "title",
             .kind = ArgumentKind::text,
             .description = "What is to be done. Not blank.",
             .isRequired = true},
    Argument{.name = "estimated_minutes",
             .kind = ArgumentKind::minutes,
             .description = "How long it takes, in minutes."},
    priority,
    Argument{.name = "planned_day",
             .kind = ArgumentKind::day,
             .description = "The day to do it, as YYYY-MM-DD; undated unless given."}};

constexpr std::array updateArguments{
    revision,
    taskID,
    Argument{
        .name = "title", .kind = ArgumentKind::text, .description = "The new title. Not blank."},
    Argument{.name = "estimated_minutes",
             .kind = ArgumentKind::minutes,
             .description = "The new estimate in minutes; null clears it.",
             .isNullable = true},
    newPriority,
    Argument{.name = "planned_day",
             .kind = ArgumentKind::day,
             .description = "The new day, as YYYY-MM-DD. A day cannot be cleared."}};

constexpr std::array startArguments{revision, taskID, mode};
constexpr std::array activeTaskArguments{revision, activeTaskID};
constexpr std::array resumeArguments{revision, pausedTaskID, mode};
constexpr std::array revisionArguments{revision};

constexpr std::array table{
    makeTool<tools::getDay>(
        {.name = "get_day",
         .title = "Get a day",
         .description = "Shows a day of the plan: its queue of tasks in order, the task to do "
                        "next, the planned minutes against the user's capacity, the active task "
                        "and the number of pending proposals.",
         .effect = ToolEffect::reads,
         .arguments = dayArguments}),
    makeTool<tools::listTasks>(
        {.name = "list_tasks",
         .title = "List tasks",
         .description = "Finds tasks by status, planned day and text, ordered by planned day and "
                        "then as the user has queued them, undated ones last.",
         .effect = ToolEffect::reads,
         .arguments = listArguments}),
    makeTool<tools::getTask>({.name = "get_task",
                              .title = "Get a task",
                              .description = "Shows the whole record of a task, notes included.",
                              .effect = ToolEffect::reads,
                              .arguments = taskArguments}),
    makeTool<tools::getReview>(
        {.name = "get_review",
         .title = "Review the week",
         .description = "Shows the present week in figures: planned and completed tasks, planned "
                        "and actual minutes, tasks carried over or skipped, and the minutes still "
                        "to do on each day.",
         .effect = ToolEffect::reads,
         .arguments = {}}),
    makeTool<tools::listProposals>(
        {.name = "list_proposals",
         .title = "List proposals",
         .description = "Lists the proposals for a better plan. Only the user can approve or "
                        "dismiss one.",
         .effect = ToolEffect::reads,
         .arguments = proposalArguments}),
    makeTool<tools::listChanges>(
        {.name = "list_changes",
         .title = "List changes",
         .description = "Lists who changed the plan, newest first: the user, the application or an "
                        "agent such as you.",
         .effect = ToolEffect::reads,
         .arguments = changesArguments}),
    makeTool<tools::createTask>({.name = "create_task",
                                 .title = "Create a task",
                                 .description = "Adds a task at the end of its day.",
                                 .effect = ToolEffect::adds,
                                 .arguments = createArguments}),
    makeTool<tools::updateTask>(
        {.name = "update_task",
         .title = "Update a task",
         .description = "Overwrites the title, the estimate, the priority or the planned day of a "
                        "task; at least one of them. The other members stay.",
         .effect = ToolEffect::overwritesOnce,
         .arguments = updateArguments}),
    makeTool<tools::startTask>(
        {.name = "start_task",
         .title = "Start a task",
         .description = "Makes a pending or paused task the active one; there is at most one. A "
                        "task that blocks websites opens the administrator's prompt, and the call "
                        "waits for the user's answer: say so beforehand.",
         .effect = ToolEffect::adds,
         .arguments = startArguments}),
    makeTool<tools::pauseTask>({.name = "pause_task",
                                .title = "Pause the active task",
                                .description = "Pauses the active task and records its time.",
                                .effect = ToolEffect::adds,
                                .arguments = activeTaskArguments}),
    makeTool<tools::skipTask>(
        {.name = "skip_task",
         .title = "Skip the active task",
         .description = "Puts the active task back to the end of its day and records its time.",
         .effect = ToolEffect::adds,
         .arguments = activeTaskArguments}),
    makeTool<tools::resumeTask>(
        {.name = "resume_task",
         .title = "Resume the paused task",
         .description = "Makes the first paused task the active one again. A task that blocks "
                        "websites opens the administrator's prompt, as start_task does.",
         .effect = ToolEffect::adds,
         .arguments = resumeArguments}),
    makeTool<tools::completeTask>(
        {.name = "complete_task",
         .title = "Complete the active task",
         .description = "Completes the active task, records its time and names the task to do "
                        "next. You cannot undo it.",
         .effect = ToolEffect::overwrites,
         .arguments = activeTaskArguments}),
    makeTool<tools::generateProposals>(
        {.name = "generate_proposals",
         .title = "Generate proposals",
         .description = "Proposes at most three changes of the plan: to move work off days beyond "
                        "the user's capacity, and to reschedule tasks that were skipped twice or "
                        "more. Drops the pending proposals. Only the user can approve one.",
         .effect = ToolEffect::overwrites,
         .arguments = revisionArguments}),
};

}  // namespace

std::span<const Tool> allTools() { return table; }

const Tool* findTool(std::string_view name) {
  const auto* const found =
      std::find_if(table.begin(), table.end(), [&](const Tool& tool) { return tool.name == name; });
  return found == table.end() ? nullptr : found;
}

}  // namespace tarnwell::mcp
