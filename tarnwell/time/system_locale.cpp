#include "tarnwell/time/system_locale.h"

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "tarnwell/base/text.h"

namespace tarnwell {
namespace {

std::string_view withoutSpace(std::string_view text) {
  constexpr std::string_view space = " \t\r";
  const std::size_t begin = text.find_first_not_of(space);
  if (begin == text.npos) return {};
  return text.substr(begin, text.find_last_not_of(space) - begin + 1);
}

std::string_view withoutQuotes(std::string_view value) {
  const bool isQuoted = value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
                        value.front() == value.back();
  return isQuoted ? value.substr(1, value.size() - 2) : value;
}

// Returns the last value assigned to the name, as in a shell. Empty when there is none.
std::string_view valueOf(std::string_view name, std::string_view text) {
  std::string_view value;
  for (std::string_view line : split(text, '\n')) {
    line = withoutSpace(line);
    const std::size_t sign = line.find('=');
    if (sign == line.npos || line.substr(0, sign) != name) continue;
    value = withoutQuotes(line.substr(sign + 1));
  }
  return value;
}

}  // namespace

std::string localeNameIn(std::string_view text) {
  const std::string_view time = valueOf("LC_TIME", text);
  return std::string(time.empty() ? valueOf("LANG", text) : time);
}

std::string systemLocaleName(const std::vector<std::filesystem::path>& files) {
  for (const auto& file : files) {
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();  // nothing if unreadable
    if (std::string name = localeNameIn(text.str()); !name.empty()) return name;
  }
  return {};
}

UserLocale userLocale() {
  for (const char* const variable : {"LC_ALL", "LC_TIME", "LANG"}) {
    const char* const value = std::getenv(variable);
    if (value != nullptr && *value != '\0') return {.name = value, .variable = variable};
  }
  return {.name = systemLocaleName()};
}

}  // namespace tarnwell
