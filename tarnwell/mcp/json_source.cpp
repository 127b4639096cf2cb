#include "tarnwell/mcp/json_source.h"

#include <cstddef>
#include <string>

#include "tarnwell/json/json_document.h"

namespace tarnwell::mcp {
namespace {

constexpr std::string_view whiteSpace = " \t\r\n";

std::size_t endOfString(std::string_view text, std::size_t begin) {
  std::size_t at = begin + 1;
  while (text[at] != '"') at += text[at] == '\\' ? 2 : 1;
  return at + 1;
}

std::size_t endOfValue(std::string_view text, std::size_t begin) {
  std::size_t depth = 0;
  std::size_t at = begin;
  while (at < text.size()) {
    const char c = text[at];
    if (depth == 0 && (c == ',' || c == '}' || c == ']' || whiteSpace.find(c) != whiteSpace.npos)) {
      return at;  // behind a number or a word
    }
    if (c == '{' || c == '[') ++depth;
    if (c == '}' || c == ']') --depth;
    at = c == '"' ? endOfString(text, at) : at + 1;
    const bool isWhole = c == '"' || c == '}' || c == ']';
    if (isWhole && depth == 0) return at;
  }
  return at;
}

bool isKey(std::string_view source, std::string_view key) {
  if (source.find('\\') == source.npos) return source.substr(1, source.size() - 2) == key;
  const JSONDocument document{std::string(source)};
  return textFrom(document.root(), "key") == key;
}

}  // namespace

std::optional<std::string_view> memberSource(std::string_view object, std::string_view key) {
  std::size_t at = object.find('{') + 1;
  while (true) {
    at = object.find_first_not_of(" \t\r\n,", at);
    if (object[at] == '}') return std::nullopt;
    const std::size_t endOfKey = endOfString(object, at);
    const std::size_t colon = object.find(':', endOfKey);
    const std::size_t begin = object.find_first_not_of(whiteSpace, colon + 1);
    const std::size_t end = endOfValue(object, begin);
    if (isKey(object.substr(at, endOfKey - at), key)) return object.substr(begin, end - begin);
    at = end;
  }
}

}  // namespace tarnwell::mcp
