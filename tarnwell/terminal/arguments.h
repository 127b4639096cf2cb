// The arguments of a command: what it accepts, and the values given.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/base/error.h"

namespace tarnwell::terminal {

enum class ParameterKind {
  flag,               // --name
  option,             // --name VALUE
  optionWithDefault,  // --name, or --name=VALUE
  required,           // VALUE
  optional,           // [VALUE]
  repeated            // VALUE...
};

struct Parameter {
  std::string_view name;  // "--day"; of a positional one the word for its value, "TASK"
  ParameterKind kind{};
  std::string_view value;  // the word for an option's value, which also decides its completion
  std::string_view help;
  int choice = 0;  // parameters with the same number, other than 0, exclude each other
  std::string_view defaultValue{};  // of an option given without one
};

constexpr Parameter flag(std::string_view name, std::string_view help, int choice = 0) {
  return {name, ParameterKind::flag, "", help, choice};
}
constexpr Parameter option(std::string_view name, std::string_view value, std::string_view help,
                           int choice = 0) {
  return {name, ParameterKind::option, value, help, choice};
}
constexpr Parameter required(std::string_view value, std::string_view help) {
  return {value, ParameterKind::required, value, help};
}
constexpr Parameter optional(std::string_view value, std::string_view help) {
  return {value, ParameterKind::optional, value, help};
}
constexpr Parameter repeated(std::string_view value, std::string_view help) {
  return {value, ParameterKind::repeated, value, help};
}

inline constexpr Parameter taskParameter =
    required("TASK", "its number of today, letters of its identifier, or words of its title");
inline constexpr Parameter jsonFlag = flag("--json", "print JSON instead of a table");
inline constexpr Parameter yesFlag = flag("--yes", "answer the question with yes");
inline constexpr Parameter dryRunFlag = flag("--dry-run", "show what would change, and stop");

// An invalid command line: exit status 2.
class UsageError : public Error {
 public:
  using Error::Error;
};

// The values given, all valid UTF-8.
class Arguments {
 public:
  bool has(std::string_view name) const { return values_.contains(name); }

  // Returns the value of an option or a positional parameter that is not repeated.
  std::optional<std::string> value(std::string_view name) const;

  // Returns the value of a required parameter.
  const std::string& text(std::string_view name) const {
    return values_.find(name)->second.front();
  }

  // Returns the values of a repeated parameter.
  const std::vector<std::string>& texts(std::string_view name) const {
    return values_.find(name)->second;
  }

  // Throws UsageError unless the value is an integer in the range.
  std::optional<std::int64_t> integer(std::string_view name, std::int64_t lowest,
                                      std::int64_t highest) const;

  void add(std::string_view name, std::vector<std::string> values) {
    values_.emplace(name, std::move(values));
  }

 private:
  std::map<std::string, std::vector<std::string>, std::less<>> values_;
};

struct Command;

// Absent when the user asks for help. Throws UsageError.
std::optional<Arguments> parseArguments(const Command& command,
                                        const std::vector<std::string>& words);

// Returns the help of one command, with its example.
std::string helpOf(const Command& command);

}  // namespace tarnwell::terminal
