#include "tarnwell/blocking/macos_privileged_command_runner.h"

#include <algorithm>

#include "tarnwell/base/text.h"
#include "tarnwell/blocking/approval_prompt.h"
#include "tarnwell/blocking/blocking_engine.h"

namespace tarnwell {
namespace {

std::string replacingAll(std::string_view text, char wanted, std::string_view replacement) {
  std::string result;
  for (const char c : text) {
    if (c == wanted) {
      result += replacement;
    } else {
      result += c;
    }
  }
  return result;
}

std::string shellQuote(std::string_view text) {
  return "'" + replacingAll(text, '\'', R"('\'')") + "'";
}

// Returns the text as a literal of the script language.
std::string scriptLiteral(std::string_view text) {
  return "\"" + replacingAll(replacingAll(text, '\\', R"(\\)"), '"', R"(\")") + "\"";
}

bool mentionsCancelling(std::string_view text) {
  constexpr std::string_view word = "cancel";
  const auto isSame = [](char a, char b) { return asciiLowercase(a) == b; };
  return std::search(text.begin(), text.end(), word.begin(), word.end(), isSame) != text.end();
}

}  // namespace

void MacOSPrivilegedCommandRunner::replace(const PreparedFile& source,
                                           const std::filesystem::path& destination) {
  requireSuccess(
      runApprovalPrompt(scriptArguments(commandPlan(source.path.string(), destination.string()))));
}

std::string MacOSPrivilegedCommandRunner::commandPlan(std::string_view replacementPath,
                                                      std::string_view destinationPath) {
  const std::string replacement = shellQuote(replacementPath);
  const std::string destination = shellQuote(destinationPath);
  return "/bin/cp " + replacement + " " + destination +     //
         " && /usr/sbin/chown root:wheel " + destination +  //
         " && /bin/chmod 644 " + destination +              //
         " && /usr/bin/dscacheutil -flushcache && /usr/bin/killall -HUP mDNSResponder";
}

std::vector<std::string> MacOSPrivilegedCommandRunner::scriptArguments(std::string_view command) {
  return {scriptRunner, "-e",
          "do shell script " + scriptLiteral(command) + " with administrator privileges"};
}

void MacOSPrivilegedCommandRunner::requireSuccess(const ChildResult& result) {
  if (result.exitStatus == 0) return;
  const std::string_view errors = errorTextOf(result);
  if (mentionsCancelling(errors)) throw BlockingError::authorizationCancelled();
  throw BlockingError::writeFailed(errors);
}

}  // namespace tarnwell
