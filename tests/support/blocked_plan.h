// A stored plan with one task that blocks one website, on a private system.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "tarnwell/store/local_store.h"

#include "tests/support/builders.h"
#include "tests/support/private_system.h"

namespace tarnwell::test {

inline constexpr std::string_view othersEntries = "127.0.0.1\tlocalhost\n";
inline constexpr std::string_view managedBlock =
    "# BEGIN TARNWELL MANAGED BLOCK\n"
    "127.0.0.1 example.com\n"
    "127.0.0.1 www.example.com\n"
    "# END TARNWELL MANAGED BLOCK\n";

class BlockedPlan {
 public:
  explicit BlockedPlan(Prompt prompt = Prompt::polkit) : system(prompt) {
    task.blockingGroupID = group.id;
    save();
    writeFile(system.hosts(), othersEntries);
  }

  void save() const {
    PersistedState state;
    state.groups = {group};
    state.tasks = {task};
    system.plan().save(state);
  }

  static std::string request(std::string_view command, std::int64_t revision,
                             std::string_view payload) {
    return R"({"version":1,"command":")" + std::string(command) + R"(","expectedRevision":)" +
           std::to_string(revision) + R"(,"payload":)" + std::string(payload) + "}";
  }
  std::string startRequest(std::int64_t revision = 0) const {
    return request("tasks.start", revision, R"({"task_id":")" + task.id.text() + R"("})");
  }

  AgentResponseEnvelope ask(std::string_view command, std::int64_t revision,
                            std::string_view payload = "{}") const {
    return system.ask(request(command, revision, payload));
  }
  AgentResponseEnvelope start(std::int64_t revision = 0) const {
    return system.ask(startRequest(revision));
  }

  std::string hosts() const { return contentOf(system.hosts()); }
  PersistedState state() const { return system.plan().load(); }
  TaskStatus status() const { return state().tasks.at(0).status; }
  std::vector<std::string> trail() const {
    std::vector<std::string> actions;
    for (const auto& event : state().auditEvents) actions.push_back(*event.action);
    return actions;
  }

  PrivateSystem system;
  FocusTask task = makeTask("Blocked");
  DomainGroup group{.name = "Reading", .rules = {{.domain = "example.com"}}};
};

}  // namespace tarnwell::test
