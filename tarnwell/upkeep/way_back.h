// The way back to an earlier plan when the present one is lost.
#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "tarnwell/store/local_store.h"

namespace tarnwell {

// Returns a sentence with the command that restores the newest usable copy, or says that there is
// none. Reads copies until it finds one.
std::string wayBackFrom(const LocalStore& localStore, const std::filesystem::path& dailyBackups);

// Returns whether there are copies of the data file or daily backups, usable or not.
bool hasCopies(const LocalStore& localStore, const std::filesystem::path& dailyBackups);

// Makes the sentence when a finding needs it.
using WayBack = std::function<std::string()>;

}  // namespace tarnwell
