// tarnwell: the user's program. Finds the command, lets it decide, and does everything that the
// commands leave to it: asking, printing, and the exit status.
#include <cstdlib>
#include <exception>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "tarnwell/base/printable_text.h"
#include "tarnwell/base/version.h"
#include "tarnwell/platform/standard_streams.h"
#include "tarnwell/terminal/commands.h"
#include "tarnwell/terminal/completion.h"
#include "tarnwell/terminal/console.h"
#include "tarnwell/terminal/host.h"
#include "tarnwell/terminal/other_program.h"

namespace tarnwell::terminal {
namespace {

constexpr int succeeded = 0;
constexpr int refused = 1;
constexpr int misused = 2;

int statusAfter(WriteResult result, const Console& console, int status) {
  if (result == WriteResult::written) return status;
  console.report({Line("tarnwell: standard output cannot be written.")});
  return refused;
}

int say(const Answer& answer, const Console& console) {
  for (const std::string& note : answer.notes) console.report({Line(note)});
  if (!answer.json) return statusAfter(console.print(answer.page), console, answer.status);
  return statusAfter(console.printText(printableJSON(answer.json->text) + "\n"), console,
                     answer.status);
}

// Throws Refusal where the user cannot be asked.
void requireAnswerable(const Question& question, const Arguments& arguments,
                       const Console& console) {
  if (question.isOnlyForTheUser && !console.isTerminalOnBothEnds()) {
    throw Refusal("Only the user decides this, at a terminal.");
  }
  if (!arguments.has(yesFlag.name) && !console.canAsk()) {
    throw Refusal(question.text + R"(? There is no terminal to ask at. Repeat it with "--yes".)");
  }
}

bool isAgreed(const Question& question, const Arguments& arguments, const Console& console) {
  if (!question.isOnlyForTheUser && arguments.has(yesFlag.name)) return true;
  return console.ask(question.text);
}

int conclude(Outcome outcome, const Arguments& arguments, const Console& console) {
  if (const auto* const answer = std::get_if<Answer>(&outcome)) return say(*answer, console);
  const auto& question = std::get<Question>(outcome);
  requireAnswerable(question, arguments, console);
  if (!question.shown.empty()) {
    if (console.print(question.shown) != WriteResult::written) return refused;
  }
  if (!isAgreed(question, arguments, console)) {
    console.report({Line("Nothing was changed.")});
    return refused;
  }
  return say(question.whenYes(), console);
}

int runCommand(const Command& command, const std::vector<std::string>& words,
               const Console& console) {
  const auto arguments = parseArguments(command, words);
  if (!arguments) {
    return statusAfter(console.printText(helpOf(command)), console, succeeded);
  }
  Host host;
  return conclude(command.run(host, *arguments), *arguments, console);
}

int misuse(const Console& console, const std::string& problem, const std::string& next) {
  console.report({Line("tarnwell: " + problem), Line(next, Style::dim)});
  return misused;
}

int refuseUnknown(const Console& console, const std::string& word) {
  const Page group = overviewOf(word);
  if (!group.empty()) {
    console.report({Line("tarnwell: " + word + " needs one of these after it:")});
    console.report(group);
    return misused;
  }
  const std::string_view suggestion = suggestionFor(word);
  return misuse(console, "there is no command " + word + ".",
                suggestion.empty() ? R"("tarnwell help" lists the commands.)"
                                   : "Did you mean \"tarnwell " + std::string(suggestion) + "\"?");
}

int explain(const std::vector<std::string>& words, const Console& console) {
  if (words.empty()) return statusAfter(console.print(overview()), console, succeeded);
  if (const Command* const command = commandAtFront(words).command) {
    return statusAfter(console.printText(helpOf(*command)), console, succeeded);
  }
  const Page group = overviewOf(words.front());
  if (group.empty()) return refuseUnknown(console, words.front());
  return statusAfter(console.print(group), console, succeeded);
}

// For shell completion, not for the user.
int complete(const std::vector<std::string>& words, const Console& console) {
  Host host;
  return statusAfter(console.printText(completionsFor(words, host)), console, succeeded);
}

// Throws what the command throws.
int dispatch(std::vector<std::string> words, const Console& console) {
  const std::string first = words.empty() ? "" : words.front();
  if (first == "--version") {
    return statusAfter(console.printText("tarnwell " + std::string(versionText) + "\n"), console,
                       succeeded);
  }
  if (first == "--help" || first == "-h") return explain({}, console);
  if (first == "help") return explain({words.begin() + 1, words.end()}, console);
  if (first == "complete" && words.size() > 1) {
    return complete({words.begin() + 1, words.end()}, console);
  }
  if (first.empty() || first.starts_with("-")) words.insert(words.begin(), "day");

  const auto [command, wordCount] = commandAtFront(words);
  if (command == nullptr) {
    const bool isHelpOfGroup = words.size() == 2 && (words[1] == "--help" || words[1] == "-h");
    return isHelpOfGroup ? explain({words[0]}, console) : refuseUnknown(console, words[0]);
  }
  words.erase(words.begin(), words.begin() + static_cast<std::ptrdiff_t>(wordCount));
  if (!command->program.empty()) return becomeProgram(command->program, words);
  try {
    return runCommand(*command, words, console);
  } catch (const UsageError& error) {
    return misuse(console, std::string(error.description()),
                  "See \"tarnwell " + std::string(command->name) + " --help\".");
  }
}

int run(const std::vector<std::string>& words) {
  occupyClosedStandardDescriptors();
  setSignals();
  const Console console;
  try {
    return dispatch(words, console);
  } catch (const Refusal& refusal) {
    console.report({Line("tarnwell: " + std::string(refusal.description()))});
    console.report(refusal.details());
    return refused;
  } catch (const SessionError& error) {
    console.report({Line("tarnwell: " + std::string(error.description()))});
    const bool isAboutTheSession = error.which() == SessionError::alreadyActive ||
                                   error.which() == SessionError::strictSessionLocked;
    if (isAboutTheSession) console.report({Line(R"("tarnwell block" shows it.)", Style::dim)});
    return refused;
  } catch (const std::exception& error) {
    console.report({Line("tarnwell: " + std::string(error.what()))});
    return refused;
  }
}

}  // namespace
}  // namespace tarnwell::terminal

int main(int argc, char* argv[]) {
  // Ends the process without destroying the plan.
  std::exit(tarnwell::terminal::run({argv + 1, argv + argc}));
}
