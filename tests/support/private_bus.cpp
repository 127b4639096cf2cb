#include "tests/support/private_bus.h"

#include <stdexcept>

namespace tarnwell::test {
namespace {

namespace fs = std::filesystem;

// With no services but those that a test offers.
std::string configuration(const std::string& address, const fs::path& services) {
  return "<busconfig><type>session</type><listen>" + address + "</listen><servicedir>" +
         services.string() +
         R"(</servicedir><policy context="default"><allow send_destination="*"/>)"
         R"(<allow receive_sender="*"/>)"
         R"(<allow own="*"/></policy></busconfig>)";
}

}  // namespace

void PrivateBus::offer(std::string_view serviceName, std::string_view script) const {
  const fs::path program = folder_ / "service.sh";
  writeFile(program, "#!/bin/sh\n" + std::string(script));
  fs::permissions(program, fs::perms::owner_all);
  writeFile(
      folder_ / "services" / (std::string(serviceName) + ".service"),
      "[D-BUS Service]\nName=" + std::string(serviceName) + "\nExec=" + program.string() + "\n");
}

void PrivateBus::start() {
  const fs::path services = folder_ / "services";
  fs::create_directories(services);
  writeFile(folder_ / "bus.conf", configuration(address(), services));
  daemon_.emplace(
      Process{.arguments = {"/usr/bin/dbus-daemon", "--nofork", "--nopidfile", "--print-address",
                            "--config-file", (folder_ / "bus.conf").string()},
              .environment = {"PATH=/usr/bin:/bin"}});
  const bool isReady = awaitEvents(
      {&*daemon_}, [&] { return daemon_->output().ends_with('\n') || daemon_->hasEnded(); });
  if (!isReady || daemon_->hasEnded()) throw std::runtime_error(daemon_->errors());
}

void PrivateBus::kill() { daemon_.reset(); }

std::vector<int> PrivateBus::descriptors() const {
  return daemon_ ? daemon_->descriptors() : std::vector<int>{};
}

void PrivateBus::take() {
  if (daemon_) daemon_->take();
}

}  // namespace tarnwell::test
