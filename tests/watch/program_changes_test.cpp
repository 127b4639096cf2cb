// What the real program tells of changes by agents.
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/builders.h"
#include "tests/support/watch_program.h"

namespace tarnwell {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class ProgramChanges : public test::WatchProgram {
 protected:
  void createAsAgent(const std::string& title) const {
    const auto revision = LocalStore(tool.dataFile()).load().revision;
    const auto reply =
        tool.ask(R"({"version":1,"command":"tasks.create","expectedRevision":)" +
                 std::to_string(revision) + R"(,"payload":{"title":")" + title + R"("}})");
    EXPECT_TRUE(reply.ok) << reply;
  }

  PlanningProposal propose(const UUID& taskID) const {
    PlanningProposal proposal{.id = UUID::random(),
                              .kind = ProposalKind::reschedule,
                              .taskID = taskID,
                              .reason = "Move work from an overloaded day",
                              .createdAt = Instant::now()};
    change([&](PersistedState& state) { state.proposals.push_back(proposal); });
    return proposal;
  }
};

TEST_F(ProgramChanges, ofAnAgentAreALineEachAndNoNotification) {
  launch();
  createAsAgent("Write");
  awaitLine("  agent  task.create  \"Write\"\n");
  addTask(test::makeTask("The user's own"));
  EXPECT_THAT(textsUntilNow(), IsEmpty());
  EXPECT_THAT(watch->output(), Not(HasSubstr("own")));
}

TEST_F(ProgramChanges, ofAnAgentAreNotificationsWhereTheUserWantsThem) {
  launch({"--notify-changes"});
  createAsAgent("Write");
  awaitShown(1);
  EXPECT_THAT(desktop->texts(), ElementsAre("Write: agent: task.create"));
  EXPECT_EQ(desktop->shown().at(0).lifetime, -1);
}

TEST_F(ProgramChanges, thatProposeAreNotifiedOnceAcrossRestartsWithHowToApprove) {
  const UUID id = addTask(test::makeTask("Write"));
  launch();
  propose(id);
  awaitShown(1);
  const std::string text =
      "Proposal: Write: Move work from an overloaded day. To decide: tarnwell proposals, then "
      "tarnwell approve 1";
  EXPECT_THAT(desktop->texts(), ElementsAre(text));
  awaitLine("tarnwell approve 1\n");
  end();
  launch();
  EXPECT_THAT(textsUntilNow(), ElementsAre(text));
  EXPECT_THAT(watch->output(), Not(HasSubstr("approve")));
}

TEST_F(ProgramChanges, thatAreDecidedLeaveTheScreen) {
  const UUID id = addTask(test::makeTask("Write"));
  launch();
  propose(id);
  awaitShown(1);
  change([](PersistedState& state) { state.proposals[0].status = ProposalStatus::dismissed; });
  await([&] { return desktop->onScreen().empty(); });
}

// Each save holds many, as the program sees them when it is slower than the writers.
TEST_F(ProgramChanges, inABurstOfTenThousandAreAllToldInOrder) {
  constexpr int saves = 50;
  constexpr int changesInEach = 200;
  const LocalStore localStore(tool.dataFile());
  PersistedState state = PersistedState::initial();
  localStore.save(state);
  launch();
  std::string expected;
  for (int change = 0; change < saves * changesInEach; ++change) {
    const std::string action = "task.change" + std::to_string(change);
    expected += action + "\n";
    ++state.revision;
    state.auditEvents.push_back({.source = MutationSource::agent, .action = action});
    if (state.revision % changesInEach == 0) localStore.save(state);
  }
  awaitLine("task.change" + std::to_string(saves * changesInEach - 1) + "\n");
  std::string told;
  std::istringstream lines(watch->output());
  for (std::string line; std::getline(lines, line);) {
    const auto action = line.find("task.change");
    if (action != std::string::npos) told += line.substr(action) + "\n";
  }
  EXPECT_EQ(told, expected);
}

}  // namespace
}  // namespace tarnwell
