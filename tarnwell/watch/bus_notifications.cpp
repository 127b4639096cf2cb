// Notifications over the session bus: org.freedesktop.Notifications.
//
// The service may start and end at any time, as NameOwnerChanged reports. Where the bus can start
// it, the first notification does, and nothing earlier: the desktop chooses its service.
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include <systemd/sd-bus.h>

#include "tarnwell/base/printable_text.h"
#include "tarnwell/watch/desktop_notifications.h"
#include "tarnwell/watch/session_bus.h"
#include "tarnwell/watch/watch_texts.h"

namespace tarnwell {
namespace {

constexpr const char* serviceName = "org.freedesktop.Notifications";
constexpr const char* servicePath = "/org/freedesktop/Notifications";
constexpr const char* busName = "org.freedesktop.DBus";
constexpr const char* busPath = "/org/freedesktop/DBus";

struct ReleaseMessage {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Message = std::unique_ptr<sd_bus_message, ReleaseMessage>;

class BusNotifications : public NotificationService, private SessionBus::Observer {
 public:
  explicit BusNotifications(EventLoop& loop) : bus_(loop, *this) {}

  void start(Listener& listener) override {
    listener_ = &listener;
    bus_.connect();
  }

  bool isReachable() const override {
    return bus_.get() != nullptr && (isOwned_ || isActivatable_);
  }

  void show(const Notification& notification) override;
  void close(const std::string& key) override;

 private:
  // A call of Notify without a reply yet.
  struct Call {
    BusNotifications& service;
    std::string key;
    bool isWithdrawn = false;
  };

  void busConnected() override;
  void busLost() override;

  int send(const Notification& notification, Call& call) const;
  void closeNumber(std::uint32_t number) const;
  void ownerChanged(bool hadOwner, bool hasOwner);
  void answered(Call& call, sd_bus_message* reply);
  void forgetShown();

  // Callbacks of the bus, with this object or a call of it. They return 0: the message is handled.
  static int onActivatableNames(sd_bus_message* reply, void* self, sd_bus_error* /*error*/);
  static int onHasOwner(sd_bus_message* reply, void* self, sd_bus_error* /*error*/);
  static int onOwnerChanged(sd_bus_message* signal, void* self, sd_bus_error* /*error*/);
  static int onAnswer(sd_bus_message* reply, void* call, sd_bus_error* /*error*/);
  static int onAction(sd_bus_message* signal, void* self, sd_bus_error* /*error*/);
  static int onClosed(sd_bus_message* signal, void* self, sd_bus_error* /*error*/);

  static BusNotifications& from(void* self) { return *static_cast<BusNotifications*>(self); }

  SessionBus bus_;
  Listener* listener_ = nullptr;
  bool isOwned_ = false;                        // the service runs,
  bool isActivatable_ = false;                  // or the bus would start it
  std::list<Call> calls_;                       // at stable addresses, which the bus keeps
  std::map<std::uint32_t, std::string> shown_;  // the key for each of the service's numbers
};

void BusNotifications::busConnected() {
  sd_bus* const bus = bus_.get();
  sd_bus_match_signal_async(bus, nullptr, serviceName, servicePath, serviceName, "ActionInvoked",
                            &onAction, nullptr, this);
  sd_bus_match_signal_async(bus, nullptr, serviceName, servicePath, serviceName,
                            "NotificationClosed", &onClosed, nullptr, this);
  sd_bus_add_match_async(bus, nullptr,
                         "type='signal',sender='org.freedesktop.DBus',"
                         "interface='org.freedesktop.DBus',member='NameOwnerChanged',"
                         "arg0='org.freedesktop.Notifications'",
                         &onOwnerChanged, nullptr, this);
  // Their replies come in this order.
  sd_bus_call_method_async(bus, nullptr, busName, busPath, busName, "ListActivatableNames",
                           &onActivatableNames, this, nullptr);
  sd_bus_call_method_async(bus, nullptr, busName, busPath, busName, "NameHasOwner", &onHasOwner,
                           this, "s", serviceName);
}

void BusNotifications::busLost() {
  isOwned_ = false;
  isActivatable_ = false;
  forgetShown();
  for (const Call& call : std::exchange(calls_, {})) {
    if (!call.isWithdrawn) listener_->notificationRefused(call.key);
  }
  listener_->serviceDisappeared("there is no session bus");
}

int BusNotifications::onActivatableNames(sd_bus_message* reply, void* self,
                                         sd_bus_error* /*error*/) {
  if (sd_bus_message_is_method_error(reply, nullptr) > 0) return 0;
  const char* name = nullptr;
  sd_bus_message_enter_container(reply, SD_BUS_TYPE_ARRAY, "s");
  while (sd_bus_message_read(reply, "s", &name) > 0) {
    from(self).isActivatable_ |= std::string_view(name) == serviceName;
  }
  return 0;
}

int BusNotifications::onHasOwner(sd_bus_message* reply, void* self, sd_bus_error* /*error*/) {
  int hasOwner = 0;
  if (sd_bus_message_is_method_error(reply, nullptr) == 0) {
    sd_bus_message_read(reply, "b", &hasOwner);
  }
  from(self).ownerChanged(false, hasOwner != 0);
  return 0;
}

int BusNotifications::onOwnerChanged(sd_bus_message* signal, void* self, sd_bus_error* /*error*/) {
  const char* name = nullptr;
  const char* before = nullptr;
  const char* after = nullptr;
  if (sd_bus_message_read(signal, "sss", &name, &before, &after) < 0) return 0;
  from(self).ownerChanged(*before != '\0', *after != '\0');
  return 0;
}

void BusNotifications::ownerChanged(bool hadOwner, bool hasOwner) {
  if (hadOwner) forgetShown();
  isOwned_ = hasOwner;
  if (isReachable()) {
    listener_->serviceAppeared();
  } else {
    listener_->serviceDisappeared("there is no notification service on the session bus");
  }
}

// A new service does not know the notifications of the old one.
void BusNotifications::forgetShown() {
  for (const auto& [number, key] : std::exchange(shown_, {})) listener_->notificationClosed(key);
}

void BusNotifications::show(const Notification& notification) {
  Call& call = calls_.emplace_back(Call{.service = *this, .key = notification.key});
  if (send(notification, call) >= 0) return;
  calls_.pop_back();
  listener_->notificationRefused(notification.key);
}

// Returns a negative number on failure. Waits for the reply without limit: a service that hangs
// shows the notification when it continues, and one that ends is an error at once.
int BusNotifications::send(const Notification& notification, Call& call) const {
  constexpr std::uint64_t noTimeout = UINT64_MAX;
  constexpr std::uint8_t normalUrgency = 1;
  constexpr int expiresNever = 0;
  constexpr int expiresAsTheServiceDecides = -1;
  sd_bus_message* created = nullptr;
  int result = sd_bus_message_new_method_call(bus_.get(), &created, serviceName, servicePath,
                                              serviceName, "Notify");
  const Message message(created);
  if (result < 0) return result;
  result = sd_bus_message_append(created, "susss", "Tarnwell", std::uint32_t{0}, "",
                                 printable(notification.summary).c_str(),
                                 withoutMarkup(printable(notification.body)).c_str());
  if (result < 0) return result;
  sd_bus_message_open_container(created, SD_BUS_TYPE_ARRAY, "s");
  for (const NotificationButton& button : notification.buttons) {
    sd_bus_message_append(created, "ss", button.action.c_str(), button.label.c_str());
  }
  sd_bus_message_close_container(created);
  result = sd_bus_message_append(
      created, "a{sv}i", 1, "urgency", "y", normalUrgency,
      notification.staysUntilClosed ? expiresNever : expiresAsTheServiceDecides);
  if (result < 0) return result;
  return sd_bus_call_async(bus_.get(), nullptr, created, &onAnswer, &call, noTimeout);
}

int BusNotifications::onAnswer(sd_bus_message* reply, void* call, sd_bus_error* /*error*/) {
  auto& answered = *static_cast<Call*>(call);
  answered.service.answered(answered, reply);
  return 0;
}

void BusNotifications::answered(Call& call, sd_bus_message* reply) {
  const Call finished = call;
  calls_.remove_if([&](const Call& each) { return &each == &call; });
  const bool isRefused = sd_bus_message_is_method_error(reply, nullptr) > 0;
  std::uint32_t number = 0;
  if (!isRefused) sd_bus_message_read(reply, "u", &number);
  if (finished.isWithdrawn) {
    closeNumber(number);
  } else if (!isRefused) {
    shown_.insert_or_assign(number, finished.key);
    listener_->notificationShown(finished.key);
  } else {
    // The bus has failed to start the service. One that starts otherwise is noticed.
    isActivatable_ = false;
    listener_->notificationRefused(finished.key);
    if (!isOwned_) ownerChanged(false, false);
  }
}

void BusNotifications::close(const std::string& key) {
  for (Call& call : calls_) call.isWithdrawn |= call.key == key;
  std::erase_if(shown_, [&](const auto& shown) {
    if (shown.second == key) closeNumber(shown.first);
    return shown.second == key;
  });
}

// The number 0 stands for no notification.
void BusNotifications::closeNumber(std::uint32_t number) const {
  if (bus_.get() == nullptr || number == 0) return;
  sd_bus_call_method_async(bus_.get(), nullptr, serviceName, servicePath, serviceName,
                           "CloseNotification", nullptr, nullptr, "u", number);
}

int BusNotifications::onAction(sd_bus_message* signal, void* self, sd_bus_error* /*error*/) {
  std::uint32_t number = 0;
  const char* action = nullptr;
  if (sd_bus_message_read(signal, "us", &number, &action) < 0) return 0;
  const auto shown = from(self).shown_.find(number);
  if (shown == from(self).shown_.end()) return 0;
  const std::string key = shown->second;
  from(self).listener_->buttonPressed(key, action);
  return 0;
}

int BusNotifications::onClosed(sd_bus_message* signal, void* self, sd_bus_error* /*error*/) {
  std::uint32_t number = 0;
  if (sd_bus_message_read(signal, "u", &number) < 0) return 0;  // a reason follows
  const auto closed = from(self).shown_.extract(number);
  if (!closed.empty()) from(self).listener_->notificationClosed(closed.mapped());
  return 0;
}

}  // namespace

std::unique_ptr<NotificationService> desktopNotifications(EventLoop& loop) {
  return std::make_unique<BusNotifications>(loop);
}

}  // namespace tarnwell
