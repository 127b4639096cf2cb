// The locale that decides on the first weekday: the user's, or the one set by the system's
// administrator for a process without locale variables.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwell {

// Returns the value of LC_TIME in a locale file's text, otherwise of LANG; empty without either.
// The lines are shell assignments, with or without quotes.
std::string localeNameIn(std::string_view text);

// Returns the first name in the files, any of which may be missing; empty when there is none.
std::string systemLocaleName(const std::vector<std::filesystem::path>& files = {
                                 "/etc/locale.conf", "/etc/default/locale"});

struct UserLocale {
  std::string name{};      // empty where nothing names one
  std::string variable{};  // that names it; empty for the system's own locale
};

// Returns the value of the first of LC_ALL, LC_TIME and LANG that is set and not empty, otherwise
// the system's own locale.
UserLocale userLocale();

}  // namespace tarnwell
