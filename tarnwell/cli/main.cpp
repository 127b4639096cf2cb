// tarnwellctl: reads one command from standard input, carries it out on the user's plan, writes one
// reply to standard output. It has no arguments and prints nothing else.
#include <csignal>
#include <exception>
#include <stdexcept>
#include <string>

#include <unistd.h>

#include "tarnwell/agent/agent_command_service.h"
#include "tarnwell/agent/envelopes.h"
#include "tarnwell/platform/application_support.h"
#include "tarnwell/platform/file_descriptor.h"
#include "tarnwell/store/local_store.h"
#include "tarnwell/store/task_store.h"

namespace tarnwell {
namespace {

constexpr int commandWasAnswered = 0;
constexpr int noCommandOrNoSetUp = 64;

std::filesystem::path dataDirectory() {
  const auto applicationSupport = applicationSupportFolder();
  if (!applicationSupport) throw std::runtime_error("there is no home folder");
  return *applicationSupport / "Tarnwell";
}

std::string readStandardInput() {
  std::string text;
  if (readToEnd(STDIN_FILENO, text) != 0) throw std::runtime_error("no input");
  return text;
}

// Throws when there is no command, when the engines cannot be built or the reply not be encoded.
std::string answer() {
  const AgentCommandEnvelope envelope = decodeCommand(readStandardInput());
  TaskStore store(LocalStore(dataDirectory() / "state.json"));
  AgentCommandService service(store);
  return encodeReply(service.execute(envelope, Instant::now()));
}

}  // namespace
}  // namespace tarnwell

int main() {
  // A write that fails is to be told from its result, not by the end of the process.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);

  std::string reply;
  int status = tarnwell::commandWasAnswered;
  try {
    reply = tarnwell::answer();
  } catch (const std::exception&) {
    reply = tarnwell::encodeReply(
        tarnwell::AgentCommandService::failure(tarnwell::failures::invalidEnvelope));
    status = tarnwell::noCommandOrNoSetUp;
  }
  reply += '\n';
  return tarnwell::writeAll(STDOUT_FILENO, reply) == 0 ? status : tarnwell::noCommandOrNoSetUp;
}
