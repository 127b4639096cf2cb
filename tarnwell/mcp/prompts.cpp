#include "tarnwell/mcp/prompts.h"

#include <algorithm>
#include <array>
#include <string>

namespace tarnwell::mcp {
namespace {

constexpr std::array table{
    Prompt{.name = "plan_my_day",
           .title = "Plan my day",
           .description = "Looks at today's queue and proposes a realistic plan for it.",
           .text = "Help me plan today with Tarnwell. Call get_day, and list_tasks for tasks that "
                   "are overdue or undated. Compare the planned minutes with my capacity. Tell me "
                   "what to do first and what to move to another day, and why. Change nothing "
                   "before I agree."},
    Prompt{.name = "weekly_review",
           .title = "Review my week",
           .description = "Sums up the week and proposes improvements.",
           .text = "Review my week with Tarnwell. Call get_review, and get_task for the tasks that "
                   "it names. Tell me in a few sentences what I completed, what was carried over "
                   "or skipped, and how my estimates compare with the actual time. Then call "
                   "list_proposals; if none is pending, offer to call generate_proposals. I "
                   "approve or dismiss proposals myself."},
};

}  // namespace

std::span<const Prompt> allPrompts() { return table; }

const Prompt* findPrompt(std::string_view name) {
  const auto* const found = std::find_if(table.begin(), table.end(),
                                         [&](const Prompt& prompt) { return prompt.name == name; });
  return found == table.end() ? nullptr : found;
}

JSONValue describe(const Prompt& prompt) {
  return JSONValue::Object{{"name", std::string(prompt.name)},
                           {"title", std::string(prompt.title)},
                           {"description", std::string(prompt.description)}};
}

JSONValue::Object messagesOf(const Prompt& prompt) {
  JSONValue::Object content{{"type", "text"}, {"text", std::string(prompt.text)}};
  JSONValue::Object message{{"role", "user"}, {"content", std::move(content)}};
  JSONValue::Array messages;
  messages.push_back(std::move(message));
  return {{"description", std::string(prompt.description)}, {"messages", std::move(messages)}};
}

}  // namespace tarnwell::mcp
