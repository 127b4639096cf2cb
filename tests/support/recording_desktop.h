// A desktop's notification service that shows nothing and remembers everything.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tarnwell/time/instant.h"

#include "tests/support/event_source.h"

struct sd_bus;
struct sd_bus_message;

namespace tarnwell::test {

struct ShownNotification {
  std::uint32_t number = 0;
  std::string summary{};
  std::string body{};
  std::vector<std::string> buttons{};  // the name of each action and its label, by turns
  std::int32_t lifetime = 0;           // in milliseconds; 0 is for ever, -1 the desktop's choice
  Instant at;                          // when it arrived
};

// org.freedesktop.Notifications on a bus, from construction to destruction.
class RecordingDesktop : public EventSource {
 public:
  // Throws std::system_error.
  explicit RecordingDesktop(const std::string& address);

  std::vector<int> descriptors() const override;
  void take() override;

  // Everything that was shown, oldest first, whether it was closed since or not.
  const std::vector<ShownNotification>& shown() const { return shown_; }

  // The same as "summary: body".
  std::vector<std::string> texts() const;

  // The texts of those that were not closed.
  std::vector<std::string> onScreen() const;

  // Returns the first notification of this text. Throws when there is none.
  const ShownNotification& find(const std::string& text) const;

  // Forgets what was shown and is no longer on the screen.
  void forget();

  // What the user does with the notification of this text.
  void press(const std::string& text, const std::string& action);
  void dismiss(const std::string& text);

  // Answers each further notification with an error, and counts them.
  bool isRefusing = false;
  int refusalCount() const { return refusalCount_; }

 private:
  struct Close {
    void operator()(sd_bus* bus) const;
  };

  bool isOpen(const ShownNotification& each) const;
  int answer(sd_bus_message* call);
  int show(sd_bus_message* call);
  int close(sd_bus_message* call);
  void reportClosed(std::uint32_t number, std::uint32_t reason);

  std::unique_ptr<sd_bus, Close> bus_;
  std::vector<ShownNotification> shown_;
  std::vector<std::uint32_t> open_;
  std::uint32_t lastNumber_ = 0;
  int refusalCount_ = 0;
};

}  // namespace tarnwell::test
