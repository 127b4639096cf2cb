// The real tarnwellctl in a home of a test's own.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "tarnwell/agent/envelopes.h"

#include "tests/support/print_reply.h"
#include "tests/support/process.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell::test {

// The reply of a run that must have been answered, with exit status 0, one line and nothing on
// standard error.
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

  // The tool in this home, which is to be run.
  Process process(std::string_view input) const;

  ProcessResult run(std::string_view input) const { return process(input).run(); }

  AgentResponseEnvelope ask(std::string_view command) const { return replyIn(run(command)); }

  // Returns when the plan was written so long ago that a command reads it once, and so makes the
  // same system calls every time.
  void awaitSettledPlan() const;

 private:
  void recordPlan() const;

  ScratchFolder home_;
};

// The reply to whatever is not a command, or cannot be given one's engines.
inline constexpr std::string_view invalidEnvelopeReply =
    R"({"error":{"code":"invalid_envelope","message":"Input must be a valid versioned JSON )"
    R"(command."},"ok":false,"version":1})"
    "\n";

}  // namespace tarnwell::test
