#include "tarnwell/agent/commands.h"

#include <algorithm>
#include <array>

namespace tarnwell {
namespace {

constexpr auto table = std::to_array<Command>({
    {"tasks.list", commands::listTasks},
    {"tasks.create", commands::createTask},
    {"tasks.update", commands::updateTask},
    {"tasks.start", commands::startTask},
    {"tasks.pause", commands::pauseTask},
    {"tasks.resume", commands::resumeTask},
    {"tasks.skip", commands::skipTask},
    {"tasks.complete", commands::completeTask},
    {"review.get", commands::getReview},
    {"proposals.generate", commands::generateProposals},
    {"proposals.list", commands::listProposals},
    {"proposals.approve", commands::approveProposal},
    {"proposals.dismiss", commands::dismissProposal},
});

}  // namespace

const Command* findCommand(std::string_view name) {
  const auto* const found = std::find_if(
      table.begin(), table.end(), [&](const Command& command) { return command.name == name; });
  return found == table.end() ? nullptr : found;
}

}  // namespace tarnwell
