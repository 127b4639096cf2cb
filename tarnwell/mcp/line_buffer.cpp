#include "tarnwell/mcp/line_buffer.h"

#include <algorithm>
#include <utility>

namespace tarnwell::mcp {

void LineBuffer::append(std::string_view bytes) {
  bytes_.erase(0, begin_);
  scanned_ -= begin_;
  begin_ = 0;
  bytes_ += bytes;
}

std::optional<Line> LineBuffer::next() {
  while (true) {
    const std::size_t end = bytes_.find('\n', std::max(begin_, scanned_));
    const bool isWhole = end != std::string::npos;
    const std::size_t length = (isWhole ? end : bytes_.size()) - begin_;
    const bool isTooLong = length > longestLine;
    const bool wasSkipping = isSkipping_;
    if (!isWhole && !isTooLong && !wasSkipping) {
      scanned_ = bytes_.size();
      return std::nullopt;
    }
    Line line{.isTooLong = isTooLong};
    if (!isTooLong && !wasSkipping) line.text = bytes_.substr(begin_, length);
    begin_ = isWhole ? end + 1 : bytes_.size();
    scanned_ = begin_;
    isSkipping_ = !isWhole;
    if (!wasSkipping) return line;
    if (!isWhole) return std::nullopt;
  }
}

std::optional<Line> LineBuffer::last() {
  if (isSkipping_ || begin_ == bytes_.size()) return std::nullopt;
  return Line{.text = bytes_.substr(std::exchange(begin_, bytes_.size()))};
}

}  // namespace tarnwell::mcp
