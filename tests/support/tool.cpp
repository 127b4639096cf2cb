#include "tests/support/tool.h"

#include <algorithm>
#include <exception>
#include <thread>

#include <gtest/gtest.h>

#include "tarnwell/json/json_decode.h"
#include "tarnwell/platform/file_identity.h"
#include "tarnwell/store/local_store.h"
#include "tarnwell/store/persisted_state_json.h"

#include "tests/support/records.h"

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

void Tool::awaitSettledPlan() const {
  while (const auto plan = FileIdentity::of(dataFile())) {
    if (plan->isSettled()) return;
    std::this_thread::yield();
  }
}

// Unless a test has written it in another form.
void Tool::recordPlan() const {
  try {
    const std::string text = encodePersistedState(LocalStore(dataFile()).load());
    if (contentOf(dataFile()) == text) record("data-file", text);
  } catch (const std::exception&) {
    return;  // no plan
  }
}

AgentResponseEnvelope replyIn(const ProcessResult& result) {
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 1);
  EXPECT_TRUE(result.output.ends_with('\n'));
  return decodeJSON<AgentResponseEnvelope>(result.output);
}

}  // namespace tarnwell::test
