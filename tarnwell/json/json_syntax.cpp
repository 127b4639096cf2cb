#include "tarnwell/json/json_syntax.h"

#include <algorithm>
#include <charconv>

#include "tarnwell/json/json_document.h"
#include "tarnwell/json/json_error.h"
#include "tarnwell/json/utf8.h"

namespace tarnwell {
namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
constexpr std::size_t deepestLevel = 1024;  // as the parser's

bool isDigit(char c) { return '0' <= c && c <= '9'; }

bool isHexadecimal(char c) {
  return isDigit(c) || ('a' <= c && c <= 'f') || ('A' <= c && c <= 'F');
}

// Returns the size of the longest beginning that is valid UTF-8.
std::size_t validSize(std::string_view text) {
  constexpr std::size_t longestCharacter = 4;
  std::size_t at = 0;
  while (at < text.size()) {
    std::size_t size = 1;
    while (size <= longestCharacter && !isValidUTF8(text.substr(at, size))) ++size;
    if (size > longestCharacter) break;
    at += size;
  }
  return std::min(at, text.size());
}

// Reads values up to the first fault. Each function returns false at a fault, whose place is `at_`.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_(text) {}

  bool scan() {
    if (text_.starts_with(byteOrderMark)) return fail("the text begins with a byte-order mark");
    return value(0) && (isAtEnd() || fail("the text goes on after its end"));
  }

  std::size_t place() const { return at_; }
  const char* reason() const { return reason_; }

 private:
  bool fail(const char* reason) {
    reason_ = at_ == text_.size() ? "the text ends too early" : reason;
    return false;
  }

  bool isAtEnd() {
    at_ = std::min(text_.find_first_not_of(" \t\r\n", at_), text_.size());
    return at_ == text_.size();
  }

  // Skips white space. Returns the next character, or NUL at the end.
  char next() { return isAtEnd() ? '\0' : text_[at_]; }

  bool isTaken(char c) {
    if (at_ == text_.size() || text_[at_] != c) return false;
    ++at_;
    return true;
  }

  bool value(std::size_t level) {
    const char first = next();
    if (first == '{' || first == '[') {
      if (level == deepestLevel) return fail("the values are nested too deeply");
      return first == '{' ? object(level + 1) : array(level + 1);
    }
    if (first == '"') return string();
    if (first == '-' || isDigit(first)) return number();
    return word();
  }

  bool object(std::size_t level) {
    ++at_;
    if (next() == '}') return isTaken('}');
    while (true) {
      if (next() != '"') return fail("a key in double quotation marks is missing");
      if (!string()) return false;
      if (next() != ':') return fail("a colon after the key is missing");
      ++at_;
      if (!value(level)) return false;
      if (next() == '}') return isTaken('}');
      if (!isTaken(',')) return fail("a comma or a closing brace is missing");
    }
  }

  bool array(std::size_t level) {
    ++at_;
    if (next() == ']') return isTaken(']');
    while (true) {
      if (!value(level)) return false;
      if (next() == ']') return isTaken(']');
      if (!isTaken(',')) return fail("a comma or a closing bracket is missing");
    }
  }

  bool word() {
    for (const std::string_view word : {"true", "false", "null"}) {
      if (!text_.substr(at_).starts_with(word)) continue;
      at_ += word.size();
      return true;
    }
    return fail("a value is missing");
  }

  bool digits() {
    if (at_ == text_.size() || !isDigit(text_[at_])) return fail("a digit is missing");
    while (at_ < text_.size() && isDigit(text_[at_])) ++at_;
    return true;
  }

  bool number() {
    const std::size_t begin = at_;
    isTaken('-');
    if (!isTaken('0') && !digits()) return false;
    if (isTaken('.') && !digits()) return false;
    if (isTaken('e') || isTaken('E')) {
      if (!isTaken('+')) isTaken('-');
      if (!digits()) return false;
    }
    if (isInRange(text_.substr(begin, at_ - begin))) return true;
    at_ = begin;
    return fail("the number is too large");
  }

  // Asks the parser about the few numbers that might not fit into a double.
  static bool isInRange(std::string_view number) {
    constexpr std::size_t alwaysFits = 300;
    if (number.size() < alwaysFits && number.find_first_of("eE") == number.npos) return true;
    try {
      const JSONDocument document{std::string(number)};
      return true;
    } catch (const JSONError&) {
      return false;
    }
  }

  bool string() {
    ++at_;
    while (at_ < text_.size()) {
      const auto c = static_cast<unsigned char>(text_[at_]);
      if (c < ' ') return fail("a control character in a text is not escaped");
      if (c == '\\' && !escape()) return false;
      if (c == '"') return isTaken('"');
      if (c != '\\') ++at_;
    }
    return fail("");
  }

  // Reads one escape, or the two of a surrogate pair.
  bool escape() {
    constexpr std::string_view simple = "\"\\/bfnrt";
    ++at_;
    if (at_ < text_.size() && simple.find(text_[at_]) != simple.npos) {
      ++at_;
      return true;
    }
    const std::size_t begin = at_;
    const auto first = codeUnit();
    if (!first) at_ = begin;
    if (!first) return fail("a backslash begins no escape");
    if (*first < 0xD800 || *first > 0xDFFF) return true;
    const auto second = isTaken('\\') ? codeUnit() : std::nullopt;
    const bool isPair = *first < 0xDC00 && second && 0xDC00 <= *second && *second <= 0xDFFF;
    if (isPair) return true;
    at_ = begin;
    return fail("an escape is one half of a surrogate pair");
  }

  // Reads "u" and four digits.
  std::optional<unsigned> codeUnit() {
    constexpr std::size_t count = 4;
    constexpr int hexadecimal = 16;
    if (!isTaken('u')) return std::nullopt;
    const std::string_view digits = text_.substr(at_, count);
    const bool areDigits =
        digits.size() == count && std::all_of(digits.begin(), digits.end(), isHexadecimal);
    if (!areDigits) return std::nullopt;
    unsigned unit = 0;
    std::from_chars(digits.data(), digits.data() + count, unit, hexadecimal);
    at_ += count;
    return unit;
  }

  std::string_view text_;
  std::size_t at_ = 0;
  const char* reason_ = "";
};

JSONSyntaxFault faultAt(std::size_t place, std::string_view text, const char* reason) {
  const std::string_view before = text.substr(0, place);
  const std::size_t lineBegin = before.rfind('\n') + 1;  // 0 on the first line
  const auto isFirstByte = [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; };
  const auto* const line = before.data() + lineBegin;
  const auto* const end = before.data() + before.size();
  return {.line = static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n')) + 1,
          .column = static_cast<std::size_t>(std::count_if(line, end, isFirstByte)) + 1,
          .reason = reason};
}

}  // namespace

std::optional<JSONSyntaxFault> findSyntaxFault(std::string_view text) {
  if (!isValidUTF8(text)) return faultAt(validSize(text), text, "a byte is not UTF-8");
  Scanner scanner(text);
  if (scanner.scan()) return std::nullopt;
  return faultAt(scanner.place(), text, scanner.reason());
}

}  // namespace tarnwell
