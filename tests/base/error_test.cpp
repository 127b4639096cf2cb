#include "tarnwell/base/error.h"

#include <array>
#include <string>

#include <gtest/gtest.h>

namespace tarnwell {
namespace {

enum class DoorCase { locked, missing };

constexpr std::array<std::string_view, 2> texts(DoorCase) {
  return {"The door is locked.", "There is no door."};
}

class DoorError : public CaseError<DoorCase> {
 public:
  using CaseError::CaseError;
  using enum DoorCase;
};

enum class RoomCase { full, unknown };

class RoomError : public CaseError<RoomCase, std::string> {
 public:
  static RoomError full(const std::string& name) { return {Case::full, name, name + " is full."}; }
  static RoomError unknown(const std::string& name) {
    return {Case::unknown, name, "There is no room " + name + "."};
  }

 private:
  RoomError(Case which, const std::string& name, std::string_view description)
      : CaseError(which, name, description) {}
};

TEST(CaseError, describesItsCase) {
  const DoorError error(DoorError::missing);
  EXPECT_EQ(error.which(), DoorCase::missing);
  EXPECT_EQ(error.description(), "There is no door.");
}

TEST(CaseError, equalsByCase) {
  EXPECT_EQ(DoorError(DoorError::locked), DoorError(DoorError::locked));
  EXPECT_FALSE(DoorError(DoorError::locked) == DoorError(DoorError::missing));
}

TEST(CaseError, equalsByCaseAndPayload) {
  EXPECT_EQ(RoomError::full("Library"), RoomError::full("Library"));
  EXPECT_FALSE(RoomError::full("Library") == RoomError::full("Kitchen"));
  EXPECT_FALSE(RoomError::full("Library") == RoomError::unknown("Library"));
}

TEST(CaseError, returnsItsPayload) {
  const RoomError error = RoomError::full("Library");
  EXPECT_EQ(error.payload(), "Library");
  EXPECT_EQ(error.description(), "Library is full.");
}

TEST(DescriptionOfCurrentException, isAFixedTextForWhatIsNoException) {
  const auto describe = [](auto thrown) {
    try {
      throw thrown;
    } catch (...) {
      return descriptionOfCurrentException();
    }
  };
  EXPECT_EQ(describe(DoorError(DoorError::locked)), "The door is locked.");
  EXPECT_EQ(describe(42), "An unexpected error occurred.");
}

}  // namespace
}  // namespace tarnwell
