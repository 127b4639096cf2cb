#include "tarnwell/watch/job_process.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tarnwell/watch/end_signals.h"

#ifdef __linux__
#include <sys/prctl.h>
#endif

namespace tarnwell {
namespace {

// Closes everything but the standard streams, also the instance lock: a new instance may start
// while an orphaned job still runs.
void closeAbove(int highest) {
#ifdef __linux__
  ::closefrom(highest + 1);
#else
  const int limit = ::getdtablesize();
  for (int number = highest + 1; number < limit; ++number) ::close(number);
#endif
}

// Detaches the job from the terminal and the output of this process.
void leaveStandardStreams() {
  const int sink = ::open("/dev/null", O_RDWR | O_CLOEXEC);
  ::dup2(sink, STDIN_FILENO);
  ::dup2(sink, STDOUT_FILENO);
}

std::string resultOf(const BackgroundJobs::Job& job) {
  try {
    return job();
  } catch (const std::exception& error) {
    return error.what();
  } catch (...) {
    return "unknown error";
  }
}

// Ends the job with its children, such as an open prompt, which would wait for ever.
void endProcessGroup(int signal) {
  std::signal(signal, SIG_DFL);
  ::kill(0, signal);
}

// Lets the job end with a parent that is killed and cannot end it.
void endWithParent([[maybe_unused]] pid_t parent) {
  std::signal(SIGTERM, endProcessGroup);
#ifdef __linux__
  ::prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (::getppid() != parent) ::_exit(EXIT_FAILURE);  // it was killed before that call
#endif
}

// Does not return, and destroys nothing: locks and connections are the parent's.
[[noreturn]] void runInChild(const BackgroundJobs::Job& job, int report, pid_t parent) {
  constexpr int keptReport = STDERR_FILENO + 1;
  ::setpgid(0, 0);
  leaveStandardStreams();
  if (report != keptReport) ::dup2(report, keptReport);
  ::fcntl(keptReport, F_SETFD, FD_CLOEXEC);
  closeAbove(keptReport);
  EndSignals::restore();
  endWithParent(parent);
  // The first byte distinguishes a finished job from a killed one.
  ::_exit(writeAll(keptReport, "." + resultOf(job)));
}

}  // namespace

JobProcess::~JobProcess() {
  if (child_) ::kill(-*child_, SIGTERM);
}

void JobProcess::run(Job job, Done done) {
  requests_.push_back({std::move(job), std::move(done)});
  if (requests_.size() == 1) startNext();
}

void JobProcess::startNext() {
  std::array<int, 2> ends{-1, -1};
  report_.clear();
  if (::pipe(ends.data()) == 0) {
    for (const int end : ends) ::fcntl(end, F_SETFD, FD_CLOEXEC);
    result_ = FileDescriptor(ends[0]);
    const FileDescriptor writeEnd(ends[1]);
    const pid_t parent = ::getpid();
    const pid_t child = ::fork();
    if (child == 0) runInChild(requests_.front().job, writeEnd.number(), parent);
    if (child > 0) {
      ::setpgid(child, child);  // whichever process is first
      child_ = child;
      return;
    }
  }
  report_ = ".no process could be started: " + std::generic_category().message(errno);
  finish();
}

void JobProcess::ready() {
  std::array<char, 4096> buffer{};
  const ssize_t count =
      retryingInterrupted([&] { return ::read(result_.number(), buffer.data(), buffer.size()); });
  if (count > 0) {
    report_.append(buffer.data(), static_cast<std::size_t>(count));
    return;
  }
  retryingInterrupted([&] { return ::waitpid(*child_, nullptr, 0); });
  finish();
}

void JobProcess::finish() {
  child_.reset();
  result_.close();
  const Request request = std::move(requests_.front());
  const std::string problem =
      report_.empty() ? "it ended before it was finished" : report_.substr(1);
  request.done(problem);  // may ask for further jobs
  requests_.pop_front();
  if (!requests_.empty()) startNext();
}

}  // namespace tarnwell
