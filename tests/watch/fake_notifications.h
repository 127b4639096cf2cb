// A desktop without a screen.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "tarnwell/watch/notification_service.h"

namespace tarnwell::test {

// Shows notifications at once, or on request, and records them.
class FakeNotifications : public NotificationService {
 public:
  void start(Listener& theListener) override {
    listener = &theListener;
    if (isThere) {
      listener->serviceAppeared();
    } else {
      listener->serviceDisappeared("there is no service");
    }
  }

  bool isReachable() const override { return isThere; }

  void show(const Notification& notification) override {
    asked.push_back(notification);
    if (isSilent) return;
    if (isRefusing) {
      listener->notificationRefused(notification.key);
      return;
    }
    onScreen.push_back(notification);
    listener->notificationShown(notification.key);
  }

  void close(const std::string& key) override {
    std::erase_if(onScreen, [&](const Notification& each) { return each.key == key; });
  }

  void appear() {
    isThere = true;
    listener->serviceAppeared();
  }

  void disappear() {
    isThere = false;
    onScreen.clear();
    listener->serviceDisappeared("there is no service");
  }

  // The texts, one notification each, since the last call.
  std::vector<std::string> takeTexts() {
    std::vector<std::string> texts;
    for (const Notification& each : asked) texts.push_back(each.summary + ": " + each.body);
    asked.clear();
    return texts;
  }

  Listener* listener = nullptr;
  bool isThere = true;
  bool isRefusing = false;
  bool isSilent = false;  // never answers
  std::vector<Notification> asked;
  std::vector<Notification> onScreen;
};

}  // namespace tarnwell::test
