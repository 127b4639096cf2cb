// A whole day with the real program, and its audit trail.
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/store/local_store.h"

#include "tests/support/json.h"
#include "tests/support/tool.h"

namespace tarnwell {
namespace {

using test::member;

class DayEndToEnd : public testing::Test {
 protected:
  // Runs a changing command on the current revision, and returns the result.
  JSONValue change(const std::string& command, const std::string& payload = "{}") {
    const auto reply =
        tool.ask(R"({"version":1,"command":")" + command + R"(","expectedRevision":)" +
                 std::to_string(revision) + R"(,"payload":)" + payload + "}");
    EXPECT_TRUE(reply.ok) << command;
    EXPECT_EQ(reply.revision, ++revision);
    return reply.result.value_or(JSONValue());
  }

  JSONValue read(const std::string& command) {
    const auto reply = tool.ask(R"({"version":1,"command":")" + command + "\"}");
    EXPECT_TRUE(reply.ok) << command;
    EXPECT_EQ(reply.revision, revision);
    return *reply.result;
  }

  std::string create(const std::string& title) {
    const auto task =
        change("tasks.create", R"({"title":")" + title + R"(","estimated_minutes":30})");
    return *member(task, "id").string();
  }

  static std::string withID(const std::string& id) { return R"({"task_id":")" + id + "\"}"; }

  test::Tool tool;
  std::int64_t revision = 0;
};

TEST_F(DayEndToEnd, leavesExactlyTheTrailOfWhatWasDone) {
  std::vector<std::string> ids;
  for (const auto* title : {"One", "Two", "Three", "Four", "Five"}) ids.push_back(create(title));

  change("tasks.start", withID(ids[0]));
  change("tasks.pause");
  change("tasks.resume");
  change("tasks.skip");
  change("tasks.start", withID(ids[1]));
  change("tasks.complete");

  const auto review = read("review.get");
  EXPECT_EQ(member(review, "completedTaskIDs"), JSONValue(JSONValue::Array{ids[1]}));
  EXPECT_EQ(member(review, "plannedTaskCount"), JSONValue(0.0));

  change("tasks.start", withID(ids[0]));
  change("tasks.skip");
  const auto proposals = change("proposals.generate");
  EXPECT_EQ(read("proposals.list"), proposals);
  const auto& proposal = std::get<JSONValue::Array>(proposals.variant()).at(0);
  EXPECT_EQ(member(proposal, "kind"), JSONValue("reschedule"));
  EXPECT_EQ(member(proposal, "taskID"), JSONValue(ids[0]));

  const auto refused = tool.ask(
      R"({"version":1,"command":"proposals.approve","userApproval":true,"expectedRevision":)" +
      std::to_string(revision) + R"(,"payload":{"proposal_id":")" +
      *member(proposal, "id").string() + "\"}}");
  EXPECT_EQ(refused.error->code, "user_approval_required");

  const auto tasks = read("tasks.list");
  std::vector<std::string> statuses;
  for (const auto& task : std::get<JSONValue::Array>(tasks.variant())) {
    statuses.push_back(*member(task, "status").string());
  }
  EXPECT_THAT(statuses,
              testing::ElementsAre("pending", "completed", "pending", "pending", "pending"));

  struct Event {
    std::string action;
    std::string source;
    std::string taskID;
    bool operator==(const Event&) const = default;
  };
  std::vector<Event> trail;
  for (const auto& event : LocalStore(tool.dataFile()).load().auditEvents) {
    trail.push_back({*event.action, std::string(textOf(*event.source)),
                     event.taskID ? event.taskID->text() : ""});
  }
  const std::vector<Event> expected = {
      {"task.create", "agent", ids[0]}, {"task.create", "agent", ids[1]},
      {"task.create", "agent", ids[2]}, {"task.create", "agent", ids[3]},
      {"task.create", "agent", ids[4]}, {"task.start", "app", ids[0]},
      {"task.pause", "app", ids[0]},    {"task.start", "app", ids[0]},
      {"task.skip", "app", ids[0]},     {"task.start", "app", ids[1]},
      {"task.complete", "app", ids[1]}, {"task.start", "app", ids[0]},
      {"task.skip", "app", ids[0]},     {"proposals.generate", "agent", ""}};
  EXPECT_EQ(trail, expected);
}

TEST_F(DayEndToEnd, sessionRepliesHaveOnlyTheRevision) {
  const std::string id = create("One");
  const auto result = tool.run(
      R"({"version":1,"command":"tasks.start","expectedRevision":1,"payload":)" + withID(id) + "}");
  EXPECT_EQ(result.output, R"({"ok":true,"revision":2,"version":1})"
                           "\n");
}

TEST_F(DayEndToEnd, refusedCommandsLeaveNoTraceInAFreshHome) {
  for (const auto* command :
       {R"({"version":1,"command":"tasks.pause","expectedRevision":0})",
        R"({"version":1,"command":"tasks.resume","expectedRevision":0})",
        R"({"version":1,"command":"tasks.skip"})",
        R"({"version":1,"command":"tasks.complete","expectedRevision":0})",
        R"({"version":1,"command":"tasks.start"})", R"({"version":1,"command":"review.get"})",
        R"({"version":1,"command":"proposals.list"})",
        R"({"version":1,"command":"proposals.approve","userApproval":true})",
        R"({"version":1,"command":"proposals.dismiss","userApproval":true})",
        R"({"version":1,"command":"proposals.generate"})"}) {
    tool.ask(command);
    EXPECT_TRUE(test::treeOf(tool.home()).empty()) << command;
  }
}

}  // namespace
}  // namespace tarnwell
