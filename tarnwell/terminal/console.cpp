#include "tarnwell/terminal/console.h"

#include <cerrno>
#include <cstdlib>

#include <sys/ioctl.h>
#include <unistd.h>

#include "tarnwell/base/printable_text.h"
#include "tarnwell/base/text.h"
#include "tarnwell/platform/file_descriptor.h"

namespace tarnwell::terminal {
namespace {

// Empty when the variable is not set.
std::string_view variable(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

bool allowsColour() {
  const std::string_view terminal = variable("TERM");
  return variable("NO_COLOR").empty() && !terminal.empty() && terminal != "dumb";
}

PageLayout layoutOf(int descriptor) {
  constexpr std::size_t usualWidth = 80;
  if (::isatty(descriptor) == 0) return {};
  winsize size{};
  const bool isKnown = ::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return {.width = isKnown ? size.ws_col : usualWidth, .isColoured = allowsColour()};
}

// Reads a line byte by byte, so that the rest of the input stays unread.
std::string readLine() {
  std::string line;
  char byte = 0;
  while (retryingInterrupted([&] { return ::read(STDIN_FILENO, &byte, 1); }) == 1 && byte != '\n') {
    line += byte;
  }
  return line;
}

}  // namespace

Console::Console()
    : isInputTerminal_(::isatty(STDIN_FILENO) != 0),
      isOutputTerminal_(::isatty(STDOUT_FILENO) != 0),
      isErrorTerminal_(::isatty(STDERR_FILENO) != 0),
      output_(layoutOf(STDOUT_FILENO)),
      errors_(layoutOf(STDERR_FILENO)) {}

bool Console::ask(std::string_view question) const {
  write(isErrorTerminal_ ? STDERR_FILENO : STDOUT_FILENO, printable(question) + "? [y/N] ");
  const std::string line = readLine();
  const auto answer = trimmed(line);
  return answer == "y" || answer == "Y" || answer == "yes" || answer == "Yes" || answer == "YES";
}

WriteResult Console::write(int descriptor, std::string_view text) {
  const int error = writeAll(descriptor, text);
  return error == 0 || error == EPIPE ? WriteResult::written : WriteResult::failed;
}

}  // namespace tarnwell::terminal
