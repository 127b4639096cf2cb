// The base of every typed error, and the form that they share. base/ holds what every folder may
// use and depends on none of them: errors, checked arithmetic, field lists, text, identifiers.
#pragma once

#include <concepts>
#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "tarnwell/base/enum_texts.h"

namespace tarnwell {

class Error : public std::runtime_error {
 public:
  explicit Error(std::string_view description) : std::runtime_error(std::string(description)) {}

  // Returns the fixed text that the user is shown.
  std::string_view description() const noexcept { return what(); }
};

// Returns the description of the exception being handled, or a fixed text if it is not a
// std::exception. For the outermost handler of an engine.
inline std::string descriptionOfCurrentException() {
  try {
    throw;
  } catch (const std::exception& error) {
    return error.what();
  } catch (...) {
    return "An unexpected error occurred.";
  }
}

// A typed error: an enumerated case, its payload, and the fixed description of both. Equal when
// case and payload are. Without payloads, `texts(Case)` lists the descriptions; with payloads, a
// named function makes and describes each case.
template <class Cases, std::equality_comparable PayloadOfCases = std::monostate>
class CaseError : public Error {
 public:
  using Case = Cases;
  using Payload = PayloadOfCases;

  explicit CaseError(Case which) requires std::same_as<Payload, std::monostate>
      : Error(textOf(which)), which_(which) {}

  Case which() const noexcept { return which_; }
  const Payload& payload() const noexcept { return payload_; }

  friend bool operator==(const CaseError& a, const CaseError& b) {
    return a.which_ == b.which_ && a.payload_ == b.payload_;
  }

 protected:
  CaseError(Case which, Payload payload, std::string_view description)
      : Error(description), which_(which), payload_(std::move(payload)) {}

 private:
  Case which_;
  Payload payload_{};
};

}  // namespace tarnwell
