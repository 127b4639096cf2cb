// The real tarnwellctl in a scratch home.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "tarnwell/agent/envelopes.h"

#include "tests/support/print_reply.h"
#include "tests/support/process.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell::test {

// Returns the reply of a run, and checks that the exit status is 0, the reply one line and standard
// error empty.
AgentResponseEnvelope replyIn(const ProcessResult& result);

class Tool {
 public:
  Tool() = default;
  Tool(const Tool&) = delete;
  Tool& operator=(const Tool&) = delete;
  ~Tool() { recordPlan(); }

  std::filesystem::path dataFile() const { return dataDirectory() / "state.json"; }
  std::filesystem::path dataDirectory() const;
  const std::filesystem::path& home() const { return home_.path(); }

  // Returns the tool in this home, ready to run.
  Process process(std::string_view input) const;

  ProcessResult run(std::string_view input) const { return process(input).run(); }

  AgentResponseEnvelope ask(std::string_view command) const { return replyIn(run(command)); }

  // Returns once the plan is old enough for a command to cache it. Each run then makes the same
  // system calls.
  void awaitSettledPlan() const;

 private:
  void recordPlan() const;

  ScratchFolder home_;
};

// The reply to input that is no command, and to a failed set-up.
inline constexpr std::string_view invalidEnvelopeReply =
    R"({"error":{"code":"invalid_envelope","message":"Input must be a valid versioned JSON )"
    R"(command."},"ok":false,"version":1})"
    "\n";

}  // namespace tarnwell::test
