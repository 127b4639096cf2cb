// The text of the systemd unit that runs tarnwell-watch as a service of the user.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tarnwell {

using EnvironmentList = std::vector<std::pair<std::string, std::string>>;

// Returns the unit of the package with another command, which begins with the program's absolute
// path, and with an environment of its own.
std::string serviceUnit(const std::vector<std::string>& command,
                        const EnvironmentList& environment);

// Returns the variables of this process that decide which plan it is, what time it is there and
// when a week begins.
EnvironmentList environmentOfThePlan();

}  // namespace tarnwell
