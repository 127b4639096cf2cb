#include "tarnwell/watch/service_unit.h"

#include <array>
#include <cstdlib>

#include "tarnwell/platform/application_support.h"

namespace tarnwell {
namespace {

// Quotes text for a unit file: it comes back as it is, whatever it holds.
std::string quotedForUnit(std::string_view text, bool isCommand) {
  std::string quoted = "\"";
  for (const char c : text) {
    switch (c) {
      case '"':
      case '\\':
        quoted += {'\\', c};
        break;
      case '%':
        quoted += "%%";
        break;
      case '$':
        quoted += isCommand ? "$$" : "$";
        break;
      case '\n':
        quoted += "\\n";
        break;
      default:
        quoted += c;
    }
  }
  return quoted + '"';
}

// Options that imply NoNewPrivileges, or a user namespace, are left out: pkexec, which asks for the
// approval of website blocking, needs its set-uid bit. Status 1 is a refusal and 2 a wrong
// argument: starting again would change neither.
constexpr std::string_view beforeTheCommand = R"([Unit]
Description=Tarnwell: reminders, website blocking, backups
Documentation=man:tarnwell(1)

[Service]
)";

constexpr std::string_view afterTheCommand = R"(Restart=on-failure
RestartSec=5
RestartPreventExitStatus=1 2
TimeoutStopSec=5
UMask=0077
LimitCORE=0
LimitNOFILE=256
TasksMax=64
OOMScoreAdjust=200

[Install]
WantedBy=default.target
)";

}  // namespace

std::string serviceUnit(const std::vector<std::string>& command,
                        const EnvironmentList& environment) {
  std::string unit(beforeTheCommand);
  for (const auto& [name, value] : environment) {
    unit += "Environment=" + quotedForUnit(name + "=" + value, false) + "\n";
  }
  unit += "ExecStart=";
  for (const std::string& argument : command) unit += quotedForUnit(argument, true) + " ";
  unit.back() = '\n';
  return unit + std::string(afterTheCommand);
}

EnvironmentList environmentOfThePlan() {
  EnvironmentList environment;
  // Said also where they are the usual ones, as another HOME may have led to them.
  if (const auto folder = applicationSupportFolder()) {
    environment.emplace_back("XDG_DATA_HOME", folder->string());
  }
  if (const auto folder = stateFolder())
    environment.emplace_back("XDG_STATE_HOME", folder->string());
  constexpr std::array<const char*, 4> names = {"TZ", "LC_ALL", "LC_TIME", "LANG"};
  for (const char* const name : names) {
    if (const char* const value = std::getenv(name)) environment.emplace_back(name, value);
  }
  return environment;
}

}  // namespace tarnwell
