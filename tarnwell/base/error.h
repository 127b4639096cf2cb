// The base of every typed error, and the form that most of them take: an enumerated case with a
// fixed, user-facing description.
#pragma once

#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>

#include "tarnwell/base/enum_texts.h"

namespace tarnwell {

class Error : public std::runtime_error {
 public:
  explicit Error(std::string_view description) : std::runtime_error(std::string(description)) {}

  // What a person is shown.
  std::string_view description() const noexcept { return what(); }
};

// Returns the description of the exception being handled: a fixed text where it is no
// std::exception. For the last handler at the edge of an engine, past which nothing may escape.
inline std::string descriptionOfCurrentException() {
  try {
    throw;
  } catch (const std::exception& error) {
    return error.what();
  } catch (...) {
    return "An unexpected error occurred.";
  }
}

// An error that is one of several cases without a payload. `texts(Case)` lists the descriptions.
template <TextEnum Case>
class CaseError : public Error {
 public:
  explicit CaseError(Case which) : Error(textOf(which)), which_(which) {}

  Case which() const noexcept { return which_; }

  friend bool operator==(const CaseError& a, const CaseError& b) { return a.which_ == b.which_; }

 private:
  Case which_;
};

}  // namespace tarnwell
