// Processes that change one plan at the same time lose nothing.
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tarnwell/store/local_store.h"

#include "tests/support/tool.h"

namespace tarnwell {
namespace {

using test::Tool;

std::string createCommand(std::int64_t expectedRevision) {
  return R"({"version":1,"command":"tasks.create","expectedRevision":)" +
         std::to_string(expectedRevision) + R"(,"payload":{"title":"One of many"}})";
}

// Runs `work` on so many threads at once, each of which runs processes of its own.
template <class Work>
void runAtOnce(int count, Work work) {
  std::vector<std::thread> threads;
  threads.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) threads.emplace_back(work);
  for (std::thread& thread : threads) thread.join();
}

TEST(ConcurrencyEndToEnd, ofTwoProcessesWithTheSameRevisionOneWinsAndTheOtherGetsTheConflict) {
  const Tool tool;
  tool.ask(createCommand(0));
  std::atomic<int> wins = 0;
  std::atomic<int> conflicts = 0;
  runAtOnce(2, [&] {
    const auto reply = tool.ask(createCommand(1));
    EXPECT_EQ(reply.revision, 2);
    if (reply.ok) {
      ++wins;
    } else {
      EXPECT_EQ(reply.error->code, "revision_conflict");
      EXPECT_EQ(reply.result, JSONValue("Expected 1, current 2."));
      ++conflicts;
    }
  });
  EXPECT_EQ(wins, 1);
  EXPECT_EQ(conflicts, 1);
}

TEST(ConcurrencyEndToEnd, eightProcessesThatRetryOnConflictLoseNothing) {
  constexpr int writers = 8;
  constexpr int createsEach = 200;
  const Tool tool;
  runAtOnce(writers, [&] {
    std::int64_t revision = 0;
    for (int created = 0; created < createsEach;) {
      const auto reply = tool.ask(createCommand(revision));
      ASSERT_TRUE(reply.revision);
      EXPECT_GT(*reply.revision, revision);
      revision = *reply.revision;
      if (reply.ok) ++created;
    }
  });
  const PersistedState end = LocalStore(tool.dataFile()).load();
  EXPECT_EQ(end.revision, writers * createsEach);
  EXPECT_EQ(end.tasks.size(), static_cast<std::size_t>(end.revision));
  EXPECT_EQ(end.auditEvents.size(), static_cast<std::size_t>(end.revision));
}

}  // namespace
}  // namespace tarnwell
