// A value that a user interface can watch.
#pragma once

#include <functional>
#include <utility>

namespace tarnwell {

// Only the owner sets it, on its thread; anyone may read it, and one observer may watch it.
template <class Value, class Owner>
class Published {
 public:
  Published() = default;
  Published(const Published&) = delete;
  Published& operator=(const Published&) = delete;
  ~Published() = default;

  const Value& value() const { return value_; }

  // Calls the observer with each new value, after the change. Replaces the previous observer. The
  // change stands whatever the observer does: what it throws ends here. It may replace itself.
  void observe(std::function<void(const Value&)> observer) { observer_ = std::move(observer); }

 private:
  friend Owner;

  void set(Value value) {
    if (value == value_) return;
    value_ = std::move(value);
    const auto observer = observer_;  // lives on when it replaces itself
    if (!observer) return;
    try {
      observer(value_);
    } catch (...) {
      // The owner's operation is no concern of a display's.
    }
  }

  Value value_{};
  std::function<void(const Value&)> observer_;
};

}  // namespace tarnwell
