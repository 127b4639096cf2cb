#include "tarnwell/mcp/resources.h"

#include "tarnwell/json/json_encode.h"
#include "tarnwell/mcp/tools.h"

namespace tarnwell::mcp {
namespace {

constexpr std::string_view taskPrefix = "tarnwell://tasks/";

std::optional<UUID> taskIDOf(std::string_view uri) {
  if (!uri.starts_with(taskPrefix)) return std::nullopt;
  return UUID::parse(uri.substr(taskPrefix.size()));
}

JSONValue::Object resource(const char* name, const char* title, const char* description) {
  return {{"name", name},
          {"title", title},
          {"description", description},
          {"mimeType", std::string(resourceMimeType)}};
}

}  // namespace

JSONValue::Array describeResources() {
  auto today = resource("today", "Today", "Today's queue, as get_day shows it.");
  today["uri"] = std::string(todayURI);
  auto review = resource("this-week", "This week", "The week in figures, as get_review shows it.");
  review["uri"] = std::string(reviewURI);
  return {today, review};
}

JSONValue::Array describeResourceTemplates() {
  auto task = resource("task", "A task", "The whole record of a task, as get_task shows it.");
  task["uriTemplate"] = std::string(taskPrefix) + "{id}";
  return {task};
}

bool isResource(std::string_view uri) {
  return uri == todayURI || uri == reviewURI || taskIDOf(uri).has_value();
}

std::optional<std::string> readResource(std::string_view uri, const PersistedState& plan,
                                        Instant now, const Calendar& calendar) {
  constexpr auto layout = JSONLayout::compact;
  if (uri == todayURI) {
    return encodeJSON(dayResult(plan, calendar.day(now), now, calendar), layout);
  }
  if (uri == reviewURI) return encodeJSON(reviewResult(plan, now, calendar), layout);
  const auto id = taskIDOf(uri);
  const FocusTask* const task = id ? findTask(plan.tasks, *id) : nullptr;
  if (task == nullptr) return std::nullopt;
  return encodeJSON(TaskResult{.revision = plan.revision, .task = TaskView::of(*task)}, layout);
}

bool hasChanged(std::string_view uri, const PersistedState& before, const PersistedState& after) {
  const auto id = taskIDOf(uri);
  if (!id) return true;
  const FocusTask* const old = findTask(before.tasks, *id);
  const FocusTask* const present = findTask(after.tasks, *id);
  if (old == nullptr || present == nullptr) return old != present;
  return !(*old == *present);
}

}  // namespace tarnwell::mcp
