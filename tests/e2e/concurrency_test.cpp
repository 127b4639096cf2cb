// Processes that change one plan at the same time lose no change.
#include <atomic>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <string>
#include <thread>
#include <variant>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tarnwell/store/local_store.h"

#include "tests/support/tool.h"

namespace tarnwell {
namespace {

using test::Tool;

std::string createCommand(std::int64_t expectedRevision) {
  return R"({"version":1,"command":"tasks.create","expectedRevision":)" +
         std::to_string(expectedRevision) + R"(,"payload":{"title":"One of many"}})";
}

// Runs `work` on that many threads at once; each starts its own processes.
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

// Runs several writers that try again on a conflict, alongside a reader and a process that kills
// writers at random.
class Crowd {
 public:
  Crowd(int writers, int createsEach) : writersLeft_(writers) {
    std::vector<std::thread> threads;
    threads.reserve(static_cast<std::size_t>(writers) + 2);
    for (int i = 0; i < writers; ++i) threads.emplace_back([&] { write(createsEach); });
    threads.emplace_back([&] { read(); });
    threads.emplace_back([&] { kill(); });
    for (std::thread& thread : threads) thread.join();
  }

  PersistedState end() const { return LocalStore(tool_.dataFile()).load(); }

 private:
  void write(int count) {
    std::int64_t revision = 0;
    for (int created = 0; created < count;) {
      const auto reply = tool_.ask(createCommand(revision));
      EXPECT_TRUE(reply.revision);
      EXPECT_GT(reply.revision.value_or(0), revision);
      revision = reply.revision.value_or(revision);
      if (reply.ok) ++created;
    }
    --writersLeft_;
  }

  void read() {
    std::int64_t revision = 0;
    while (writersLeft_ > 0) {
      const auto reply = tool_.ask(R"({"version":1,"command":"tasks.list"})");
      EXPECT_TRUE(reply.ok);
      EXPECT_GE(reply.revision.value_or(-1), revision);
      const auto* const tasks = std::get_if<JSONValue::Array>(&reply.result->variant());
      EXPECT_EQ(tasks->size(), static_cast<std::size_t>(*reply.revision));
      revision = *reply.revision;
    }
  }

  void kill() {
    for (int round = 0; writersLeft_ > 0; ++round) {
      const std::int64_t revision = end().revision;
      const std::string command = createCommand(revision);
      tool_.process(command).runAndKillAfter(round % 100 * 50);
      if (round % 100 == 99) removeCopies();
    }
  }

  // They would fill the disk.
  void removeCopies() const {
    for (const auto& entry :
         std::filesystem::directory_iterator(tool_.dataDirectory() / "State Backups")) {
      const bool isFinished = entry.path().filename().string().starts_with("state-");
      if (isFinished) std::filesystem::remove(entry.path());
    }
  }

  const Tool tool_;
  std::atomic<int> writersLeft_;
};

void expectNothingLost(const PersistedState& plan, int created) {
  EXPECT_GE(plan.revision, created);  // more if some were killed too late
  EXPECT_EQ(plan.tasks.size(), static_cast<std::size_t>(plan.revision));
  EXPECT_EQ(plan.auditEvents.size(), static_cast<std::size_t>(plan.revision));
}

TEST(ConcurrencyEndToEnd, retryingWritersLoseNothingAlongsideAReaderAndAKiller) {
  expectNothingLost(Crowd(8, 20).end(), 8 * 20);
}

TEST(LongRun, eightWritersOf500TasksEachLoseNothingAlongsideAReaderAndAKiller) {
  expectNothingLost(Crowd(8, 500).end(), 8 * 500);
}

TEST(ConcurrencyEndToEnd, aHeldLockDelaysWritersAndNotReaders) {
  const Tool tool;
  tool.ask(createCommand(0));
  const LocalStore localStore(tool.dataFile());
  std::thread writer;
  localStore.withExclusiveLock([&] {
    writer = std::thread([&] {
      // Without waiting, it would have found the earlier revision.
      const auto reply = tool.ask(createCommand(2));
      EXPECT_TRUE(reply.ok) << reply;
      EXPECT_EQ(reply.revision, 3);
    });
    for (int i = 0; i < 10; ++i) {
      EXPECT_EQ(tool.ask(R"({"version":1,"command":"tasks.list"})").revision, 1);
    }
    PersistedState plan = localStore.load();
    plan.revision = 2;
    localStore.save(plan);
  });
  writer.join();
}

TEST(ConcurrencyEndToEnd, aLockDiesWithTheProcessThatHeldIt) {
  const Tool tool;
  tool.ask(createCommand(0));
  const pid_t holder = ::fork();
  if (holder == 0) {
    LocalStore(tool.dataFile()).withExclusiveLock([] { ::raise(SIGKILL); });
    ::_exit(1);
  }
  int status = 0;
  ::waitpid(holder, &status, 0);
  ASSERT_TRUE(WIFSIGNALED(status));
  EXPECT_TRUE(std::filesystem::exists(tool.dataFile().string() + ".lock"));
  EXPECT_TRUE(tool.ask(createCommand(1)).ok);
}

}  // namespace
}  // namespace tarnwell
