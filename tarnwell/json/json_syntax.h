// Where and why a text is not JSON, for a message to the user after the parser has refused the text
// without a reason.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tarnwell {

struct JSONSyntaxFault {
  std::size_t line = 1;    // from 1
  std::size_t column = 1;  // from 1, in characters
  std::string reason{};    // a clause such as "a colon is missing"

  friend bool operator==(const JSONSyntaxFault&, const JSONSyntaxFault&) = default;
};

// Returns the first fault of the text; absent when it has none.
std::optional<JSONSyntaxFault> findSyntaxFault(std::string_view text);

}  // namespace tarnwell
