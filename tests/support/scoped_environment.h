// Environment variables that a test sets and restores.
#pragma once

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

namespace tarnwell::test {

// Sets a variable, or unsets it for null, and restores it on destruction.
class ScopedVariable {
 public:
  ScopedVariable(const char* name, const char* value) : name_(name) {
    if (const char* const previous = std::getenv(name)) previous_ = previous;
    set(value);
  }
  ScopedVariable(const ScopedVariable&) = delete;
  ScopedVariable& operator=(const ScopedVariable&) = delete;
  ~ScopedVariable() { set(previous_ ? previous_->c_str() : nullptr); }

 private:
  void set(const char* value) {
    if (value == nullptr) {
      ::unsetenv(name_);
    } else {
      ::setenv(name_, value, 1);
    }
  }

  const char* name_;
  std::optional<std::string> previous_;
};

// Sets the time zone of the process.
class ScopedTimeZone {
 public:
  explicit ScopedTimeZone(const char* zone) : variable_(std::in_place, "TZ", zone) { ::tzset(); }
  ScopedTimeZone(const ScopedTimeZone&) = delete;
  ScopedTimeZone& operator=(const ScopedTimeZone&) = delete;
  ~ScopedTimeZone() {
    variable_.reset();
    ::tzset();
  }

 private:
  std::optional<ScopedVariable> variable_;
};

}  // namespace tarnwell::test
