// Runs a program as another process would: its own environment, input from bytes, output to bytes.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace tarnwell::test {

struct ProcessResult {
  int exitStatus = -1;  // -1 when a signal ended the process
  int signal = 0;       // the signal, if one did
  std::string output;   // standard output
  std::string errors;   // standard error
};

struct Process {
  std::vector<std::string> arguments;      // the program's path first
  std::vector<std::string> environment{};  // NAME=VALUE, and nothing else
  std::string_view input{};

  // Runs the program and waits for it to exit.
  ProcessResult run();

  // Runs the program and kills it after this thread has yielded `turns` times.
  ProcessResult runAndKillAfter(int turns);

 private:
  ProcessResult runAnd(const std::function<void(pid_t)>& meanwhile);
};

}  // namespace tarnwell::test
