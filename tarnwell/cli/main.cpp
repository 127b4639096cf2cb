// tarnwellctl: reads one command from standard input, carries it out on the user's plan, writes one
// reply to standard output. It has no arguments and prints nothing else.
#include <cstdlib>
#include <string>
#include <system_error>

#include <unistd.h>

#include "tarnwell/agent/agent_command_service.h"
#include "tarnwell/agent/data_directory.h"
#include "tarnwell/agent/engines.h"
#include "tarnwell/agent/envelopes.h"
#include "tarnwell/agent/failures.h"
#include "tarnwell/cli/process_memory.h"
#include "tarnwell/platform/file_descriptor.h"
#include "tarnwell/platform/standard_streams.h"
#include "tarnwell/time/instant.h"

namespace tarnwell {
namespace {

constexpr int commandWasAnswered = 0;
constexpr int noCommandOrNoSetUp = 64;

std::string readStandardInput() {
  std::string text;
  if (const int error = readToEnd(STDIN_FILENO, text); error != 0) {
    throw std::system_error(error, std::generic_category(), "standard input");
  }
  return text;
}

// Writes the reply and ends the process without destroying anything: the system reclaims all memory
// at once.
[[noreturn]] void finish(const FileDescriptor& output, std::string reply, int status) {
  reply += '\n';
  const int number = output.isOpen() ? output.number() : STDOUT_FILENO;
  std::exit(writeAll(number, reply) == 0 ? status : noCommandOrNoSetUp);
}

// Throws when there is no command, the engines cannot be built or the reply cannot be encoded.
[[noreturn]] void answer(const FileDescriptor& output) {
  const AgentCommandEnvelope envelope = decodeCommand(readStandardInput());
  Engines engines(DataDirectory::ofUser());
  const AgentCommandService service(engines.agentParts());
  finish(output, service.reply(envelope, Instant::now()), commandWasAnswered);
}

[[noreturn]] void run() {
  keepFreedMemory();
  occupyClosedStandardDescriptors();
  setSignals();

  FileDescriptor privateOutput(-1);
  try {
    privateOutput = takeStandardOutput();
    answer(privateOutput);
  } catch (...) {
    finish(privateOutput, encodeReply(AgentCommandService::failure(failures::invalidEnvelope())),
           noCommandOrNoSetUp);
  }
}

}  // namespace
}  // namespace tarnwell

int main() { tarnwell::run(); }
