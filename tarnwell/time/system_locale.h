// The locale that the system's administrator has set, for a process that was started without any
// locale variable.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwell {

// Returns the name in a locale file's text: the value of LC_TIME, otherwise of LANG. Empty when
// neither has one. The lines are assignments as a shell writes them, with or without quotes.
std::string localeNameIn(std::string_view text);

// Returns the first name in the files, of which any may be missing. Empty when there is none.
std::string systemLocaleName(const std::vector<std::filesystem::path>& files = {
                                 "/etc/locale.conf", "/etc/default/locale"});

}  // namespace tarnwell
