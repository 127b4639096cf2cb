// Fault matrix of the commands that go back: each system call of "tarnwell undo" and "tarnwell
// backup restore" that touches a file fails in turn. The document is the present plan or the
// earlier one, whole; no copy is lost; and the next change works.
#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "tarnwell/store/plan_history.h"

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

enum class Way { undo, restore };

std::string createCommand(std::int64_t revision) {
  return R"({"version":1,"command":"tasks.create","expectedRevision":)" + std::to_string(revision) +
         R"(,"payload":{"title":"Task"}})";
}

class GoingBackFaults : public testing::TestWithParam<std::tuple<Way, Failing>> {
 protected:
  void SetUp() override {
    if (const std::string obstacle = test::obstacleToTracing(); !obstacle.empty()) {
      GTEST_SKIP() << obstacle;
    }
    // Where syncing takes no time.
    if (fs::is_directory("/dev/shm")) temporaryFolder_.emplace("TMPDIR", "/dev/shm");
    const Tool tool;
    ASSERT_TRUE(tool.ask(createCommand(0)).ok);
    earlier_ = contentOf(tool.dataFile());
    ASSERT_TRUE(tool.ask(createCommand(1)).ok);
    present_ = contentOf(tool.dataFile());
  }

  // Returns the number of cases.
  int sweep() {
    const auto run = [this](const std::optional<Fault>& fault) { return runWith(fault); };
    return test::FaultSweep{.run = run}.cases(std::get<Failing>(GetParam()));
  }

 private:
  static fs::path copiesOf(const Tool& tool) { return tool.dataDirectory() / "State Backups"; }

  std::unique_ptr<Tool> newHome() const {
    auto tool = std::make_unique<Tool>();
    test::writeFile(tool->dataFile(), present_);
    fs::permissions(tool->dataFile(), fs::perms(0600));
    test::writeFile(copiesOf(*tool) / "state-11111111-1111-4111-8111-111111111111.json", earlier_);
    test::writeFile(tool->home() / "backup.json", earlier_);
    return tool;
  }

  test::Process command(const Tool& tool) const {
    test::Process process = tool.process("");
    const bool isUndo = std::get<Way>(GetParam()) == Way::undo;
    process.arguments = isUndo ? std::vector<std::string>{TARNWELL, "undo", "--yes"}
                               : std::vector<std::string>{TARNWELL, "backup", "restore",
                                                          tool.home() / "backup.json", "--yes"};
    return process;
  }

  TracedRun runWith(const std::optional<Fault>& fault) {
    const auto tool = homes_.next([this] { return newHome(); });
    TracedRun run = test::runTraced(command(*tool), fault);
    const bool isChanged = contentOf(tool->dataFile()) != present_;
    checkEnd(run, fault, isChanged);
    checkPlan(*tool, isChanged);
    checkFiles(*tool, isChanged, run.result.signal == SIGKILL);
    test::expectTheNextChangeToWork(*tool);
    return run;
  }

  static void checkEnd(const TracedRun& run, const std::optional<Fault>& fault, bool isChanged) {
    EXPECT_EQ(run.result.signal, fault && fault->kind == Fault::Kind::kill ? SIGKILL : 0);
    if (run.result.signal != 0) return;
    if (run.result.exitStatus == 0) {
      EXPECT_TRUE(isChanged) << run.result.output;
    } else {
      EXPECT_TRUE(fault);
      // After the change, only the output can fail.
      EXPECT_TRUE(!isChanged || run.calls.at(fault->call).name == "write") << run.result.errors;
    }
  }

  void checkPlan(const Tool& tool, bool isChanged) const {
    if (!isChanged) return;
    const PersistedState plan = LocalStore(tool.dataFile()).load();
    EXPECT_EQ(Plan::of(plan), Plan::of(LocalStore(tool.home() / "backup.json").load()));
    EXPECT_EQ(plan.revision, 3);
    EXPECT_EQ(plan.auditEvents.size(), 3U);
  }

  void checkFiles(const Tool& tool, bool isChanged, bool wasKilled) const {
    std::map<std::string, int> copies;
    std::size_t temporaryFiles = 0;
    for (const auto& entry : fs::recursive_directory_iterator(tool.home())) {
      if (!entry.is_regular_file()) continue;
      const std::string name = entry.path().filename().string();
      temporaryFiles += name.starts_with('.') ? 1 : 0;
      if (!name.starts_with("state-")) continue;
      ++copies[contentOf(entry.path())];
      EXPECT_TRUE(wasKilled || entry.hard_link_count() == 1) << "shared by the data file";
    }
    EXPECT_LE(temporaryFiles, wasKilled ? 1U : 0U);
    EXPECT_EQ(copies[earlier_], 1);
    if (isChanged) {
      EXPECT_EQ(copies[present_], 1);
    }
    EXPECT_TRUE(std::all_of(copies.begin(), copies.end(), [&](const auto& copy) {
      return copy.first == earlier_ || copy.first == present_;
    }));
    EXPECT_EQ(contentOf(tool.home() / "backup.json"), earlier_);
  }

  std::optional<test::ScopedVariable> temporaryFolder_;
  std::string earlier_;
  std::string present_;
  test::HomesAhead homes_;
};

TEST_P(GoingBackFaults, leaveThePresentPlanOrTheEarlierOne) {
  const int cases = sweep();
  RecordProperty("cases", cases);
  std::printf("%d cases\n", cases);
}

std::string nameOf(const testing::TestParamInfo<GoingBackFaults::ParamType>& each) {
  const bool isUndo = std::get<0>(each.param) == Way::undo;
  return std::string(isUndo ? "undo" : "restore") + "_" + test::nameOf(std::get<1>(each.param));
}

INSTANTIATE_TEST_SUITE_P(Each, GoingBackFaults,
                         testing::Combine(testing::Values(Way::undo, Way::restore),
                                          testing::Values(Failing::once, Failing::killed)),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(LongRun, GoingBackFaults,
                         testing::Combine(testing::Values(Way::undo, Way::restore),
                                          testing::Values(Failing::forGood, Failing::halved)),
                         nameOf);

}  // namespace
}  // namespace tarnwell
