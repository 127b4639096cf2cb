#include "tests/support/tool.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "tarnwell/platform/json_decode.h"

namespace tarnwell::test {

std::filesystem::path Tool::dataDirectory() const {
#ifdef __APPLE__
  return home() / "Library/Application Support/Tarnwell";
#else
  return home() / ".local/share/Tarnwell";
#endif
}

Process Tool::process(std::string_view input) const {
  return {.arguments = {TARNWELLCTL}, .environment = {"HOME=" + home().string()}, .input = input};
}

AgentResponseEnvelope replyIn(const ProcessResult& result) {
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 1);
  EXPECT_TRUE(result.output.ends_with('\n'));
  return decodeJSON<AgentResponseEnvelope>(result.output);
}

}  // namespace tarnwell::test
