// The tools of the server.
//
// To add a tool:
//   1. write its handler in reading_tools.cpp or changing_tools.cpp, with a record of results.h as
//      its result;
//   2. declare it below;
//   3. give it a row in the table in tools.cpp, and its example in docs/mcp.md.
#pragma once

#include <span>
#include <string_view>

#include "tarnwell/mcp/results.h"
#include "tarnwell/mcp/tool.h"

namespace tarnwell::mcp {

// Returns the tools in the order in which clients see them.
std::span<const Tool> allTools();

// Null when there is none.
const Tool* findTool(std::string_view name);

namespace tools {

DayResult getDay(const ToolCall& call);
TasksResult listTasks(const ToolCall& call);
TaskResult getTask(const ToolCall& call);
ReviewResult getReview(const ToolCall& call);
ProposalsResult listProposals(const ToolCall& call);
ChangesResult listChanges(const ToolCall& call);

TaskResult createTask(const ToolCall& call);
TaskResult updateTask(const ToolCall& call);
TaskResult startTask(const ToolCall& call);
TaskResult pauseTask(const ToolCall& call);
TaskResult skipTask(const ToolCall& call);
TaskResult resumeTask(const ToolCall& call);
CompletionResult completeTask(const ToolCall& call);
ProposalsResult generateProposals(const ToolCall& call);

}  // namespace tools

// Return the answers of get_day and get_review, for the resources.
DayResult dayResult(const PersistedState& plan, LocalDay day, Instant now,
                    const Calendar& calendar);
ReviewResult reviewResult(const PersistedState& plan, Instant now, const Calendar& calendar);

}  // namespace tarnwell::mcp
