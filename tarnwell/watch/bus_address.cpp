#include "tarnwell/watch/bus_address.h"

#include <charconv>
#include <cstdlib>
#include <string>

#include "tarnwell/base/text.h"

namespace tarnwell {
namespace {

// Reads the %XX escapes of an address.
std::string unescaped(std::string_view text) {
  constexpr int hexadecimal = 16;
  constexpr std::size_t digits = 2;
  std::string result;
  while (!text.empty()) {
    unsigned char byte = 0;
    const std::string_view code = text.substr(1, digits);
    const bool isEscape =
        text.front() == '%' && code.size() == digits &&
        std::from_chars(code.data(), code.data() + digits, byte, hexadecimal).ptr ==
            code.data() + digits;
    result += isEscape ? static_cast<char>(byte) : text.front();
    text.remove_prefix(isEscape ? 1 + digits : 1);
  }
  return result;
}

}  // namespace

std::optional<std::filesystem::path> socketOfBusAddress(std::string_view address) {
  constexpr std::string_view transport = "unix:";
  constexpr std::string_view key = "path=";
  for (const std::string_view server : split(address, ';')) {
    if (!server.starts_with(transport)) continue;
    for (const std::string_view part : split(server.substr(transport.size()), ',')) {
      if (part.starts_with(key)) return unescaped(part.substr(key.size()));
    }
  }
  return std::nullopt;
}

std::optional<std::filesystem::path> sessionBusSocket() {
  if (const char* const address = std::getenv("DBUS_SESSION_BUS_ADDRESS")) {
    return socketOfBusAddress(address);
  }
  const char* const folder = std::getenv("XDG_RUNTIME_DIR");
  if (folder == nullptr || *folder != '/') return std::nullopt;
  return std::filesystem::path(folder) / "bus";
}

}  // namespace tarnwell
