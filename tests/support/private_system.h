// The real tool in a private mount namespace, where /etc is a scratch folder and a stand-in answers
// for the administrator. The machine's hosts file is out of reach.
#pragma once

#include <array>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

#include "tarnwell/store/local_store.h"

#include "tests/support/tool.h"

namespace tarnwell::test {

// The program that asks for the administrator's approval.
enum class Prompt { polkit, scriptRunner };

// The administrator's answer, or a fault instead of it.
enum class Answer {
  approve,
  dismiss,
  fail,
  pretend,    // does nothing, and succeeds
  damage,     // damages the hosts file and fails
  chatter,    // approves, after a megabyte of errors and a line of output
  tamper,     // approves, after another program has tried to change what is installed
  meddle,     // approves, after another process has run the command given to `willMeddle`
  hang,       // never
  interrupt,  // Ctrl-C at the terminal of the tool
  killTool
};

constexpr std::array<std::string_view, 11> texts(Answer) {
  return {"approve", "dismiss", "fail", "pretend",   "damage",   "chatter",
          "tamper",  "meddle",  "hang", "interrupt", "kill_tool"};
}

class PrivateSystem {
 public:
  // Returns why this machine cannot provide such a system; empty if it can.
  static std::string obstacle();

  explicit PrivateSystem(Prompt prompt);

  // Sets one answer for each prompt. Any further prompt fails.
  void willAnswer(const std::vector<Answer>& answers);

  // Sets the command that another process gives to the tool while a prompt is open.
  void willMeddle(std::string_view command) const { writeFile(folder_ / "meddling", command); }

  // Returns the tool, or a command that starts it, ready to run on this system.
  Process process(std::string_view input,
                  const std::vector<std::string>& command = {TARNWELLCTL}) const;
  ProcessResult run(std::string_view input,
                    const std::vector<std::string>& command = {TARNWELLCTL}) const {
    return process(input, command).run();
  }
  AgentResponseEnvelope ask(std::string_view command) const;

  // Return the number of prompts, and the arguments of the last one.
  std::size_t promptCount() const { return contentOf(promptLog()).size(); }
  std::vector<std::string> lastRequest() const;

  // A file with one byte for each prompt.
  std::filesystem::path promptLog() const { return folder_ / "prompts"; }

  // The process that shows the last prompt, or did.
  pid_t promptProcess() const;

  // The environment of the last prompt: NAME=VALUE, in any order.
  std::vector<std::string> lastEnvironment() const;

  // The state while the last prompt was open.
  PersistedState planAtPrompt() const { return LocalStore(folder_ / "plan").load(); }
  bool wasLockFreeAtPrompt() const { return std::filesystem::exists(folder_ / "lock-was-free"); }

  // The commands that flushed name caches, one a line.
  std::string flushes() const { return contentOf(folder_ / "flushes"); }

  const std::filesystem::path& home() const { return tool_.home(); }
  LocalStore plan() const { return LocalStore(tool_.dataFile()); }
  std::filesystem::path etc() const { return folder_ / "etc"; }
  std::filesystem::path hosts() const { return etc() / "hosts"; }
  std::filesystem::path backups() const { return tool_.dataDirectory() / "Backups"; }

 private:
  void addProgram(const std::string& path, std::string_view script) const;

  ScratchFolder folder_;
  Tool tool_;
};

}  // namespace tarnwell::test
