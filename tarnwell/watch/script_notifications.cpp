// Notifications on macOS. A notification of osascript cannot be taken back and has no buttons.
#include <string>
#include <vector>

#include "tarnwell/base/printable_text.h"
#include "tarnwell/platform/child_process.h"
#include "tarnwell/platform/file.h"
#include "tarnwell/watch/desktop_notifications.h"

namespace tarnwell {
namespace {

class ScriptNotifications : public NotificationService {
 public:
  void start(Listener& listener) override {
    listener_ = &listener;
    listener_->serviceAppeared();
  }

  bool isReachable() const override { return true; }

  // The texts are arguments of the script, not part of it.
  void show(const Notification& notification) override {
    const std::vector<std::string> arguments = {
        "/usr/bin/osascript",
        "-e",
        "on run texts",
        "-e",
        "display notification (item 2 of texts) with title (item 1 of texts)",
        "-e",
        "end run",
        "--",
        printable(notification.summary),
        printable(notification.body)};
    try {
      if (runChild(arguments).exitStatus == 0) {
        listener_->notificationShown(notification.key);
        return;
      }
    } catch (const FileError&) {
      // It could not be started.
    }
    listener_->notificationRefused(notification.key);
  }

  void close(const std::string& /*key*/) override {}

 private:
  Listener* listener_ = nullptr;
};

}  // namespace

std::unique_ptr<NotificationService> desktopNotifications(EventLoop& /*loop*/) {
  return std::make_unique<ScriptNotifications>();
}

}  // namespace tarnwell
