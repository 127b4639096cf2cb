#include "tarnwell/watch/messages.h"

#include "tarnwell/base/printable_text.h"

namespace tarnwell {

void Messages::say(std::string_view line) { lines_ << line << '\n' << std::flush; }

void Messages::report(std::string_view thing, std::string_view problem) {
  const auto known = reported_.find(thing);
  const std::string_view before = known == reported_.end() ? "" : std::string_view(known->second);
  if (problem == before) return;
  if (!problem.empty()) {
    problems_ << "tarnwell-watch: " << thing << ": " << printable(problem) << '\n' << std::flush;
  }
  reported_[std::string(thing)] = problem;
}

}  // namespace tarnwell
