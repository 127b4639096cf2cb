#include "tarnwell/watch/bus_address.h"

#include <gtest/gtest.h>

#include "tests/support/scoped_environment.h"

namespace tarnwell {
namespace {

using test::ScopedVariable;

TEST(BusAddress, namesASocket) {
  EXPECT_EQ(socketOfBusAddress("unix:path=/run/user/1000/bus"), "/run/user/1000/bus");
  EXPECT_EQ(socketOfBusAddress("unix:path=/bus,guid=0123"), "/bus");
  EXPECT_EQ(socketOfBusAddress("unix:guid=0123,path=/bus"), "/bus");
  EXPECT_EQ(socketOfBusAddress("tcp:host=example;unix:path=/bus"), "/bus");
}

TEST(BusAddress, isReadWithItsEscapes) {
  EXPECT_EQ(socketOfBusAddress("unix:path=/my%20bus%2c%2C"), "/my bus,,");
  EXPECT_EQ(socketOfBusAddress("unix:path=/a%2"), "/a%2");
  EXPECT_EQ(socketOfBusAddress("unix:path=/a%zz"), "/a%zz");
  EXPECT_EQ(socketOfBusAddress("unix:path=/a%"), "/a%");
}

TEST(BusAddress, mayNameNoSocket) {
  for (const auto* address :
       {"", ";", "unix:", "unix:abstract=/tmp/x", "tcp:path=/bus", "path=/bus"}) {
    EXPECT_EQ(socketOfBusAddress(address), std::nullopt) << address;
  }
}

TEST(SessionBusSocket, isThatOfTheAddressOtherwiseOfTheRuntimeFolder) {
  const ScopedVariable folder("XDG_RUNTIME_DIR", "/run/user/7");
  {
    const ScopedVariable address("DBUS_SESSION_BUS_ADDRESS", "unix:path=/bus");
    EXPECT_EQ(sessionBusSocket(), "/bus");
  }
  const ScopedVariable address("DBUS_SESSION_BUS_ADDRESS", nullptr);
  EXPECT_EQ(sessionBusSocket(), "/run/user/7/bus");
  for (const char* value : {static_cast<const char*>(nullptr), "", "relative"}) {
    const ScopedVariable unusable("XDG_RUNTIME_DIR", value);
    EXPECT_EQ(sessionBusSocket(), std::nullopt);
  }
}

}  // namespace
}  // namespace tarnwell
