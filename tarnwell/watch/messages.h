// The output of the resident part.
#pragma once

#include <map>
#include <ostream>
#include <string>
#include <string_view>

namespace tarnwell {

// Each line is flushed when the call returns. Holds the streams by reference; the owner outlives
// it.
class Messages {
 public:
  Messages(std::ostream& lines, std::ostream& problems) : lines_(lines), problems_(problems) {}

  void say(std::string_view line);

  // Reports a problem with a thing once, until it changes. An empty text ends the problem.
  void report(std::string_view thing, std::string_view problem);

 private:
  std::ostream& lines_;
  std::ostream& problems_;
  std::map<std::string, std::string, std::less<>> reported_;
};

}  // namespace tarnwell
