// What the tool wrote during the tests, kept to be held against the schemas when they have run.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include "tests/support/scratch_folder.h"

namespace tarnwell::test {

// `schema` names the schema that the text must fit.
inline void record(std::string_view schema, const std::string& text) {
  const std::string name = std::to_string(std::hash<std::string>()(text)) + ".json";
  writeFile(std::filesystem::path(TARNWELL_RECORDS) / schema / name, text);
}

}  // namespace tarnwell::test
