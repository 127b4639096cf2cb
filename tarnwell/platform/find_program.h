// Finds the running program and others.
#pragma once

#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

namespace tarnwell {

// Returns the absolute path of the running program; absent where the system does not tell.
std::optional<std::filesystem::path> runningProgram();

// Returns the absolute paths of the programs of this name: beside the running one, so that programs
// installed together find one another, then in the folders of PATH. A program may come twice.
std::vector<std::filesystem::path> findPrograms(std::string_view name);

// Returns the first of them; absent when there is none.
std::optional<std::filesystem::path> findProgram(std::string_view name);

}  // namespace tarnwell
