#include "tarnwell/base/uuid.h"

#include <array>
#include <cctype>
#include <cstdint>
#include <set>
#include <string>
#include <type_traits>
#include <unordered_set>

#include <gtest/gtest.h>

namespace tarnwell {
namespace {

constexpr std::string_view canonical = "0F1E2D3C-4B5A-4978-8695-A4B3C2D1E0FF";

TEST(UUID, isReadInEitherCaseAndWrittenInUpperCase) {
  for (const auto text : {canonical, std::string_view("0f1e2d3c-4b5a-4978-8695-a4b3c2d1e0ff"),
                          std::string_view("0f1E2d3C-4b5A-4978-8695-a4B3c2d1e0fF")}) {
    const auto uuid = UUID::parse(text);
    ASSERT_TRUE(uuid) << text;
    EXPECT_EQ(uuid->text(), canonical);
  }
}

TEST(UUID, isReadInNoOtherForm) {
  const std::string text(canonical);
  for (const std::string& wrong :
       {std::string(), text.substr(1), text + "0", " " + text.substr(1), text.substr(0, 35) + " ",
        "{" + text + "}", std::string("0F1E2D3C4B5A49788695A4B3C2D1E0FF"),
        std::string("0F1E2D3C4B5A-4978-8695-A4B3-C2D1E0FF"), text.substr(0, 35) + "G",
        text.substr(0, 35) + std::string(1, '\0'), text.substr(0, 35) + "\xC3",
        std::string("0F1E2D3C_4B5A_4978_8695_A4B3C2D1E0FF"),
        std::string("0x1E2D3C-4B5A-4978-8695-A4B3C2D1E0FF"),
        std::string("+F1E2D3C-4B5A-4978-8695-A4B3C2D1E0FF")}) {
    EXPECT_EQ(UUID::parse(wrong), std::nullopt) << wrong;
  }
}

TEST(UUID, isReadWithHexadecimalDigitsAndHyphensInTheirPlacesOnly) {
  for (std::size_t place = 0; place < canonical.size(); ++place) {
    const bool isHyphen = canonical[place] == '-';
    for (int byte = 0; byte < 256; ++byte) {
      std::string text(canonical);
      text[place] = static_cast<char>(byte);
      const bool isRight = isHyphen ? byte == '-' : byte < 0x80 && std::isxdigit(byte) != 0;
      ASSERT_EQ(UUID::parse(text).has_value(), isRight) << text;
    }
  }
}

TEST(UUID, keepsEveryValueOfEveryByte) {
  std::array<std::uint8_t, 16> bytes{};
  for (unsigned value = 0; value < 256; ++value) {
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      bytes[i] = static_cast<std::uint8_t>(value + 17 * i);
    }
    EXPECT_EQ(UUID::parse(UUID(bytes).text()), UUID(bytes));
  }
}

TEST(UUID, isRandomOfVersionFourAndNeverTheSame) {
  std::set<std::string> seen;
  for (int i = 0; i < 1000; ++i) {
    const std::string text = UUID::random().text();
    EXPECT_EQ(text[14], '4');
    EXPECT_NE(std::string("89AB").find(text[19]), std::string::npos);
    EXPECT_TRUE(seen.insert(text).second);
    EXPECT_EQ(UUID::parse(text)->text(), text);
  }
}

TEST(UUID, isAKeyOfHashedContainers) {
  std::unordered_set<UUID> seen;
  for (int i = 0; i < 1000; ++i) seen.insert(UUID::random());
  EXPECT_EQ(seen.size(), 1000U);
  const UUID one = *seen.begin();
  EXPECT_EQ(seen.count(*UUID::parse(one.text())), 1U);
}

static_assert(!std::is_default_constructible_v<UUID>, "an identifier would silently be all zeros");

}  // namespace
}  // namespace tarnwell
