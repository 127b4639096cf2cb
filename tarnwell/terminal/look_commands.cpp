// The commands that show tasks: week, review, list and show.
#include <algorithm>
#include <cmath>

#include "tarnwell/base/text.h"
#include "tarnwell/planning/planner_engine.h"
#include "tarnwell/planning/recommendation_engine.h"
#include "tarnwell/terminal/commands.h"
#include "tarnwell/terminal/day_view.h"
#include "tarnwell/terminal/days.h"
#include "tarnwell/terminal/naming.h"
#include "tarnwell/terminal/task_details.h"
#include "tarnwell/time/iso_text.h"

namespace tarnwell::terminal {
namespace {

WeeklyReview reviewOfThisWeek(Host& host, const PersistedState& state) {
  return RecommendationEngine::review(host.now, state.tasks, host.calendar);
}

std::string minutesOf(std::int64_t minutes) { return minutesText(static_cast<double>(minutes)); }

std::string priorityCounts(const WeeklyReview& review) {
  std::string text;
  for (const auto& [priority, count] : review.completedByPriority) {
    text +=
        (text.empty() ? "" : ", ") + std::to_string(count) + " " + std::string(textOf(priority));
  }
  return text.empty() ? "none" : text;
}

// The review's figures, each with its meaning.
Table figuresOf(const WeeklyReview& review) {
  Table table{.columns = {{}, {}, {.isCut = true}}, .rows = {}};
  const auto add = [&](const char* name, std::string value, const char* meaning) {
    table.rows.push_back({{name}, {std::move(value), Style::heading}, {meaning, Style::dim}});
  };
  constexpr double hundred = 100;
  add("planned", std::to_string(review.plannedTaskCount), "tasks planned for a day of this week");
  add("completed", std::to_string(review.completedTaskCount), "of these, completed this week");
  add("completion", std::to_string(std::lround(review.completionRate * hundred)) + " %",
      "completed of planned");
  add("by priority", priorityCounts(review), "the completed ones of the planned");
  add("estimated", minutesOf(review.plannedMinutes), "for all that is planned, done or not");
  add("focused", minutesOf(review.actualMinutes), "on every task completed this week");
  add("carried over", std::to_string(review.carryoverTaskIDs.size()), "planned and still open");
  add("skipped", std::to_string(review.skippedTaskIDs.size()), "planned and put off at least once");
  add("finished", std::to_string(review.completedTaskIDs.size()),
      "tasks completed this week, whatever day they were planned for");
  return table;
}

std::string weekText(const WeeklyReview& review) {
  return "Week of " + isoText(review.weekStart) + " to " + isoText(review.weekEnd);
}

struct WeekDay {
  LocalDay day;
  std::int64_t plannedMinutes = 0;  // of its open tasks

  static constexpr auto fields() {
    return std::tuple{field("day", &WeekDay::day),
                      field("plannedMinutes", &WeekDay::plannedMinutes)};
  }
};

struct WeekView {
  std::int64_t capacityMinutes = 0;  // of each day
  std::vector<WeekDay> days{};
  WeeklyReview review;

  static constexpr auto fields() {
    return std::tuple{field("capacityMinutes", &WeekView::capacityMinutes),
                      field("days", &WeekView::days), field("review", &WeekView::review)};
  }
};

WeekView weekView(Host& host) {
  constexpr int daysPerWeek = 7;
  const auto plan = host.plan();
  const PersistedState& state = plan.state();
  WeekView view{.capacityMinutes = state.preferences.dailyCapacityMinutes,
                .review = reviewOfThisWeek(host, state)};
  for (int i = 0; i < daysPerWeek; ++i) {
    const LocalDay day = dayAfter(view.review.weekStart, i, host.calendar);
    view.days.push_back({day, PlannerEngine::workload(state.tasks, day).estimatedMinutes});
  }
  return view;
}

Page pageOf(const WeekView& view, const Host& host) {
  Page page{Line(weekText(view.review), Style::heading)};
  Table bars{.columns = {{}, {}, {.dropPriority = 1}, {}}, .rows = {}};
  for (const auto& [day, minutes] : view.days) {
    const Style style = day == host.today() ? Style::heading : Style::plain;
    std::vector<Span> row{{weekdayText(day), style}, {isoText(day), style}};
    for (Span& cell : workloadCells(minutes, view.capacityMinutes)) row.push_back(std::move(cell));
    bars.rows.push_back(std::move(row));
  }
  page.emplace_back(std::move(bars));
  page.emplace_back(Line(""));
  page.emplace_back(figuresOf(view.review));
  return page;
}

Outcome showWeek(Host& host, const Arguments& arguments) {
  const WeekView view = weekView(host);
  if (arguments.has(jsonFlag.name)) return inJSON(view);
  return Answer{.page = pageOf(view, host)};
}

void addTitles(Page& page, const char* heading, const std::vector<UUID>& ids,
               const std::vector<FocusTask>& tasks) {
  if (ids.empty()) return;
  page.emplace_back(Line(""));
  page.emplace_back(Line(heading, Style::heading));
  Table table{.columns = {{}, {.isCut = true}}, .rows = {}};
  for (const UUID& id : ids) {
    const FocusTask* const task = findTask(tasks, id);
    table.rows.push_back({{"  " + shortID(id), Style::dim}, {task == nullptr ? "" : task->title}});
  }
  page.emplace_back(std::move(table));
}

Outcome showReview(Host& host, const Arguments& arguments) {
  const auto plan = host.plan();
  const auto& tasks = plan.state().tasks;
  const WeeklyReview review = reviewOfThisWeek(host, plan.state());
  if (arguments.has(jsonFlag.name)) return inJSON(review);
  Page page{Line(weekText(review), Style::heading), figuresOf(review)};
  addTitles(page, "Carried over", review.carryoverTaskIDs, tasks);
  addTitles(page, "Skipped", review.skippedTaskIDs, tasks);
  addTitles(page, "Completed this week", review.completedTaskIDs, tasks);
  return Answer{.page = std::move(page)};
}

constexpr Parameter allFlag = flag("--all", "tasks in every state", 1);
constexpr Parameter completedFlag = flag("--completed", "completed tasks", 1);
constexpr Parameter archivedFlag = flag("--archived", "archived tasks", 1);

bool isListed(const FocusTask& task, const Arguments& arguments) {
  const auto text = arguments.value("TEXT");
  if (text && !hasWords(task, *text)) return false;
  if (arguments.has(allFlag.name)) return true;
  if (arguments.has(completedFlag.name)) return task.status == TaskStatus::completed;
  if (arguments.has(archivedFlag.name)) return task.status == TaskStatus::archived;
  return task.isOpen();
}

// Orders by day, undated tasks last, then by the user's order.
bool isListedBefore(const FocusTask& a, const FocusTask& b) {
  if (a.plannedDay.has_value() != b.plannedDay.has_value()) return a.plannedDay.has_value();
  if (a.plannedDay != b.plannedDay) return a.plannedDay < b.plannedDay;
  return a.manualPosition < b.manualPosition;
}

Page pageOf(const std::vector<FocusTask>& tasks) {
  if (tasks.empty()) return {Line("There are no such tasks.", Style::dim)};
  Table table{.columns = {{},
                          {.title = "day"},
                          {.title = "task", .isCut = true},
                          {.title = "state", .dropPriority = 1},
                          {.title = "priority", .dropPriority = 2},
                          {.title = "min", .alignment = Alignment::right, .dropPriority = 3}},
              .rows = {}};
  for (const FocusTask& task : tasks) {
    table.rows.push_back({{shortID(task.id), Style::dim},
                          {task.plannedDay ? isoText(*task.plannedDay) : ""},
                          {task.title, task.isOpen() ? Style::plain : Style::dim},
                          {std::string(textOf(task.status))},
                          {std::string(textOf(task.priority))},
                          {task.estimatedMinutes ? std::to_string(*task.estimatedMinutes) : ""}});
  }
  return {std::move(table)};
}

Outcome listTasks(Host& host, const Arguments& arguments) {
  const auto plan = host.plan();
  std::vector<FocusTask> tasks;
  std::copy_if(plan.state().tasks.begin(), plan.state().tasks.end(), std::back_inserter(tasks),
               [&](const FocusTask& task) { return isListed(task, arguments); });
  std::stable_sort(tasks.begin(), tasks.end(), isListedBefore);
  if (arguments.has(jsonFlag.name)) return inJSON(tasks);
  return Answer{.page = pageOf(tasks)};
}

Page pageOf(const FocusTask& task, Host& host) {
  Table table{.columns = {{}, {}}, .rows = {}};
  for (auto& [name, value] : detailsOf(task, host)) {
    if (value.empty()) continue;
    table.rows.push_back({{std::string(name), Style::dim}, {std::move(value)}});
  }
  Page page{Line(task.title, Style::heading), std::move(table)};
  if (task.notes.empty()) return page;
  page.emplace_back(Line(""));
  for (const auto line : split(task.notes, '\n')) page.emplace_back(Line(std::string(line)));
  return page;
}

Outcome showTask(Host& host, const Arguments& arguments) {
  const auto plan = host.plan();
  const FocusTask& task = namedTask(plan.state(), host.today(), arguments.text("TASK"));
  if (arguments.has(jsonFlag.name)) return inJSON(task);
  return Answer{.page = pageOf(task, host)};
}

constexpr std::array weekParameters = {jsonFlag};
constexpr std::array listParameters = {optional("TEXT", "words that the titles have"), allFlag,
                                       completedFlag, archivedFlag, jsonFlag};
constexpr std::array showParameters = {taskParameter, jsonFlag};

}  // namespace

constinit const Command commands::week = {.name = "week",
                                          .summary = "show what the week's days hold, in figures",
                                          .example = "tarnwell week",
                                          .parameters = weekParameters,
                                          .run = showWeek};
constinit const Command commands::review = {.name = "review",
                                            .summary = "show the week's figures and tasks",
                                            .example = "tarnwell review --json",
                                            .parameters = weekParameters,
                                            .run = showReview};
constinit const Command commands::list = {.name = "list",
                                          .summary = "list tasks of every day, with identifiers",
                                          .example = "tarnwell list --completed report",
                                          .parameters = listParameters,
                                          .run = listTasks};
constinit const Command commands::show = {.name = "show",
                                          .summary = "show everything about a task",
                                          .example = "tarnwell show report",
                                          .parameters = showParameters,
                                          .run = showTask};

}  // namespace tarnwell::terminal
