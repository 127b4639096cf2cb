// A value that a user interface can observe.
#pragma once

#include <functional>
#include <utility>

namespace tarnwell {

// Set by its owner only, on the owner's thread. Has at most one observer.
template <class Value, class Owner>
class Published {
 public:
  Published() = default;
  Published(const Published&) = delete;
  Published& operator=(const Published&) = delete;
  ~Published() = default;

  const Value& value() const { return value_; }

  // Replaces the observer, which is called with each new value after the change. It may replace
  // itself. Its exceptions are ignored.
  void observe(std::function<void(const Value&)> observer) { observer_ = std::move(observer); }

 private:
  friend Owner;

  void set(Value value) {
    if (value == value_) return;
    value_ = std::move(value);
    const auto observer = observer_;  // survives its own replacement
    if (!observer) return;
    try {
      observer(value_);
    } catch (...) {
      // A display must not fail the owner's operation.
    }
  }

  Value value_{};
  std::function<void(const Value&)> observer_;
};

}  // namespace tarnwell
