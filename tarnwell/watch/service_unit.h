// The text of the systemd unit that runs tarnwell-watch as a service of the user.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tarnwell {

using EnvironmentList = std::vector<std::pair<std::string, std::string>>;

// Returns the unit of the package with another command, which begins with the program's absolute
// path, and with this environment.
std::string serviceUnit(const std::vector<std::string>& command,
                        const EnvironmentList& environment);

// Returns this process's variables for the location of the plan, the time zone and the locale.
EnvironmentList environmentOfThePlan();

}  // namespace tarnwell
