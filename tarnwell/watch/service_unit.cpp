#include "tarnwell/watch/service_unit.h"

#include <array>
#include <cstdlib>

#include "tarnwell/platform/application_support.h"
#include "tarnwell/watch/packaged_unit.h"

namespace tarnwell {
namespace {

// Quotes any text for a unit file.
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

// What the unit of the package runs, for every user and in the environment of the session.
constexpr std::string_view packagedCommand = "ExecStart=tarnwell-watch\n";

}  // namespace

std::string serviceUnit(const std::vector<std::string>& command,
                        const EnvironmentList& environment) {
  std::string lines;
  for (const auto& [name, value] : environment) {
    lines += "Environment=" + quotedForUnit(name + "=" + value, false) + "\n";
  }
  lines += "ExecStart=";
  for (const std::string& argument : command) lines += quotedForUnit(argument, true) + " ";
  lines.back() = '\n';
  std::string unit(packagedUnit);
  return unit.replace(unit.find(packagedCommand), packagedCommand.size(), lines);
}

EnvironmentList environmentOfThePlan() {
  EnvironmentList environment;
  // Also if they are the defaults, which another HOME would change.
  if (const auto folder = applicationSupportFolder()) {
    environment.emplace_back("XDG_DATA_HOME", folder->string());
  }
  if (const auto folder = stateFolder()) {
    environment.emplace_back("XDG_STATE_HOME", folder->string());
  }
  constexpr std::array<const char*, 4> names = {"TZ", "LC_ALL", "LC_TIME", "LANG"};
  for (const char* const name : names) {
    if (const char* const value = std::getenv(name)) environment.emplace_back(name, value);
  }
  return environment;
}

}  // namespace tarnwell
