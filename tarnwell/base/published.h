// A value that a user interface can watch.
#pragma once

#include <functional>
#include <utility>

namespace tarnwell {

// Only the owner sets it; anybody may read it, and one observer may watch it. Used on the owner's
// thread.
template <class Value, class Owner>
class Published {
 public:
  const Value& value() const { return value_; }

  // Called with each new value, after it has changed. Replaces the observer that there was.
  void observe(std::function<void(const Value&)> observer) { observer_ = std::move(observer); }

 private:
  friend Owner;

  void set(Value value) {
    if (value == value_) return;
    value_ = std::move(value);
    if (observer_) observer_(value_);
  }

  Value value_{};
  std::function<void(const Value&)> observer_;
};

}  // namespace tarnwell
