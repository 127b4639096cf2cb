// A session bus of the test's own.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "tests/support/running_program.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell::test {

// The bus may start, die and start again at the same address. One that is not running is no source
// of events.
class PrivateBus : public EventSource {
 public:
  // Starts no bus.
  PrivateBus() = default;

  // Lets the bus start a service by itself, with this shell script, once a program calls it.
  void offer(std::string_view serviceName, std::string_view script) const;

  // Returns once programs can connect. Throws when the bus does not start.
  void start();
  void kill();

  std::vector<int> descriptors() const override;
  void take() override;

  std::filesystem::path socket() const { return folder_ / "bus"; }
  std::string address() const { return "unix:path=" + socket().string(); }

 private:
  ScratchFolder folder_;
  std::optional<RunningProgram> daemon_;
};

}  // namespace tarnwell::test
