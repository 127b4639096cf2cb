#include "tarnwell/agent/engines.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "tests/support/builders.h"
#include "tests/support/scoped_environment.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell {
namespace {

TEST(DataDirectory, isTheFolderOfTarnwellAmongTheUsersApplications) {
  const test::ScratchFolder home;
  const test::ScopedVariable variable("HOME", home.path().c_str());
  const test::ScopedVariable noDataHome("XDG_DATA_HOME", nullptr);
  const DataDirectory directory = DataDirectory::ofUser();
  EXPECT_EQ(directory.path.filename(), "Tarnwell");
  EXPECT_EQ(directory.path.string().rfind(home.path().string(), 0), 0U);
  EXPECT_EQ(directory.dataFile(), directory.path / "state.json");
  EXPECT_EQ(directory.hostsBackups(), directory.path / "Backups");
}

TEST(Engines, createNothing) {
  const test::ScratchFolder folder;
  const DataDirectory directory{folder / "Tarnwell"};
  Engines engines(directory);
  EXPECT_EQ(engines.taskStore.snapshot().revision(), 0);
  EXPECT_FALSE(std::filesystem::exists(directory.path));
}

TEST(Engines, areAllOverTheSamePlan) {
  const test::ScratchFolder folder;
  const DataDirectory directory{folder.path()};
  PersistedState state = PersistedState::initial();
  state.groups.front().name = "Stored";
  FocusTask task = test::makeTask("A");
  state.tasks = {task};
  LocalStore(directory.dataFile()).save(state);

  Engines engines(directory);
  EXPECT_EQ(engines.blockSessions.groups.value().front().name, "Stored");
  engines.focusCoordinator.start({.taskID = task.id,
                                  .duration = std::chrono::minutes(25),
                                  .mode = SessionMode::flexible,
                                  .revision = 0,
                                  .now = test::someInstant});
  EXPECT_EQ(engines.taskStore.snapshot().state().tasks.front().status, TaskStatus::active);
  EXPECT_EQ(engines.localStore.load().revision, 1);
}

TEST(Engines, giveTheServiceOfAnAgentNoApproval) {
  const test::ScratchFolder folder;
  Engines engines(DataDirectory{folder.path()});
  const AgentCommandService service(engines.agentParts());
  const auto reply = service.execute(
      {.version = 1, .command = "proposals.approve", .expectedRevision = 0, .userApproval = true},
      test::someInstant);
  EXPECT_EQ(reply, AgentCommandService::failure(failures::approvalNeedsUser()));
}

TEST(Engines, cannotBeBuiltOnAFileThatCannotBeRead) {
  const test::ScratchFolder folder;
  const DataDirectory directory{folder.path()};
  test::writeFile(directory.dataFile(), "damaged");
  EXPECT_THROW(Engines{directory}, LocalStoreError);
}

}  // namespace
}  // namespace tarnwell
