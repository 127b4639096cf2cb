// Where the session bus listens.
#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

namespace tarnwell {

// Returns the socket that an address such as "unix:path=/run/user/1000/bus,guid=…" names first;
// absent if it names none in the file system.
std::optional<std::filesystem::path> socketOfBusAddress(std::string_view address);

// Returns the socket of the user's session bus, whether or not it exists: from
// DBUS_SESSION_BUS_ADDRESS, otherwise $XDG_RUNTIME_DIR/bus.
std::optional<std::filesystem::path> sessionBusSocket();

}  // namespace tarnwell
