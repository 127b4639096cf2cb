// Every system call of a command that touches a file fails in turn, with every error that it may
// give, once and for good, comes up short, or is the last one before the process is killed. The
// document is whole each time, the reply agrees with it, and the next command works.
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/platform/json_decode.h"
#include "tarnwell/store/local_store.h"

#include "tests/faults/traced_tool.h"
#include "tests/support/tool.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;

using test::contentOf;
using test::Fault;
using test::Tool;
using test::TracedRun;

enum class Situation { changeOfAPlan, firstChange, list };
enum class Failing { once, forGood, halved, killed };

std::string createCommand(std::int64_t revision, std::string_view title) {
  return R"({"version":1,"command":"tasks.create","expectedRevision":)" + std::to_string(revision) +
         R"(,"payload":{"title":")" + std::string(title) + R"("}})";
}

// The files below a folder that no command leaves behind when it ends by itself.
std::size_t temporaryFileCount(const fs::path& folder) {
  std::size_t count = 0;
  if (!fs::exists(folder)) return 0;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    count += entry.path().filename().string().starts_with('.') ? 1 : 0;
  }
  return count;
}

class SystemCallFaults : public testing::TestWithParam<std::tuple<Situation, Failing>> {
 protected:
  void SetUp() override {
    if (const std::string obstacle = test::obstacleToTracing(); !obstacle.empty()) {
      GTEST_SKIP() << obstacle;
    }
    if (situation_ == Situation::firstChange) return;
    const Tool tool;
    ASSERT_TRUE(tool.ask(createCommand(0, "Old")).ok);
    document_ = contentOf(tool.dataFile());
  }

  // Runs the command on a fresh copy of the plan, and checks what it leaves.
  TracedRun run(const std::optional<Fault>& fault) {
    const Tool tool;
    if (!document_.empty()) test::writeFile(tool.dataFile(), document_);
    TracedRun run = test::runTraced(tool.home(), command(), fault);
    checkReply(run, tool);
    checkFolder(run, tool);
    checkNextCommand(tool);
    return run;
  }

  void sweep(Fault::Kind kind, bool isLasting) {
    const auto calls = run(std::nullopt).calls;
    ASSERT_GT(calls.size(), 10U);
    for (Fault fault{.kind = kind, .isLasting = isLasting}; fault.call < calls.size();
         ++fault.call) {
      const auto& call = calls[fault.call];
      SCOPED_TRACE("call " + std::to_string(fault.call) + ": " + call.name + " " + call.path);
      for (const int error : errorsFor(fault, call.name)) {
        SCOPED_TRACE(error == 0 ? "" : strerrorname_np(error));
        fault.error = error;
        run(fault);
        ++cases_;
        if (HasFailure()) return;  // one is enough to look at
      }
    }
  }

  int cases() const { return cases_; }

  Failing failing() const { return std::get<Failing>(GetParam()); }

 private:
  static std::vector<int> errorsFor(const Fault& fault, std::string_view call) {
    if (fault.kind == Fault::Kind::kill) return {0};
    if (fault.kind == Fault::Kind::shortCount) {
      return call == "read" || call == "write" ? std::vector{0} : std::vector<int>{};
    }
    auto errors = test::errorsOf(call);
    if (fault.isLasting) std::erase(errors, EINTR);  // what is interrupted for ever never ends
    return errors;
  }

  std::int64_t oldRevision() const { return document_.empty() ? 0 : 1; }

  std::string command() const {
    if (situation_ == Situation::list) return R"({"version":1,"command":"tasks.list"})";
    return createCommand(oldRevision(), "New");
  }

  bool isChanged(const Tool& tool) const { return contentOf(tool.dataFile()) != document_; }

  void checkReply(const TracedRun& run, const Tool& tool) const {
    const auto& [exitStatus, signal, output, errors] = run.result;
    EXPECT_TRUE(signal == 0 || signal == SIGKILL) << "ended by signal " << signal;
    EXPECT_EQ(errors, "");
    if (!output.ends_with('\n')) {
      EXPECT_NE(exitStatus, 0) << "success without a reply";
      return;
    }
    const auto reply = decodeJSON<AgentResponseEnvelope>(output);
    if (situation_ == Situation::list) return;
    EXPECT_EQ(reply.ok, isChanged(tool)) << output;
  }

  void checkFolder(const TracedRun& run, const Tool& tool) const {
    const bool wasKilled = run.result.signal == SIGKILL;
    EXPECT_LE(temporaryFileCount(tool.dataDirectory()), wasKilled ? 1U : 0U);
    if (isChanged(tool)) {
      EXPECT_NE(situation_, Situation::list);
      const PersistedState plan = LocalStore(tool.dataFile()).load();
      EXPECT_EQ(plan.revision, oldRevision() + 1);
      EXPECT_EQ(plan.tasks.back().title, "New");
      EXPECT_EQ(plan.auditEvents.size(), static_cast<std::size_t>(plan.revision));
    }
    const fs::path copies = tool.dataDirectory() / "State Backups";
    if (!fs::exists(copies)) return;
    for (const auto& entry : fs::directory_iterator(copies)) {
      if (!entry.path().filename().string().starts_with("state-")) continue;
      EXPECT_EQ(contentOf(entry.path()), document_);
    }
  }

  // Whatever is left lying about.
  void checkNextCommand(const Tool& tool) const {
    const std::int64_t revision = LocalStore(tool.dataFile()).load().revision;
    const std::size_t before = temporaryFileCount(tool.dataDirectory());
    const auto reply = tool.ask(createCommand(revision, "Next"));
    EXPECT_TRUE(reply.ok) << reply;
    EXPECT_EQ(reply.revision, revision + 1);
    EXPECT_EQ(temporaryFileCount(tool.dataDirectory()), before);
  }

  Situation situation_ = std::get<Situation>(GetParam());
  std::string document_;
  int cases_ = 0;
};

TEST_P(SystemCallFaults, leaveAWholeDocumentThatTheReplyAgreesWith) {
  switch (failing()) {
    case Failing::once:
      sweep(Fault::Kind::error, false);
      break;
    case Failing::forGood:
      sweep(Fault::Kind::error, true);
      break;
    case Failing::halved:
      sweep(Fault::Kind::shortCount, false);
      sweep(Fault::Kind::shortCount, true);
      break;
    case Failing::killed:
      sweep(Fault::Kind::kill, false);
  }
  RecordProperty("cases", cases());
  std::printf("%d cases\n", cases());
}

std::string nameOf(const testing::TestParamInfo<SystemCallFaults::ParamType>& each) {
  constexpr std::array situations = {"changeOfAPlan", "firstChange", "list"};
  constexpr std::array failings = {"failingOnce", "failingForGood", "comingUpShort", "killed"};
  return std::string(situations.at(static_cast<std::size_t>(std::get<0>(each.param)))) + "_" +
         failings.at(static_cast<std::size_t>(std::get<1>(each.param)));
}

constexpr std::array allSituations = {Situation::changeOfAPlan, Situation::firstChange,
                                      Situation::list};
constexpr std::array allFailings = {Failing::once, Failing::forGood, Failing::halved,
                                    Failing::killed};

INSTANTIATE_TEST_SUITE_P(Each, SystemCallFaults,
                         testing::Combine(testing::ValuesIn(allSituations),
                                          testing::ValuesIn(allFailings)),
                         nameOf);

}  // namespace
}  // namespace tarnwell
