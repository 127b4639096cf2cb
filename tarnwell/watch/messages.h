// What the resident part prints.
#pragma once

#include <map>
#include <ostream>
#include <string>
#include <string_view>

namespace tarnwell {

// Each line is on its way when the call returns. Holds the streams by reference; the owner outlives
// it.
class Messages {
 public:
  Messages(std::ostream& lines, std::ostream& problems) : lines_(lines), problems_(problems) {}

  void say(std::string_view line);

  // Says what is wrong with a thing, once for as long as it is the same. An empty text says that
  // nothing is wrong any more.
  void report(std::string_view thing, std::string_view problem);

 private:
  std::ostream& lines_;
  std::ostream& problems_;
  std::map<std::string, std::string, std::less<>> reported_;
};

}  // namespace tarnwell
