#include "tarnwell/mcp/tools.h"

#include <set>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/json.h"

namespace tarnwell::mcp {
namespace {

using test::member;

std::string text(const JSONValue& value) { return encodeJSON(value, JSONLayout::compact); }

TEST(Tools, standInTheOrderOfADay) {
  std::vector<std::string_view> names;
  for (const Tool& tool : allTools()) names.push_back(tool.name);
  EXPECT_THAT(names, testing::ElementsAre("get_day", "list_tasks", "get_task", "get_review",
                                          "list_proposals", "list_changes", "create_task",
                                          "update_task", "start_task", "pause_task", "skip_task",
                                          "resume_task", "complete_task", "generate_proposals"));
}

TEST(Tools, saySomethingOfEachArgumentAndBoundIt) {
  const std::set<std::string> bounds = {"enum", "maximum", "maxLength", "pattern"};
  for (const Tool& tool : allTools()) {
    const JSONValue schema = member(describe(tool), "inputSchema");
    EXPECT_EQ(text(member(schema, "type")), R"("object")");
    EXPECT_EQ(text(member(schema, "additionalProperties")), "false");
    const JSONValue properties = member(schema, "properties");
    for (const auto& [name, property] : std::get<JSONValue::Object>(properties.variant())) {
      EXPECT_GT(member(property, "description").string()->size(), 10U) << tool.name << name;
      const auto& members = std::get<JSONValue::Object>(property.variant());
      EXPECT_TRUE(std::any_of(members.begin(), members.end(),
                              [&](const auto& each) { return bounds.contains(each.first); }))
          << tool.name << name;
    }
  }
}

TEST(Tools, hintAtTheirEffects) {
  const auto hints = [](std::string_view name) {
    return text(member(describe(*findTool(name)), "annotations"));
  };
  const auto expected = [](bool isDestructive, bool isIdempotent, bool isReadOnly) {
    return text(JSONValue::Object{{"destructiveHint", isDestructive},
                                  {"idempotentHint", isIdempotent},
                                  {"openWorldHint", false},
                                  {"readOnlyHint", isReadOnly}});
  };
  for (const char* const tool :
       {"get_day", "list_tasks", "get_task", "get_review", "list_proposals", "list_changes"}) {
    EXPECT_EQ(hints(tool), expected(false, true, true));
  }
  for (const char* const tool :
       {"create_task", "start_task", "pause_task", "skip_task", "resume_task"}) {
    EXPECT_EQ(hints(tool), expected(false, false, false));
  }
  EXPECT_EQ(hints("update_task"), expected(true, true, false));
  EXPECT_EQ(hints("complete_task"), expected(true, false, false));
  EXPECT_EQ(hints("generate_proposals"), expected(true, false, false));
}

TEST(Tools, describeTheirResultsByTheFieldsOfTheRecord) {
  EXPECT_EQ(text(member(describe(*findTool("list_changes")), "outputSchema")),
            R"({"additionalProperties":false,"properties":{"changes":{"items":)"
            R"({"additionalProperties":false,"properties":{"action":{"type":"string"},)"
            R"("at":{"type":"string"},"source":{"enum":["user","app","agent"],"type":"string"},)"
            R"("task_id":{"type":"string"},"title":{"type":"string"}},)"
            R"("required":["action","at","source"],"type":"object"},"type":"array"},)"
            R"("revision":{"type":"integer"}},"required":["changes","revision"],"type":"object"})");
}

TEST(Tools, areFoundByTheirExactNames) {
  EXPECT_EQ(findTool("Get_Day"), nullptr);
  EXPECT_EQ(findTool(""), nullptr);
  EXPECT_EQ(findTool("get_day")->title, "Get a day");
}

}  // namespace
}  // namespace tarnwell::mcp
