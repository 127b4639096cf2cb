#include "tests/support/recording_desktop.h"

#include <algorithm>
#include <stdexcept>
#include <system_error>

#include <systemd/sd-bus.h>

namespace tarnwell::test {
namespace {

constexpr const char* name = "org.freedesktop.Notifications";
constexpr const char* path = "/org/freedesktop/Notifications";

// The reasons that the notification protocol gives for the end of one.
constexpr std::uint32_t dismissedByTheUser = 2;
constexpr std::uint32_t closedByACall = 3;

void require(int result) {
  if (result < 0) throw std::system_error(-result, std::generic_category(), "bus");
}

std::string textOf(const ShownNotification& each) { return each.summary + ": " + each.body; }

}  // namespace

void RecordingDesktop::Close::operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }

RecordingDesktop::RecordingDesktop(const std::string& address) {
  sd_bus* bus = nullptr;
  require(sd_bus_new(&bus));
  bus_.reset(bus);
  require(sd_bus_set_address(bus, address.c_str()));
  require(sd_bus_set_bus_client(bus, 1));
  const auto onMessage = [](sd_bus_message* call, void* self, sd_bus_error* /*error*/) {
    return static_cast<RecordingDesktop*>(self)->answer(call);
  };
  require(sd_bus_add_object(bus, nullptr, path, onMessage, this));
  require(sd_bus_start(bus));
  require(sd_bus_request_name(bus, name, 0));
}

std::vector<int> RecordingDesktop::descriptors() const { return {sd_bus_get_fd(bus_.get())}; }

void RecordingDesktop::take() {
  while (sd_bus_process(bus_.get(), nullptr) > 0) continue;
  sd_bus_flush(bus_.get());
}

std::vector<std::string> RecordingDesktop::texts() const {
  std::vector<std::string> texts;
  for (const ShownNotification& each : shown_) texts.push_back(textOf(each));
  return texts;
}

std::vector<std::string> RecordingDesktop::onScreen() const {
  std::vector<std::string> texts;
  for (const ShownNotification& each : shown_) {
    if (isOpen(each)) texts.push_back(textOf(each));
  }
  return texts;
}

void RecordingDesktop::forget() {
  std::erase_if(shown_, [&](const ShownNotification& each) { return !isOpen(each); });
}

bool RecordingDesktop::isOpen(const ShownNotification& each) const {
  return std::find(open_.begin(), open_.end(), each.number) != open_.end();
}

void RecordingDesktop::press(const std::string& text, const std::string& action) {
  require(sd_bus_emit_signal(bus_.get(), path, name, "ActionInvoked", "us", find(text).number,
                             action.c_str()));
}

void RecordingDesktop::dismiss(const std::string& text) {
  reportClosed(find(text).number, dismissedByTheUser);
}

const ShownNotification& RecordingDesktop::find(const std::string& text) const {
  const auto found = std::find_if(shown_.begin(), shown_.end(),
                                  [&](const auto& each) { return textOf(each) == text; });
  if (found == shown_.end()) throw std::runtime_error("not shown: " + text);
  return *found;
}

// Returns a positive number for a call that was answered.
int RecordingDesktop::answer(sd_bus_message* call) {
  if (sd_bus_message_is_method_call(call, name, "Notify") > 0) return show(call);
  if (sd_bus_message_is_method_call(call, name, "CloseNotification") > 0) return close(call);
  return 0;
}

int RecordingDesktop::show(sd_bus_message* call) {
  if (isRefusing) {
    ++refusalCount_;
    return sd_bus_reply_method_errorf(call, SD_BUS_ERROR_FAILED, "no room");
  }
  const char* application = nullptr;
  const char* icon = nullptr;
  const char* summary = nullptr;
  const char* body = nullptr;
  const char* button = nullptr;
  std::uint32_t replaced = 0;
  ShownNotification shown{.number = ++lastNumber_, .at = Instant::now()};
  require(sd_bus_message_read(call, "susss", &application, &replaced, &icon, &summary, &body));
  shown.summary = summary;
  shown.body = body;
  require(sd_bus_message_enter_container(call, SD_BUS_TYPE_ARRAY, "s"));
  while (sd_bus_message_read(call, "s", &button) > 0) shown.buttons.emplace_back(button);
  require(sd_bus_message_exit_container(call));
  require(sd_bus_message_skip(call, "a{sv}"));
  require(sd_bus_message_read(call, "i", &shown.lifetime));
  open_.push_back(shown.number);
  shown_.push_back(shown);
  return sd_bus_reply_method_return(call, "u", shown.number);
}

int RecordingDesktop::close(sd_bus_message* call) {
  std::uint32_t number = 0;
  require(sd_bus_message_read(call, "u", &number));
  reportClosed(number, closedByACall);
  return sd_bus_reply_method_return(call, "");
}

void RecordingDesktop::reportClosed(std::uint32_t number, std::uint32_t reason) {
  std::erase(open_, number);
  require(sd_bus_emit_signal(bus_.get(), path, name, "NotificationClosed", "uu", number, reason));
}

}  // namespace tarnwell::test
