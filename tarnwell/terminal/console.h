// The standard streams: which are terminals, their width, and questions to the user.
#pragma once

#include <string>
#include <string_view>

#include "tarnwell/terminal/page.h"
#include "tarnwell/terminal/page_printer.h"

namespace tarnwell::terminal {

// Output to a reader that has gone counts as written.
enum class WriteResult { written, failed };

class Console {
 public:
  // Examines the streams, NO_COLOR and TERM.
  Console();

  WriteResult print(const Page& page) const { return write(1, printedPage(page, output_)); }
  WriteResult printText(std::string_view text) const { return write(1, text); }

  // To standard error.
  void report(const Page& page) const { write(2, printedPage(page, errors_)); }

  // Whether a terminal can show a question and take the answer.
  bool canAsk() const { return isInputTerminal_ && (isErrorTerminal_ || isOutputTerminal_); }
  bool isTerminalOnBothEnds() const { return isInputTerminal_ && isOutputTerminal_; }

  // Returns true for "y" and "yes". The end of the input means no; Ctrl-C ends the process.
  bool ask(std::string_view question) const;

 private:
  static WriteResult write(int descriptor, std::string_view text);

  bool isInputTerminal_;
  bool isOutputTerminal_;
  bool isErrorTerminal_;
  PageLayout output_;
  PageLayout errors_;
};

}  // namespace tarnwell::terminal
