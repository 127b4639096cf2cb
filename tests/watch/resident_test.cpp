// What the resident part does about website blocking, backups, changes and proposals.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/watch/resident_fixture.h"

namespace tarnwell {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using namespace std::chrono_literals;

class ResidentBlocking : public test::ResidentTest {
 protected:
  BlockSession makeSession(Duration duration) const {
    return {.id = UUID::random(),
            .group = {.id = UUID::random(),
                      .name = "News",
                      .rules = {{.id = UUID::random(), .domain = "news.example"}}},
            .mode = SessionMode::flexible,
            .startedAt = now,
            .endsAt = now + duration};
  }

  void store(const std::optional<BlockSession>& session) {
    localStore.updateAtomically([&](PersistedState& state) { state.activeSession = session; });
    if (resident_) resident_->planChanged();
  }

  void install() {
    hosts.state = BlockingStatus::active;
    if (resident_) resident_->look();
  }
};

TEST_F(ResidentBlocking, recoversAtLaunch) {
  launch();
  EXPECT_THAT(workDone, ElementsAre("recover"));
  wait(48h);
  EXPECT_THAT(workDone, ElementsAre("recover"));
}

TEST_F(ResidentBlocking, endsASessionAtItsEnd) {
  launch();
  workDone.clear();
  store(makeSession(1h));
  install();
  wait(1h - 1s);
  EXPECT_THAT(workDone, IsEmpty());
  wait(1s);
  EXPECT_THAT(workDone, ElementsAre("recover"));
}

TEST_F(ResidentBlocking, endsASessionThatEndedDuringASuspension) {
  launch();
  store(makeSession(1h));
  install();
  workDone.clear();
  jump(5h);
  EXPECT_THAT(workDone, ElementsAre("recover"));
}

TEST_F(ResidentBlocking, endsASessionThatEndedBeforeTheLaunch) {
  store(makeSession(1h));
  hosts.state = BlockingStatus::active;
  now = now + 2h;
  launch();
  EXPECT_THAT(workDone, ElementsAre("recover"));
}

TEST_F(ResidentBlocking, comparesTheHostsFileWithTheHostsOfTheSession) {
  store(makeSession(1h));
  launch();
  EXPECT_THAT(hosts.askedHosts, ElementsAre("news.example", "www.news.example"));
}

TEST_F(ResidentBlocking, leavesASessionWithoutBlockAloneForTwoMinutes) {
  launch();
  workDone.clear();
  store(makeSession(1h));
  wait(2min - 1s);
  EXPECT_THAT(workDone, IsEmpty());
  wait(1s);
  EXPECT_THAT(workDone, ElementsAre("recover"));
}

TEST_F(ResidentBlocking, leavesAYoungSessionAloneAtLaunchToo) {
  store(makeSession(1h));
  now = now + 1min;
  launch();
  EXPECT_THAT(workDone, IsEmpty());
  wait(1min);
  EXPECT_THAT(workDone, ElementsAre("recover"));
}

TEST_F(ResidentBlocking, protectsAnOlderSessionAtLaunch) {
  store(makeSession(1h));
  now = now + 2min;
  launch();
  EXPECT_THAT(workDone, ElementsAre("recover"));
}

TEST_F(ResidentBlocking, asksNobodyForASessionThatHasItsBlockInTime) {
  launch();
  workDone.clear();
  store(makeSession(1h));
  wait(1min);
  install();
  wait(58min);
  EXPECT_THAT(workDone, IsEmpty());
}

TEST_F(ResidentBlocking, doesNotRepeatADismissedPromptAndSaysHowToTryAgain) {
  launch();
  workDone.clear();
  problemOfWork = "Administrator approval was cancelled. No changes were made.";
  store(makeSession(1h));
  wait(59min);
  EXPECT_THAT(workDone, ElementsAre("recover"));
  EXPECT_EQ(takeProblems(), "tarnwell-watch: website blocking: " + problemOfWork +
                                " To try again: tarnwell block repair\n");
  wait(48h);
  EXPECT_THAT(workDone, ElementsAre("recover", "recover"));  // once more at its end
  EXPECT_EQ(takeProblems(), "tarnwell-watch: website blocking: " + problemOfWork +
                                " To try again: tarnwell block end\n");
  EXPECT_THAT(desktop.takeTexts(),
              ElementsAre(HasSubstr("tarnwell block repair"), HasSubstr("tarnwell block end")));
}

TEST_F(ResidentBlocking, opensOnePromptAtATime) {
  jobs.isQuick = false;
  launch();
  store(makeSession(1h));
  wait(2h);
  EXPECT_EQ(jobs.waiting.size(), 3U);  // which run one after another
  EXPECT_THAT(workDone, IsEmpty());
}

TEST_F(ResidentBlocking, tellsOfTheBeginningAndTheEnd) {
  launch();
  store(makeSession(90min));
  EXPECT_THAT(desktop.takeTexts(), IsEmpty());  // its prompt may be open
  install();
  EXPECT_THAT(desktop.takeTexts(), ElementsAre("Websites are blocked: News, until 10:45"));
  wait(10min);
  hosts.state = BlockingStatus::inactive;
  store(std::nullopt);
  EXPECT_THAT(desktop.takeTexts(), ElementsAre("Website blocking has ended: News"));
}

TEST_F(ResidentBlocking, tellsNothingOfASessionWhosePromptWasDismissed) {
  launch();
  store(makeSession(90min));
  store(std::nullopt);
  EXPECT_THAT(desktop.takeTexts(), IsEmpty());
}

TEST_F(ResidentBlocking, tellsOfABeginningOnceAcrossRestarts) {
  store(makeSession(90min));
  hosts.state = BlockingStatus::active;
  launch();
  EXPECT_THAT(desktop.takeTexts(), IsEmpty());
  store(std::nullopt);
  EXPECT_THAT(desktop.takeTexts(), ElementsAre("Website blocking has ended: News"));
}

TEST_F(ResidentBlocking, survivesAStoredDomainThatIsNone) {
  BlockSession session = makeSession(1h);
  session.group.rules[0].domain = "not a domain";
  store(session);
  now = now + 5min;
  launch();
  EXPECT_THAT(workDone, ElementsAre("recover"));
}

class ResidentBackups : public test::ResidentTest {
 protected:
  std::vector<std::string> backups() const {
    std::vector<std::string> names;
    if (!std::filesystem::exists(folder / "Daily Backups")) return names;
    for (const auto& entry : std::filesystem::directory_iterator(folder / "Daily Backups")) {
      names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
  }
};

TEST_F(ResidentBackups, areMadeAtLaunchAndAtTheBeginningOfEachDay) {
  addTask(test::makeTask("Write"));
  launch();
  EXPECT_THAT(backups(), ElementsAre("Tarnwell-2025-03-04.json"));
  wait(14h + 45min - 1s);
  EXPECT_EQ(backups().size(), 1U);
  wait(1s);
  EXPECT_THAT(backups(), ElementsAre("Tarnwell-2025-03-04.json", "Tarnwell-2025-03-05.json"));
}

TEST_F(ResidentBackups, areFollowedByPruningWhereTheUserWantsIt) {
  pruning = [this] { return work("prune"); };
  addTask(test::makeTask("Write"));
  launch();
  wait(24h);
  EXPECT_THAT(workDone, ElementsAre("recover", "prune", "prune"));
  problemOfWork = "no luck";
  wait(24h);
  EXPECT_THAT(takeProblems(), HasSubstr("old copies: no luck"));
}

TEST_F(ResidentBackups, waitForAPlan) {
  launch();
  wait(24h);
  EXPECT_THAT(backups(), IsEmpty());
  EXPECT_EQ(takeProblems(), "");
  addTask(test::makeTask("Write"));
  EXPECT_THAT(backups(), ElementsAre("Tarnwell-2025-03-05.json"));
}

TEST_F(ResidentBackups, areTriedAgainAfterAFailure) {
  addTask(test::makeTask("Write"));
  test::writeFile(folder / "Daily Backups", "in the way of the folder");
  launch();
  EXPECT_THAT(takeProblems(), HasSubstr("daily backup: "));
  std::filesystem::remove(folder / "Daily Backups");
  addTask(test::makeTask("Read"));
  EXPECT_EQ(backups().size(), 1U);
}

TEST_F(ResidentBackups, followTheTimeZone) {
  addTask(test::makeTask("Write"));
  launch();
  now = now + 14h;  // 23:15
  const test::ScopedTimeZone further("CET-1");
  resident_->look();
  EXPECT_THAT(backups(), ElementsAre("Tarnwell-2025-03-04.json", "Tarnwell-2025-03-05.json"));
}

class ResidentChanges : public test::ResidentTest {};

TEST_F(ResidentChanges, ofAnAgentAreALineEach) {
  const UUID id = addTask(test::makeTask("Write \x1B[2J"));
  launch();
  takeLines();
  const auto nothing = [](PersistedState&) {};
  change(nothing, MutationSource::agent, "task.update", id);
  change(nothing, MutationSource::user, "task.edit", id);
  change(nothing, MutationSource::app, "task.pause", UUID::random());
  EXPECT_EQ(takeLines(),
            "09:15  agent  task.update  \"Write \uFFFD[2J\"\n"
            "09:15  app  task.pause\n");
  EXPECT_THAT(desktop.takeTexts(), IsEmpty());
}

TEST_F(ResidentChanges, areNotificationsWhereTheUserWantsThem) {
  notifiesChanges = true;
  const UUID id = addTask(test::makeTask("Write"));
  launch();
  change([](PersistedState&) {}, MutationSource::agent, "task.update", id);
  EXPECT_THAT(desktop.takeTexts(), ElementsAre("Write: agent: task.update"));
}

TEST_F(ResidentChanges, beforeTheLaunchAreNoNews) {
  change([](PersistedState&) {}, MutationSource::agent, "task.update");
  launch();
  EXPECT_EQ(takeLines(), "");
}

TEST_F(ResidentChanges, thatCameInABurstAreAllTold) {
  launch();
  constexpr int count = 10'000;
  PersistedState state = localStore.load();
  for (int i = 0; i < count; ++i) {
    ++state.revision;
    state.auditEvents.push_back({.id = UUID::random(),
                                 .timestamp = now,
                                 .source = MutationSource::agent,
                                 .action = "task.update"});
  }
  localStore.save(state);
  resident_->planChanged();
  const std::string told = takeLines();
  EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), count);
}

TEST_F(ResidentChanges, ofAPlanThatWasReplacedAreFollowedFromItsEnd) {
  change([](PersistedState&) {}, MutationSource::agent, "task.update");
  launch();
  PersistedState other;
  other.auditEvents.push_back({.id = UUID::random(),
                               .timestamp = now,
                               .source = MutationSource::agent,
                               .action = "task.create"});
  localStore.save(other);
  resident_->planChanged();
  EXPECT_EQ(takeLines(), "");
  change([](PersistedState&) {}, MutationSource::agent, "task.update");
  EXPECT_EQ(takeLines(), "09:15  agent  task.update\n");
}

class ResidentProposals : public test::ResidentTest {
 protected:
  static PlanningProposal makeProposal(const UUID& taskID) {
    return {.id = UUID::random(),
            .kind = ProposalKind::reschedule,
            .taskID = taskID,
            .reason = "This task has been skipped repeatedly",
            .createdAt = test::someInstant};
  }

  void propose(const PlanningProposal& proposal) {
    change([&](PersistedState& state) { state.proposals = {proposal}; }, MutationSource::agent,
           "proposals.generate");
  }
};

TEST_F(ResidentProposals, areAnnouncedOnceAcrossRestartsWithHowToApprove) {
  const UUID id = addTask(test::makeTask("Write"));
  launch();
  propose(makeProposal(id));
  const std::string expected =
      "This task has been skipped repeatedly. To decide: tarnwell proposals, then tarnwell "
      "approve 1";
  EXPECT_THAT(desktop.takeTexts(), ElementsAre("Proposal: Write: " + expected));
  EXPECT_THAT(takeLines(), HasSubstr("Proposal: Write. " + expected + "\n"));
  launch();
  wait(72h);
  addTask(test::makeTask("Read"));
  launch();
  EXPECT_THAT(desktop.takeTexts(), IsEmpty());
  EXPECT_THAT(takeLines(), testing::Not(HasSubstr("Proposal")));
}

TEST_F(ResidentProposals, thatWereMadeBeforeAreAnnouncedAtLaunch) {
  propose(makeProposal(addTask(test::makeTask("Write"))));
  now = now + 2h;
  launch();
  EXPECT_THAT(desktop.takeTexts(), ElementsAre(HasSubstr("approve 1 (2 hours ago)")));
}

TEST_F(ResidentProposals, leaveTheScreenWhenTheyAreDecided) {
  launch();
  propose(makeProposal(addTask(test::makeTask("Write"))));
  ASSERT_EQ(desktop.onScreen.size(), 1U);
  change([](PersistedState& state) { state.proposals[0].status = ProposalStatus::dismissed; });
  EXPECT_THAT(desktop.onScreen, IsEmpty());
}

}  // namespace
}  // namespace tarnwell
