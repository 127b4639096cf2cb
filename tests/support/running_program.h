// A program that runs beside the test.
#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

#include "tarnwell/platform/file_descriptor.h"

#include "tests/support/event_source.h"
#include "tests/support/process.h"

namespace tarnwell::test {

class RunningProgram : public EventSource {
 public:
  // Starts the program with nothing on its standard input. Throws std::system_error.
  explicit RunningProgram(Process process);

  // Kills the program if it still runs.
  ~RunningProgram() override;

  std::vector<int> descriptors() const override;
  void take() override;

  pid_t id() const { return id_; }
  void send(int signal) const;

  // What it has written so far.
  const std::string& output() const { return output_.text; }
  const std::string& errors() const { return errors_.text; }

  bool hasEnded() const { return end_.number() < 0; }
  int exitStatus() const { return exitStatus_; }  // -1 when a signal ended it

 private:
  struct Stream {
    FileDescriptor readEnd{-1};
    std::string text{};

    void take();
  };

  pid_t id_ = 0;
  FileDescriptor end_{-1};  // of the process; readable once it has ended
  Stream output_;
  Stream errors_;
  int exitStatus_ = -1;
};

}  // namespace tarnwell::test
