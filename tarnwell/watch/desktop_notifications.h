// The notification service of this system.
#pragma once

#include <memory>

#include "tarnwell/watch/event_loop.h"
#include "tarnwell/watch/notification_service.h"

namespace tarnwell {

// Linux: org.freedesktop.Notifications on the session bus. macOS: osascript, which shows no buttons
// and takes nothing back. The loop outlives the service, and does not run after it.
std::unique_ptr<NotificationService> desktopNotifications(EventLoop& loop);

}  // namespace tarnwell
