// An agent's conversation, one command a line, on a small plan: every command gets one reply, the
// plan stays whole, and the two agree. Each command gets new engines, as in the tool; only the
// hosts file is not real.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "fuzz/records.h"
#include "fuzz/require.h"

#include "tarnwell/agent/agent_command_service.h"
#include "tarnwell/agent/envelopes.h"
#include "tarnwell/base/text.h"
#include "tarnwell/blocking/focus_coordinator.h"
#include "tarnwell/blocking/session_engine.h"
#include "tarnwell/json/json_decode.h"
#include "tarnwell/json/json_error.h"
#include "tarnwell/store/local_store.h"
#include "tarnwell/store/persisted_state_json.h"

#include "tests/support/builders.h"
#include "tests/support/fake_blocker.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell::fuzz {
namespace {

PersistedState smallPlan() {
  PersistedState plan = PersistedState::initial();
  plan.revision = 3;
  plan.tasks = {task('1', TaskStatus::pending), task('2', TaskStatus::pending),
                task('3', TaskStatus::completed), task('4', TaskStatus::archived),
                task('5', TaskStatus::pending)};
  plan.tasks[1].blockingGroupID = plan.groups.front().id;
  plan.tasks[2].completedAt = test::someInstant;
  plan.tasks[4].reminder = TaskReminder{};
  plan.tasks[4].skipCount = 4;
  plan.proposals = {{.id = numbered('6'),
                     .kind = ProposalKind::splitTask,
                     .taskID = numbered('5'),
                     .reason = "Too long",
                     .createdAt = test::someInstant}};
  return plan;
}

class Conversation {
 public:
  Conversation() {
    static const std::string plan = encodePersistedState(smallPlan());
    std::filesystem::remove_all(folder().path() / "State Backups");
    test::writeFile(localStore_.url(), plan);
  }

  void say(std::string_view line) {
    std::optional<AgentCommandEnvelope> command;
    try {
      command = decodeCommand(std::string(line));
    } catch (const JSONError&) {
      return;
    }
    const std::string before = bytes();
    const std::int64_t revisionBefore = localStore_.load().revision;
    const AgentResponseEnvelope reply = answer(*command);
    checkReply(reply);

    const std::int64_t revision = localStore_.load().revision;
    require(!reply.revision || reply.revision == revision, "the reply tells the stored revision");
    require(reply.ok ? revisionBefore <= revision && revision <= revisionBefore + 1
                     : revisionBefore <= revision && revision <= revisionBefore + 2,
            "a command is one change, or one and its undoing");
    const bool isStart = command->command == "tasks.start" || command->command == "tasks.resume";
    require(reply.ok || isStart || bytes() == before, "a refused command writes nothing");
    require(revision != revisionBefore || bytes() == before, "every change raises the revision");
    now_ = now_ + std::chrono::minutes(1);
  }

 private:
  // Reused, because making one takes longer than a conversation.
  static const test::ScratchFolder& folder() {
    static const test::ScratchFolder folder;
    return folder;
  }

  std::string bytes() const { return test::contentOf(localStore_.url()); }

  AgentResponseEnvelope answer(const AgentCommandEnvelope& command) {
    TaskStore taskStore(localStore_);
    TaskSessionEngine taskSessions(taskStore, calendar_);
    SessionEngine blockSessions(localStore_, blocker_);
    blockSessions.loadPersistedState();
    RecommendationEngine recommendations(taskStore);
    FocusCoordinator coordinator(taskSessions, blockSessions);
    AgentCommandService service({.store = taskStore,
                                 .sessions = taskSessions,
                                 .recommendations = recommendations,
                                 .calendar = calendar_,
                                 .focusCoordinator = &coordinator,
                                 .blocking = &blockSessions});
    return service.execute(command, now_);
  }

  static void checkReply(const AgentResponseEnvelope& reply) {
    require(reply.ok != reply.error.has_value(), "a reply has an error exactly when it is not ok");
    const std::string text = encodeReply(reply);
    require(std::count(text.begin(), text.end(), '\n') == 0, "a reply is one line");
    require(decodeJSON<AgentResponseEnvelope>(text) == reply, "a reply can be read");
  }

  const LocalStore localStore_{folder() / "state.json"};
  const Calendar calendar_;
  test::FakeBlocker blocker_;
  Instant now_ = test::someInstant;
};

}  // namespace
}  // namespace tarnwell::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tarnwell::fuzz::Conversation conversation;
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  for (const auto line : tarnwell::split(input, '\n')) conversation.say(line);
  return 0;
}
