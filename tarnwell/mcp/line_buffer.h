// Cuts a stream of bytes into lines.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tarnwell::mcp {

// A line without its line feed.
struct Line {
  std::string text{};
  bool isTooLong = false;  // the text is then empty
};

// Takes bytes as they arrive and returns whole lines in order. Holds at most the longest line and
// the last piece: it reports a longer line once and drops its bytes.
class LineBuffer {
 public:
  static constexpr std::size_t longestLine =
      std::size_t{16} * 1024 * 1024;  // bytes, without the line feed

  void append(std::string_view bytes);

  // Returns the next whole line; absent while none is whole.
  std::optional<Line> next();

  // At the end of the stream, returns the bytes after the last line feed as a line; absent without
  // any.
  std::optional<Line> last();

 private:
  std::string bytes_;
  std::size_t begin_ = 0;    // of the next line
  std::size_t scanned_ = 0;  // there is no line feed before it
  bool isSkipping_ = false;  // the rest of a line that was too long
};

}  // namespace tarnwell::mcp
