// A command: its parameters and the function that carries it out. terminal/ is tarnwell, the user's
// program.
//
// To add a command:
//   1. write its function in the file of its family, such as group_commands.cpp: it reads its
//      arguments, decides, and returns the answer, but neither asks nor prints;
//   2. describe it beside the function with a `Command`, and declare that in commands.h;
//   3. give it a row in the table in commands.cpp;
//   4. add it to docs/terminal.md and packaging/man/tarnwell.1. Help and completion follow by
//   themselves.
#pragma once

#include <array>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "tarnwell/base/error.h"
#include "tarnwell/json/json_convert.h"
#include "tarnwell/json/json_types.h"
#include "tarnwell/terminal/arguments.h"
#include "tarnwell/terminal/page.h"

namespace tarnwell::terminal {

class Host;

// The answer of a command.
struct Answer {
  Page page{};                       // to standard output
  std::optional<JSONText> json{};    // printed instead of the page, on request
  std::vector<std::string> notes{};  // further remarks, to standard error
  int status = 0;
};

inline Answer saying(std::string sentence) { return {.page = {Line(std::move(sentence))}}; }

// A question to ask before a change.
struct Question {
  Page shown{};                   // to standard output, before the question
  std::string text{};             // without "?"
  bool isOnlyForTheUser = false;  // no option answers it
  std::function<Answer()> whenYes{};
};

using Outcome = std::variant<Answer, Question>;

// A refused command: exit status 1. Says why, and what to do next.
class Refusal : public Error {
 public:
  explicit Refusal(std::string_view reason, Page details = {})
      : Error(reason), details_(std::move(details)) {}

  const Page& details() const noexcept { return details_; }

 private:
  Page details_;
};

using Run = Outcome(Host& host, const Arguments& arguments);

struct Command {
  std::string_view name;  // several words for one of a group: "group add"
  std::string_view summary;
  std::string_view example;
  std::span<const Parameter> parameters{};
  Run* run = nullptr;
  std::string_view program{};  // carries the command out, instead of `run`
};

// Answers with a record as JSON, in the form of the agent's replies.
template <class View>
Answer inJSON(const View& view) {
  return {.json = replyText(view)};
}

}  // namespace tarnwell::terminal
