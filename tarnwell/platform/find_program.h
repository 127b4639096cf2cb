// Other programs of this system.
#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

namespace tarnwell {

// Returns the absolute path of the running program; absent where the system does not tell.
std::optional<std::filesystem::path> runningProgram();

// Returns the absolute path of the program of that name beside the running one, otherwise in the
// folders of PATH; absent when neither is there. Programs that are installed together so find one
// another wherever their folder is.
std::optional<std::filesystem::path> findProgram(std::string_view name);

}  // namespace tarnwell
