// The running programs of this system.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace tarnwell {

// Returns the file names of a user's running programs. Absent where the system does not tell.
std::optional<std::vector<std::string>> programsRunBy(uid_t user);

}  // namespace tarnwell
