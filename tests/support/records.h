// Keeps the tool's output during the tests. Another test validates it against the schemas.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include "tests/support/scratch_folder.h"

namespace tarnwell::test {

// Keeps a text that must satisfy the named schema. Longer texts take long to validate and have no
// other members than short ones. Returns whether it is kept.
inline bool record(std::string_view schema, const std::string& text) {
  constexpr std::size_t longest = 16 * 1024;
  if (text.size() > longest) return false;
  const std::string name = std::to_string(std::hash<std::string>()(text)) + ".json";
  writeFile(std::filesystem::path(TARNWELL_RECORDS) / schema / name, text);
  return true;
}

}  // namespace tarnwell::test
