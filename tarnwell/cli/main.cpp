// tarnwellctl: reads one command from standard input, carries it out on the user's plan, writes one
// reply to standard output. It has no arguments and prints nothing else.
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

#include "tarnwell/agent/agent_command_service.h"
#include "tarnwell/agent/envelopes.h"
#include "tarnwell/agent/failures.h"
#include "tarnwell/blocking/default_privileged_command_runner.h"
#include "tarnwell/blocking/focus_coordinator.h"
#include "tarnwell/blocking/hosts_blocking_engine.h"
#include "tarnwell/blocking/session_engine.h"
#include "tarnwell/cli/process_memory.h"
#include "tarnwell/planning/recommendation_engine.h"
#include "tarnwell/platform/application_support.h"
#include "tarnwell/platform/file_descriptor.h"
#include "tarnwell/sessions/task_session_engine.h"
#include "tarnwell/store/local_store.h"
#include "tarnwell/store/task_store.h"
#include "tarnwell/time/calendar.h"
#include "tarnwell/time/instant.h"

namespace tarnwell {
namespace {

constexpr int commandWasAnswered = 0;
constexpr int noCommandOrNoSetUp = 64;

// Without this, the first file to be opened would take the number of a standard descriptor that the
// caller had closed, and what is meant for that descriptor would go into the file. Only for
// reading, so that writing to one of them still fails.
void occupyClosedStandardDescriptors() {
  int number = STDIN_FILENO;
  while (0 <= number && number <= STDERR_FILENO) number = ::open("/dev/null", O_RDONLY);
  ::close(number);
}

// A write that fails is to be told from its result, not by the end of the process; and how a child
// has ended is to be told at all, which a caller that ignores the signal would take away.
void setSignals() {
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  std::signal(SIGCHLD, SIG_DFL);
}

// Moves standard output to a descriptor that no child inherits and puts /dev/null in its place, so
// that nothing that a child prints reaches the reply.
FileDescriptor takeStandardOutput() {
  FileDescriptor output(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
  const FileDescriptor sink(::open("/dev/null", O_WRONLY | O_CLOEXEC));
  if (!output.isOpen() || !sink.isOpen() || ::dup2(sink.number(), STDOUT_FILENO) == -1) {
    throw std::system_error(errno, std::generic_category(), "standard output");
  }
  return output;
}

std::filesystem::path dataDirectory() {
  const auto applicationSupport = applicationSupportFolder();
  if (!applicationSupport) throw std::runtime_error("there is no home folder");
  return *applicationSupport / "Tarnwell";
}

std::string readStandardInput() {
  std::string text;
  if (readToEnd(STDIN_FILENO, text) != 0) throw std::runtime_error("there is no input");
  return text;
}

// Writes the reply and ends the process from here: the system takes back all of its memory at once,
// without the plan and the reply being taken apart piece by piece before.
[[noreturn]] void finish(const FileDescriptor& output, const AgentResponseEnvelope& reply,
                         int status) {
  const std::string text = encodeReply(reply) + '\n';
  const int number = output.isOpen() ? output.number() : STDOUT_FILENO;
  std::exit(writeAll(number, text) == 0 ? status : noCommandOrNoSetUp);
}

// Throws when there is no command, the engines cannot be built or the reply cannot be encoded.
[[noreturn]] void answer(const FileDescriptor& output) {
  const AgentCommandEnvelope envelope = decodeCommand(readStandardInput());
  const Calendar calendar = Calendar::current();
  const std::filesystem::path folder = dataDirectory();
  const LocalStore document(folder / "state.json");

  TaskStore store(document);
  TaskSessionEngine sessions(store, calendar);

  const auto administrator = defaultPrivilegedCommandRunner();
  HostsBlockingEngine blocker(folder / "Backups", *administrator);
  SessionEngine blocking(document, blocker);
  blocking.loadPersistedState();

  RecommendationEngine recommendations(store);
  FocusCoordinator coordinator(sessions, blocking);
  AgentCommandService service({.store = store,
                               .sessions = sessions,
                               .recommendations = recommendations,
                               .calendar = calendar,
                               .focusCoordinator = &coordinator,
                               .blocking = &blocking});
  finish(output, service.execute(envelope, Instant::now()), commandWasAnswered);
}

[[noreturn]] void run() {
  keepFreedMemory();
  occupyClosedStandardDescriptors();
  setSignals();

  FileDescriptor privateOutput(-1);
  try {
    privateOutput = takeStandardOutput();
    answer(privateOutput);
  } catch (const std::exception&) {
    finish(privateOutput, AgentCommandService::failure(failures::invalidEnvelope),
           noCommandOrNoSetUp);
  }
}

}  // namespace
}  // namespace tarnwell

int main() { tarnwell::run(); }
