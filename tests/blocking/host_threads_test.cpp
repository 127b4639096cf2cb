// A host that changes the hosts file on a worker thread, alongside its user-interface thread.
#include <atomic>
#include <mutex>
#include <set>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/blocking/hosts_blocking_engine.h"
#include "tarnwell/blocking/session_engine.h"
#include "tarnwell/store/task_store.h"

#include "tests/support/builders.h"
#include "tests/support/fake_runner.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;

using test::contentOf;
using test::makeTask;
using test::someInstant;

constexpr std::size_t rounds = 12;
constexpr Duration hour = 1h;
const std::string plainHosts = "127.0.0.1 localhost\n";

// Messages from one thread to another.
template <class Message>
class Inbox {
 public:
  void post(Message message) {
    const std::scoped_lock guard(mutex_);
    messages_.push_back(std::move(message));
  }

  std::vector<Message> takeAll() {
    const std::scoped_lock guard(mutex_);
    return std::exchange(messages_, {});
  }

 private:
  std::mutex mutex_;
  std::vector<Message> messages_;
};

// Adds a task; tries again after each conflict.
void addTask(TaskStore& taskStore) {
  const FocusTask task = makeTask("One of many");
  while (true) {
    try {
      taskStore.transact({.expectedRevision = taskStore.snapshot().revision(),
                          .source = MutationSource::user,
                          .action = "task.create",
                          .taskID = task.id,
                          .now = someInstant},
                         [&](PersistedState& state) { state.tasks.push_back(task); });
      return;
    } catch (const TaskStoreError&) {
      continue;
    }
  }
}

TEST(HostThreads, useTheTaskStoreAndTheHostsEngineAtOnce) {
  const test::ScratchFolder folder;
  const auto hostsFile = folder / "hosts";
  test::writeFile(hostsFile, plainHosts);
  const LocalStore localStore(folder / "state.json");
  const DomainGroup group{.name = "G", .rules = {{.domain = "example.com"}}};

  TaskStore taskStore(localStore);
  test::FakeRunner administrator;
  HostsBlockingEngine blocker(folder / "Backups", administrator, hostsFile);
  Inbox<ProtectionStatus> inbox;

  std::thread worker([&] {
    SessionEngine blockSessions(localStore, blocker);
    blockSessions.protectionStatus.observe([&](ProtectionStatus status) { inbox.post(status); });
    for (std::size_t i = 0; i < rounds; ++i) {
      blockSessions.start(
          {.group = group, .duration = hour, .mode = SessionMode::flexible, .now = someInstant});
      addTask(taskStore);
      blockSessions.tick(someInstant + hour);
    }
  });

  std::set<BlockingStatus> seen;
  for (std::size_t i = 0; i < rounds; ++i) {
    seen.insert(blocker.status({"example.com", "www.example.com"}));
    addTask(taskStore);
  }
  worker.join();

  EXPECT_THAT(seen, testing::IsSubsetOf({BlockingStatus::active, BlockingStatus::mismatch}))
      << "a block that is half written";
  std::vector<ProtectionStatus> everyRound;
  for (std::size_t i = 0; i < rounds; ++i) {
    everyRound.push_back(ProtectionStatus::active);
    everyRound.push_back(ProtectionStatus::off);
  }
  EXPECT_EQ(inbox.takeAll(), everyRound);
  EXPECT_EQ(taskStore.snapshot().revision(), std::int64_t{2 * rounds});
  EXPECT_EQ(taskStore.snapshot().state().tasks.size(), 2 * rounds);
  EXPECT_EQ(localStore.load().activeSession, std::nullopt);
  EXPECT_EQ(contentOf(hostsFile), plainHosts);
}

// The file is half written while the other thread asks: the answer must wait for the rest.
TEST(HostThreads, askForTheStatusOfAWholeHostsFileOnly) {
  const test::ScratchFolder folder;
  const auto hostsFile = folder / "hosts";
  test::writeFile(hostsFile, plainHosts);
  std::atomic<bool> isHalfWritten = false;
  std::atomic<bool> isAnswered = false;
  test::FakeRunner administrator;
  administrator.answers = {[&](const PreparedFile& source, const std::filesystem::path& file) {
    test::writeFile(file, "half a fi");
    isHalfWritten = true;
    constexpr int turns = 5'000;  // enough for an answer that does not wait
    for (int turn = 0; turn < turns && !isAnswered; ++turn) std::this_thread::yield();
    test::FakeRunner::install(source, file);
  }};
  HostsBlockingEngine blocker(folder / "Backups", administrator, hostsFile);

  BlockingStatus status{};
  std::thread window([&] {
    while (!isHalfWritten) std::this_thread::yield();
    status = blocker.status({"example.com"});
    isAnswered = true;
  });
  blocker.apply({"example.com"});
  window.join();
  EXPECT_EQ(status, BlockingStatus::active);
}

// `apply` checks its block afterwards and would throw if the other thread had interfered.
TEST(HostThreads, changeTheHostsFileOneAfterTheOther) {
  const test::ScratchFolder folder;
  const auto hostsFile = folder / "hosts";
  test::writeFile(hostsFile, plainHosts);
  test::FakeRunner administrator;
  HostsBlockingEngine blocker(folder / "Backups", administrator, hostsFile);
  const auto applyOftenAndRemove = [&](const char* host) {
    for (std::size_t i = 0; i < rounds; ++i) {
      EXPECT_NO_THROW(blocker.apply({host}));
      EXPECT_NO_THROW(blocker.remove());
    }
  };

  std::thread worker([&] { applyOftenAndRemove("worker.com"); });
  applyOftenAndRemove("window.com");
  worker.join();
  EXPECT_EQ(contentOf(hostsFile), plainHosts);
}

}  // namespace
}  // namespace tarnwell
