// Finds the running program and others.
#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

namespace tarnwell {

// Returns the absolute path of the running program; absent where the system does not tell.
std::optional<std::filesystem::path> runningProgram();

// Returns the absolute path of the named program: beside the running one, so that programs
// installed together find one another, otherwise in the folders of PATH. Absent when it is in
// neither.
std::optional<std::filesystem::path> findProgram(std::string_view name);

}  // namespace tarnwell
