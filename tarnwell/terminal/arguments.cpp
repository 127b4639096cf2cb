#include "tarnwell/terminal/arguments.h"

#include <algorithm>
#include <limits>
#include <memory>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "tarnwell/base/text.h"
#include "tarnwell/json/utf8.h"
#include "tarnwell/terminal/command.h"

namespace tarnwell::terminal {
namespace {

bool isPositional(const Parameter& parameter) { return !parameter.name.starts_with("--"); }

// The parser and its values, which are verbatim except that it reads "[a,b]" of a repeated
// parameter as two.
struct Parser {
  explicit Parser(const Command& command)
      : app(std::string(command.summary), "tarnwell " + std::string(command.name)) {
    app.footer("Example:\n  " + std::string(command.example));
    for (const Parameter& parameter : command.parameters) options.push_back(&add(parameter));
  }

  CLI::App app;
  std::vector<CLI::Option*> options;  // in the order of the command's parameters

 private:
  CLI::Option& add(const Parameter& parameter) {
    const std::string name(parameter.name);
    const std::string help(parameter.help);
    if (parameter.kind == ParameterKind::flag) return *app.add_flag(name, help);
    CLI::Option& option = *app.add_option(name, help);
    option.type_name(std::string(isPositional(parameter) ? "" : parameter.value));
    option.required(parameter.kind == ParameterKind::required ||
                    parameter.kind == ParameterKind::repeated);
    if (parameter.kind == ParameterKind::repeated) {
      option.expected(1, std::numeric_limits<int>::max())->allow_extra_args();
    }
    return option;
  }
};

// The parser would take the word after "--name=" or after an option with a default as the
// value.
std::vector<std::string> unambiguous(const Command& command,
                                     const std::vector<std::string>& words) {
  std::vector<std::string> result;
  bool areOptions = true;
  for (const std::string& word : words) {
    areOptions = areOptions && word != "--";
    const auto own = std::find_if(
        command.parameters.begin(), command.parameters.end(), [&](const Parameter& parameter) {
          return parameter.kind == ParameterKind::optionWithDefault && parameter.name == word;
        });
    if (areOptions && own != command.parameters.end()) {
      result.push_back(word + "=" + std::string(own->defaultValue));
    } else if (areOptions && word.starts_with("--") && word.find('=') == word.size() - 1) {
      result.push_back(word.substr(0, word.size() - 1));
      result.emplace_back();
    } else {
      result.push_back(word);
    }
  }
  return result;
}

Arguments argumentsFrom(const Command& command, const Parser& parser) {
  Arguments arguments;
  for (std::size_t i = 0; i < parser.options.size(); ++i) {
    const Parameter& parameter = command.parameters[i];
    const CLI::Option& option = *parser.options[i];
    if (option.count() == 0) continue;
    if (parameter.kind == ParameterKind::flag && !option.as<bool>()) continue;
    for (const std::string& value : option.results()) {
      if (!isValidUTF8(value)) throw UsageError("An argument is not valid UTF-8.");
    }
    arguments.add(parameter.name, option.results());
  }
  return arguments;
}

// Throws UsageError where more than one parameter of a choice is given.
void requireOneOfEachChoice(const Command& command, const Arguments& arguments) {
  std::map<int, std::string_view> chosen;
  for (const Parameter& parameter : command.parameters) {
    if (parameter.choice == 0 || !arguments.has(parameter.name)) continue;
    const auto [other, isFirst] = chosen.emplace(parameter.choice, parameter.name);
    if (isFirst) continue;
    throw UsageError(std::string(other->second) + " and " + std::string(parameter.name) +
                     " exclude each other.");
  }
}

}  // namespace

std::optional<std::string> Arguments::value(std::string_view name) const {
  const auto found = values_.find(name);
  if (found == values_.end()) return std::nullopt;
  return found->second.front();
}

std::optional<std::int64_t> Arguments::integer(std::string_view name, std::int64_t lowest,
                                               std::int64_t highest) const {
  const auto given = value(name);
  if (!given) return std::nullopt;
  const auto number = parseInteger(*given);
  if (!number || *number < lowest || *number > highest) {
    throw UsageError(std::string(name) + ": " + *given + " is not a whole number from " +
                     std::to_string(lowest) + " to " + std::to_string(highest) + ".");
  }
  return number;
}

std::optional<Arguments> parseArguments(const Command& command,
                                        const std::vector<std::string>& words) {
  Parser parser(command);
  auto remaining = unambiguous(command, words);
  std::reverse(remaining.begin(), remaining.end());  // the parser takes them from the back
  try {
    parser.app.parse(std::move(remaining));
  } catch (const CLI::CallForHelp&) {
    return std::nullopt;
  } catch (const CLI::Error& error) {
    throw UsageError(error.what());
  }
  auto arguments = argumentsFrom(command, parser);
  requireOneOfEachChoice(command, arguments);
  return arguments;
}

std::string helpOf(const Command& command) { return Parser(command).app.help(); }

}  // namespace tarnwell::terminal
