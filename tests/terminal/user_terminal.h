// The user's program in a scratch home, with or without a terminal.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/store/local_store.h"

#include "tests/support/process.h"
#include "tests/support/tool.h"

namespace tarnwell::test {

using Words = std::vector<std::string>;

// What a terminal showed, and how the program ended.
struct TerminalResult {
  int exitStatus = -1;  // -1 when a signal ended the process
  int signal = 0;       // the signal, if one did
  std::string screen;   // both output streams as the terminal received them, with "\n" line ends
};

struct TerminalSession {
  Words command;                         // the program's path first
  std::vector<std::string> environment;  // NAME=VALUE, and nothing else
  int columns = 80;

  // What the user types at each question, in order; "\x03" is Ctrl-C, "\x04" the end of the input.
  std::vector<std::string> answers{};

  // Called when the first question is on the screen, before it is answered.
  std::function<void()> atQuestion{};

  TerminalResult run() const;
};

class UserTerminal {
 public:
  // Runs the program with its streams in files.
  ProcessResult run(const Words& words, std::string_view input = {}) const;

  // The same, but must succeed with nothing on standard error. Returns standard output.
  std::string output(const Words& words) const;

  // The same, but must be refused with nothing on standard output and nothing changed. Returns
  // standard error.
  std::string refusal(const Words& words, int exitStatus = 1) const;

  // Runs the program at a terminal.
  TerminalSession session(const Words& words, std::vector<std::string> answers = {}) const;
  TerminalResult type(const Words& words, std::vector<std::string> answers = {}) const {
    return session(words, std::move(answers)).run();
  }

  // Runs a command of an agent with tarnwellctl.
  AgentResponseEnvelope ask(std::string_view command) const { return tool_.ask(command); }

  LocalStore localStore() const { return LocalStore(tool_.dataFile()); }
  PersistedState state() const { return localStore().load(); }
  FocusTask task(std::string_view title) const;
  std::vector<std::string> trail() const;  // the audit trail as "source action"
  const Tool& tool() const { return tool_; }

  std::vector<std::string> environment{};  // besides HOME and TZ

 private:
  std::vector<std::string> wholeEnvironment() const;

  Tool tool_;
};

}  // namespace tarnwell::test
