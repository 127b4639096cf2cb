// Fault matrix: every system call of a command that touches a file fails in turn, with every error
// that it may give, once and for good, comes up short, or is the last one before the process is
// killed. Each time the document is whole, the reply agrees with it, and the next change works.
#include <array>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "tarnwell/json/json_decode.h"
#include "tarnwell/store/local_store.h"

#include "tests/faults/fault_sweep.h"
#include "tests/support/scoped_environment.h"
#include "tests/support/tool.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;

using test::contentOf;
using test::Failing;
using test::Fault;
using test::Tool;
using test::TracedRun;

enum class Situation {
  changeOfAPlan,
  changeOfASharedPlan,  // which its group may read
  changeThroughALink,
  changeOfANewPlan,
  firstChange,
  list
};

std::string createCommand(std::int64_t revision, std::string_view title) {
  return R"({"version":1,"command":"tasks.create","expectedRevision":)" + std::to_string(revision) +
         R"(,"payload":{"title":")" + std::string(title) + R"("}})";
}

// Counts the temporary files below a folder. A command that ends by itself removes its own.
std::size_t temporaryFileCount(const fs::path& folder) {
  std::size_t count = 0;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    const bool isHidden = entry.path().filename().string().starts_with('.');
    count += isHidden && entry.is_regular_file() ? 1 : 0;
  }
  return count;
}

class SystemCallFaults : public testing::TestWithParam<std::tuple<Situation, Failing>> {
 protected:
  void SetUp() override {
    if (const std::string obstacle = test::obstacleToTracing(); !obstacle.empty()) {
      GTEST_SKIP() << obstacle;
    }
    // Where syncing takes no time.
    if (fs::is_directory("/dev/shm")) temporaryFolder_.emplace("TMPDIR", "/dev/shm");
    if (situation_ == Situation::firstChange) return;
    const Tool tool;
    ASSERT_TRUE(tool.ask(createCommand(0, "Old")).ok);
    document_ = contentOf(tool.dataFile());
  }

  // Returns the number of cases.
  int sweep() {
    return test::FaultSweep{.run = [this](const std::optional<Fault>& fault) { return run(fault); },
                            .isRepeatable = isRepeatable()}
        .cases(std::get<Failing>(GetParam()));
  }

 private:
  // A plan that was written this moment is read again until the clock has moved on: that depends on
  // how fast the machine is.
  bool isRepeatable() const { return situation_ != Situation::changeOfANewPlan; }

  std::int64_t oldRevision() const { return document_.empty() ? 0 : 1; }

  fs::perms planMode() const {
    const bool isShared = situation_ == Situation::changeOfASharedPlan;
    return fs::perms(isShared ? 0640 : 0600);
  }

  std::string command() const {
    if (situation_ == Situation::list) return R"({"version":1,"command":"tasks.list"})";
    return createCommand(oldRevision(), "New");
  }

  std::unique_ptr<Tool> newHome() const {
    auto tool = std::make_unique<Tool>();
    if (document_.empty()) return tool;
    fs::path plan = tool->dataFile();
    if (situation_ == Situation::changeThroughALink) {
      plan = tool->home() / "elsewhere" / "plan.json";
      fs::create_directories(tool->dataDirectory());
      fs::create_symlink(plan, tool->dataFile());
    }
    test::writeFile(plan, document_);
    fs::permissions(plan, planMode());
    return tool;
  }

  std::unique_ptr<Tool> nextHome() {
    return isRepeatable() ? homes_.next([this] { return newHome(); }) : newHome();
  }

  // Runs the command on a fresh copy of the plan, and checks what it leaves.
  TracedRun run(const std::optional<Fault>& fault) {
    const auto tool = nextHome();
    const std::string text = command();
    TracedRun run = test::runTraced(tool->process(text), fault);
    if (!fault) output_ = run.result.output;
    checkReply(run, fault, *tool);
    checkFiles(run, *tool);
    checkNextChange(*tool);
    return run;
  }

  bool isChanged(const Tool& tool) const { return contentOf(tool.dataFile()) != document_; }

  void checkReply(const TracedRun& run, const std::optional<Fault>& fault, const Tool& tool) const {
    const auto& [exitStatus, signal, output, errors] = run.result;
    EXPECT_EQ(errors, "");
    const bool isHit = fault && fault->call < run.calls.size();  // or there were fewer this time
    EXPECT_TRUE(isHit || !isRepeatable() || !fault);
    EXPECT_EQ(signal, isHit && fault->kind == Fault::Kind::kill ? SIGKILL : 0);
    if (signal != 0) return;
    if (!output.ends_with('\n')) {
      EXPECT_EQ(exitStatus, 64) << output;
      EXPECT_EQ(run.calls.at(fault->call).name, "write") << "no reply: " << output;
      return;
    }
    const auto reply = decodeJSON<AgentResponseEnvelope>(output);
    EXPECT_TRUE(exitStatus == 0 || !reply.ok) << output;
    if (situation_ != Situation::list) {
      EXPECT_EQ(reply.ok, isChanged(tool)) << output;
      EXPECT_TRUE(!reply.ok || reply.revision == oldRevision() + 1) << output;
    } else if (reply.ok && fault) {
      EXPECT_EQ(output, output_);
    }
  }

  void checkFiles(const TracedRun& run, const Tool& tool) const {
    const bool wasKilled = run.result.signal == SIGKILL;
    EXPECT_LE(temporaryFileCount(tool.home()), wasKilled ? mostTemporaryFiles() : 0U);
    EXPECT_EQ(fs::is_symlink(tool.dataFile()), situation_ == Situation::changeThroughALink);
    if (!document_.empty()) {
      EXPECT_EQ(fs::status(tool.dataFile()).permissions(), planMode());
    }
    std::size_t copyCount = 0;
    const fs::path copies = tool.dataDirectory() / "State Backups";
    for (const auto& entry : fs::directory_iterator(fs::exists(copies) ? copies : tool.home())) {
      if (!entry.path().filename().string().starts_with("state-")) continue;
      EXPECT_EQ(contentOf(entry.path()), document_);
      // Or an edit in place would change the copy.
      EXPECT_TRUE(wasKilled || entry.hard_link_count() == 1) << "shared by the data file";
      ++copyCount;
    }
    if (!isChanged(tool)) return;
    EXPECT_NE(situation_, Situation::list);
    EXPECT_EQ(copyCount, document_.empty() ? 0U : 1U);
    const PersistedState plan = LocalStore(tool.dataFile()).load();
    EXPECT_EQ(plan.revision, oldRevision() + 1);
    EXPECT_EQ(plan.tasks.back().title, "New");
    EXPECT_EQ(plan.auditEvents.size(), static_cast<std::size_t>(plan.revision));
  }

  // A document that is copied has its copy and its successor under temporary names for a moment.
  std::size_t mostTemporaryFiles() const {
    return situation_ == Situation::changeOfASharedPlan ? 2 : 1;
  }

  // The next change works, and leaves no temporary file and no copy that shares the data file.
  static void checkNextChange(const Tool& tool) {
    const std::size_t before = temporaryFileCount(tool.home());
    test::expectTheNextChangeToWork(tool);
    EXPECT_EQ(temporaryFileCount(tool.home()), before);
    for (const auto& entry : fs::recursive_directory_iterator(tool.home())) {
      if (entry.is_regular_file()) {
        EXPECT_EQ(entry.hard_link_count(), 1U) << entry.path();
      }
    }
  }

  Situation situation_ = std::get<Situation>(GetParam());
  std::optional<test::ScopedVariable> temporaryFolder_;
  std::string document_;
  std::string output_;  // of the command when nothing fails
  test::HomesAhead homes_;
};

TEST_P(SystemCallFaults, leaveAWholeDocumentThatTheReplyAgreesWith) {
  const int cases = sweep();
  RecordProperty("cases", cases);
  std::printf("%d cases\n", cases);
}

std::string nameOf(const testing::TestParamInfo<SystemCallFaults::ParamType>& each) {
  constexpr std::array situations = {"changeOfAPlan",      "changeOfASharedPlan",
                                     "changeThroughALink", "changeOfANewPlan",
                                     "firstChange",        "list"};
  return std::string(situations.at(static_cast<std::size_t>(std::get<0>(each.param)))) + "_" +
         test::nameOf(std::get<1>(each.param));
}

INSTANTIATE_TEST_SUITE_P(
    Each, SystemCallFaults,
    testing::Combine(testing::Values(Situation::changeOfAPlan, Situation::changeOfASharedPlan,
                                     Situation::changeThroughALink, Situation::changeOfANewPlan,
                                     Situation::firstChange, Situation::list),
                     testing::Values(Failing::once, Failing::halved, Failing::killed)),
    nameOf);
INSTANTIATE_TEST_SUITE_P(Lasting, SystemCallFaults,
                         testing::Combine(testing::Values(Situation::changeOfAPlan,
                                                          Situation::list),
                                          testing::Values(Failing::forGood)),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(
    LongRun, SystemCallFaults,
    testing::Combine(testing::Values(Situation::changeOfASharedPlan, Situation::changeThroughALink,
                                     Situation::changeOfANewPlan, Situation::firstChange),
                     testing::Values(Failing::forGood)),
    nameOf);

}  // namespace
}  // namespace tarnwell
