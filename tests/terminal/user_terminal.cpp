#include "tests/terminal/user_terminal.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>
#ifdef __APPLE__
#include <util.h>
#else
#include <pty.h>
#endif

#include "tarnwell/base/enum_texts.h"
#include "tarnwell/platform/child_process.h"
#include "tarnwell/platform/file_descriptor.h"

#include "tests/support/records.h"

namespace tarnwell::test {
namespace {

constexpr std::string_view prompt = "[y/N] ";

std::string withPlainLineEnds(std::string text) {
  std::erase(text, '\r');
  return text;
}

std::size_t occurrences(std::string_view text, std::string_view part) {
  std::size_t count = 0;
  for (auto at = text.find(part); at != std::string_view::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

}  // namespace

TerminalResult TerminalSession::run() const {
  Words arguments = command;
  auto variables = environment;
  const auto argumentPointers = pointersTo(arguments);
  const auto variablePointers = pointersTo(variables);
  winsize size{};
  size.ws_col = static_cast<unsigned short>(columns);
  size.ws_row = 24;
  int number = -1;
  const pid_t child = ::forkpty(&number, nullptr, nullptr, &size);
  if (child == -1) throw std::system_error(errno, std::generic_category(), "forkpty");
  if (child == 0) {
    ::execve(argumentPointers[0], argumentPointers.data(), variablePointers.data());
    ::_exit(127);
  }
  const FileDescriptor terminal(number);

  TerminalResult result;
  std::size_t answered = 0;
  while (true) {
    std::array<char, 4096> bytes{};
    const auto count =
        retryingInterrupted([&] { return ::read(terminal.number(), bytes.data(), bytes.size()); });
    if (count <= 0) break;  // the other end is closed
    result.screen.append(bytes.data(), static_cast<std::size_t>(count));
    while (answered < answers.size() && occurrences(result.screen, prompt) > answered) {
      if (answered == 0 && atQuestion) atQuestion();
      writeAll(terminal.number(), answers[answered++]);
    }
  }
  int status = 0;
  retryingInterrupted([&] { return ::waitpid(child, &status, 0); });
  if (WIFEXITED(status)) result.exitStatus = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
  result.screen = withPlainLineEnds(std::move(result.screen));
  return result;
}

ProcessResult UserTerminal::run(const Words& words, std::string_view input) const {
  Process process{.arguments = {TARNWELL}, .environment = wholeEnvironment(), .input = input};
  process.arguments.insert(process.arguments.end(), words.begin(), words.end());
  return process.run();
}

std::string UserTerminal::output(const Words& words) const {
  const auto result = run(words);
  EXPECT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_EQ(result.errors, "");
  if (std::find(words.begin(), words.end(), "--json") != words.end()) {
    record("terminal", result.output);
  }
  return result.output;
}

std::string UserTerminal::refusal(const Words& words, int exitStatus) const {
  const auto before = treeOf(tool_.home());
  const auto result = run(words);
  EXPECT_EQ(result.exitStatus, exitStatus) << result.errors;
  EXPECT_EQ(result.output, "");
  EXPECT_NE(result.errors, "");
  EXPECT_EQ(treeOf(tool_.home()), before);
  return result.errors;
}

TerminalSession UserTerminal::session(const Words& words, std::vector<std::string> answers) const {
  TerminalSession session{.command = {TARNWELL}, .environment = wholeEnvironment()};
  session.command.insert(session.command.end(), words.begin(), words.end());
  session.environment.emplace_back("TERM=xterm-256color");
  session.answers = std::move(answers);
  return session;
}

FocusTask UserTerminal::task(std::string_view title) const {
  const auto tasks = state().tasks;
  const auto found = std::find_if(tasks.begin(), tasks.end(),
                                  [&](const FocusTask& task) { return task.title == title; });
  if (found == tasks.end()) throw std::runtime_error("no task " + std::string(title));
  return *found;
}

std::vector<std::string> UserTerminal::trail() const {
  std::vector<std::string> trail;
  for (const auto& event : state().auditEvents) {
    trail.push_back(std::string(textOf(*event.source)) + " " + *event.action);
  }
  return trail;
}

std::vector<std::string> UserTerminal::wholeEnvironment() const {
  auto all = environment;  // the first of equal names counts
  all.insert(all.end(), {"HOME=" + tool_.home().string(), "TZ=UTC", "PATH=/usr/bin:/bin"});
  return all;
}

}  // namespace tarnwell::test
