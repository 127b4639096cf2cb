#include "tarnwell/mcp/server.h"

#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/mcp/served_plan.h"

namespace tarnwell::mcp {
namespace {

using test::member;
using test::parseJSON;
using test::writeFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr std::string_view modern =
    R"("_meta":{"io.modelcontextprotocol/protocolVersion":"2026-07-28",)"
    R"("io.modelcontextprotocol/clientCapabilities":{}})";

std::string modernParams(const std::string& others = {}) {
  return "{" + std::string(modern) + (others.empty() ? "" : "," + others) + "}";
}

std::string text(const JSONValue& value) { return encodeJSON(value, JSONLayout::compact); }

class ServerTest : public testing::Test, public ServedPlan {};

TEST_F(ServerTest, answersAHandshakeWithTheVersionAskedFor) {
  for (const std::string version : {"2025-11-25", "2025-06-18", "2025-03-26", "2024-11-05"}) {
    const auto answer = result("initialize", R"({"protocolVersion":")" + version + R"("})");
    EXPECT_EQ(*member(answer, "protocolVersion").string(), version);
  }
}

TEST_F(ServerTest, answersAHandshakeOfAnUnknownVersionWithTheNewestLegacyOne) {
  for (const std::string version : {"2026-07-28", "2023-01-01", "", "x"}) {
    const auto answer = result("initialize", R"({"protocolVersion":")" + version + R"("})");
    EXPECT_EQ(*member(answer, "protocolVersion").string(), "2025-11-25");
  }
}

TEST_F(ServerTest, introducesItselfInAHandshake) {
  const auto answer = result("initialize", R"({"protocolVersion":"2025-06-18"})");
  EXPECT_EQ(text(member(answer, "serverInfo")),
            R"({"name":"tarnwell-mcp","title":"Tarnwell","version":"1.2.3"})");
  EXPECT_EQ(text(member(answer, "capabilities")),
            R"({"prompts":{},"resources":{"subscribe":true},"tools":{}})");
  EXPECT_THAT(*member(answer, "instructions").string(), HasSubstr("revision"));
  EXPECT_TRUE(member(answer, "resultType").isNull());
}

TEST_F(ServerTest, refusesAHandshakeWithoutAVersion) {
  EXPECT_EQ(error("initialize"), -32602);
  EXPECT_EQ(error("initialize", R"({"protocolVersion":7})"), -32602);
}

TEST_F(ServerTest, answersAPing) { EXPECT_EQ(text(result("ping")), "{}"); }

TEST_F(ServerTest, answersADiscoveryWithAndWithoutMetadata) {
  for (const std::string& params : {std::string(), std::string("{}"), modernParams()}) {
    const auto answer = result("server/discover", params);
    EXPECT_EQ(text(member(answer, "supportedVersions")), R"(["2026-07-28"])");
    EXPECT_EQ(*member(answer, "resultType").string(), "complete");
    EXPECT_FALSE(member(answer, "ttlMs").isNull());
    EXPECT_EQ(*member(answer, "cacheScope").string(), "public");
    const auto info = member(member(answer, "_meta"), "io.modelcontextprotocol/serverInfo");
    EXPECT_EQ(*member(info, "name").string(), "tarnwell-mcp");
  }
}

TEST_F(ServerTest, servesEachRequestByTheRulesOfItsOwnEra) {
  EXPECT_TRUE(member(result("tools/list"), "resultType").isNull());
  EXPECT_EQ(*member(result("tools/list", modernParams()), "resultType").string(), "complete");
  EXPECT_TRUE(member(result("tools/list", R"({"_meta":{"progressToken":1}})"), "ttlMs").isNull());
}

TEST_F(ServerTest, knowsTheMethodsOfAnEraInThatEraAlone) {
  for (const char* const method :
       {"initialize", "ping", "resources/subscribe", "resources/unsubscribe", "logging/setLevel"}) {
    EXPECT_EQ(error(method, modernParams(R"("uri":"tarnwell://day/today")")), -32601) << method;
  }
  for (const char* const method : {"subscriptions/listen", "tasks/list", "Tools/List", ""}) {
    EXPECT_EQ(error(method), -32601) << method;
  }
}

TEST_F(ServerTest, refusesMetadataThatNoRequestMayCarry) {
  for (const char* const metadata :
       {R"([])", R"("text")", R"({"io.modelcontextprotocol/protocolVersion":"2026-07-28"})",
        R"({"io.modelcontextprotocol/protocolVersion":7,)"
        R"("io.modelcontextprotocol/clientCapabilities":{}})",
        R"({"io.modelcontextprotocol/protocolVersion":"2026-07-28",)"
        R"("io.modelcontextprotocol/clientCapabilities":[]})"}) {
    EXPECT_EQ(error("tools/list", R"({"_meta":)" + std::string(metadata) + "}"), -32602)
        << metadata;
  }
}

TEST_F(ServerTest, namesItsVersionToAClientOfAnother) {
  const auto answer = ask("tools/list", R"({"_meta":{)"
                                        R"("io.modelcontextprotocol/protocolVersion":"2027-01-01",)"
                                        R"("io.modelcontextprotocol/clientCapabilities":{}}})");
  EXPECT_EQ(text(member(answer, "error")),
            R"({"code":-32022,"data":{"requested":"2027-01-01","supported":["2026-07-28"]},)"
            R"("message":"Unsupported protocol version"})");
}

TEST_F(ServerTest, neverAnswersANotification) {
  for (const char* const line :
       {R"({"jsonrpc":"2.0","method":"notifications/initialized"})",
        R"({"jsonrpc":"2.0","method":"notifications/cancelled","params":{"requestId":1}})",
        R"({"jsonrpc":"2.0","method":"notifications/cancelled","params":{"requestId":null}})",
        R"({"jsonrpc":"2.0","method":"notifications/cancelled","params":[]})",
        R"({"jsonrpc":"2.0","method":"notifications/cancelled"})",
        R"({"jsonrpc":"2.0","method":"tools/list"})", R"({"jsonrpc":"2.0","method":"unknown"})"}) {
    EXPECT_THAT(send(line), IsEmpty()) << line;
  }
}

TEST_F(ServerTest, ignoresBlankLines) {
  for (const char* const line : {"", " ", "\t \r"}) EXPECT_THAT(send(line), IsEmpty());
}

TEST_F(ServerTest, answersALineThatIsTooLongAndGoesOn) {
  std::vector<std::string> lines;
  Server another(plan, "1", [&](std::string_view line) { lines.emplace_back(line); });
  another.receive({.isTooLong = true});
  ASSERT_THAT(lines, SizeIs(1));
  EXPECT_THAT(lines.front(), HasSubstr(R"("id":null,"error":{"code":-32600)"));
}

TEST_F(ServerTest, givesNoIdentifierBackForALineThatIsNoRequest) {
  EXPECT_THAT(send(R"({"jsonrpc":"2.0","id":5})"),
              ElementsAre(HasSubstr(R"("id":null,"error":{"code":-32600)")));
  EXPECT_THAT(send(R"({"jsonrpc":"2.0","id":5,)"),
              ElementsAre(HasSubstr(R"("id":null,"error":{"code":-32700)")));
  EXPECT_THAT(send(R"([{"jsonrpc":"2.0","id":5,"method":"ping"}])"),
              ElementsAre(HasSubstr(R"("id":null,"error":{"code":-32600)")));
}

TEST_F(ServerTest, answersRepeatedIdentifiersEachTime) {
  for (int i = 0; i < 2; ++i) {
    EXPECT_THAT(send(R"({"jsonrpc":"2.0","id":"same","method":"ping"})"),
                ElementsAre(R"({"jsonrpc":"2.0","id":"same","result":{}})"));
  }
}

TEST_F(ServerTest, refusesACursorThatItDidNotGive) {
  for (const char* const method :
       {"tools/list", "resources/list", "resources/templates/list", "prompts/list"}) {
    EXPECT_EQ(error(method, R"({"cursor":"next"})"), -32602) << method;
  }
}

TEST_F(ServerTest, refusesACallOfNoTool) {
  EXPECT_EQ(error("tools/call"), -32602);
  EXPECT_EQ(error("tools/call", R"({"name":7})"), -32602);
  EXPECT_EQ(error("tools/call", R"({"name":"approve_proposal"})"), -32602);
  EXPECT_EQ(error("tools/call", R"({"name":"get_day","arguments":[]})"), -32602);
  EXPECT_EQ(error("tools/call", R"({"name":"get_day","arguments":null})"), -32602);
}

TEST_F(ServerTest, callsAToolWithoutArguments) {
  EXPECT_EQ(text(member(result("tools/call", R"({"name":"get_day"})"), "isError")), "false");
}

TEST_F(ServerTest, givesAResultTwiceAndARefusalOnce) {
  const auto success = result("tools/call", R"({"name":"get_day"})");
  EXPECT_EQ(text(member(success, "structuredContent")), call("get_day"));
  const auto refusal = result("tools/call", R"({"name":"pause_task","arguments":{"revision":0}})");
  EXPECT_EQ(text(member(refusal, "isError")), "true");
  EXPECT_TRUE(member(refusal, "structuredContent").isNull());
}

TEST_F(ServerTest, listsAndGivesPrompts) {
  EXPECT_THAT(text(result("prompts/list")), HasSubstr(R"("name":"plan_my_day")"));
  const auto prompt = text(result("prompts/get", R"({"name":"weekly_review"})"));
  EXPECT_THAT(prompt, HasSubstr(R"("role":"user")"));
  EXPECT_THAT(prompt, HasSubstr("get_review"));
  EXPECT_EQ(error("prompts/get", R"({"name":"none"})"), -32602);
  EXPECT_EQ(error("prompts/get", R"({"name":"weekly_review","arguments":[]})"), -32602);
}

TEST_F(ServerTest, readsTheResources) {
  const FocusTask task = test::makeTask("Call Ada");
  localStore.save({.tasks = {task}});
  const auto contentOf = [&](const std::string& uri) {
    const auto answer = result("resources/read", R"({"uri":")" + uri + R"("})");
    const auto contents = std::get<JSONValue::Array>(member(answer, "contents").variant());
    EXPECT_EQ(*member(contents.front(), "uri").string(), uri);
    EXPECT_EQ(*member(contents.front(), "mimeType").string(), "application/json");
    return *member(contents.front(), "text").string();
  };
  EXPECT_EQ(contentOf("tarnwell://review/this-week"), call("get_review"));
  EXPECT_EQ(contentOf("tarnwell://day/today"), call("get_day"));
  const std::string id = task.id.text();
  EXPECT_EQ(contentOf("tarnwell://tasks/" + id),
            call("get_task", R"({"task_id":")" + id + R"("})"));
}

TEST_F(ServerTest, letsNoClientCacheAResource) {
  const auto answer = result("resources/read", modernParams(R"("uri":"tarnwell://day/today")"));
  EXPECT_EQ(text(member(answer, "ttlMs")), "0");
  EXPECT_EQ(*member(answer, "cacheScope").string(), "private");
}

TEST_F(ServerTest, refusesAResourceThatDoesNotExistInTheMannerOfTheEra) {
  for (const std::string uri :
       {"tarnwell://day/tomorrow", "tarnwell://tasks/x", "file:///etc/hosts",
        "tarnwell://tasks/00000000-0000-4000-8000-000000000001"}) {
    EXPECT_EQ(error("resources/read", R"({"uri":")" + uri + R"("})"), -32002) << uri;
    EXPECT_EQ(error("resources/read", modernParams(R"("uri":")" + uri + '"')), -32602) << uri;
  }
  EXPECT_EQ(error("resources/read"), -32602);
}

class SubscriptionsTest : public ServerTest {
 protected:
  SubscriptionsTest() { localStore.save(state); }

  void changeTask(std::size_t index) {
    state.tasks[index].title += "!";
    localStore.save(state);
  }

  std::string uriOf(std::size_t index) const {
    return "tarnwell://tasks/" + state.tasks[index].id.text();
  }

  std::vector<std::string> listen(const std::string& id, const std::string& filter) {
    return send(R"({"jsonrpc":"2.0","id":)" + id + R"(,"method":"subscriptions/listen","params":)" +
                modernParams(R"("notifications":)" + filter) + "}");
  }

  PersistedState state{.tasks = {test::makeTask("One"), test::makeTask("Two")}};
};

TEST_F(SubscriptionsTest, areToldOfEachChangeInTheLegacyEra) {
  EXPECT_EQ(text(result("resources/subscribe", R"({"uri":"tarnwell://day/today"})")), "{}");
  EXPECT_THAT(notifications(), IsEmpty());
  changeTask(0);
  EXPECT_THAT(notifications(),
              ElementsAre(R"({"jsonrpc":"2.0","method":"notifications/resources/updated",)"
                          R"("params":{"uri":"tarnwell://day/today"}})"));
  EXPECT_THAT(notifications(), IsEmpty());
  EXPECT_EQ(text(result("resources/unsubscribe", R"({"uri":"tarnwell://day/today"})")), "{}");
  changeTask(0);
  EXPECT_THAT(notifications(), IsEmpty());
}

TEST_F(SubscriptionsTest, areToldOfATaskOnlyWhenItHasChanged) {
  result("resources/subscribe", R"({"uri":")" + uriOf(0) + R"("})");
  changeTask(1);
  EXPECT_THAT(notifications(), IsEmpty());
  changeTask(0);
  EXPECT_THAT(notifications(), ElementsAre(HasSubstr(uriOf(0))));
  state.tasks.erase(state.tasks.begin());
  localStore.save(state);
  EXPECT_THAT(notifications(), SizeIs(1));
}

TEST_F(SubscriptionsTest, areToldOfTheServersOwnChanges) {
  result("resources/subscribe", R"({"uri":"tarnwell://review/this-week"})");
  call("create_task", R"({"revision":0,"title":"Three"})");
  EXPECT_THAT(notifications(), SizeIs(1));
}

TEST_F(SubscriptionsTest, refuseResourcesThatDoNotExist) {
  EXPECT_EQ(error("resources/subscribe", R"({"uri":"tarnwell://nothing"})"), -32002);
  EXPECT_EQ(error("resources/subscribe"), -32602);
}

TEST_F(SubscriptionsTest, areStreamsInTheModernEra) {
  const auto acknowledged =
      listen("\"s\"", R"({"resourceSubscriptions":["tarnwell://day/today","tarnwell://nothing"],)"
                      R"("toolsListChanged":true})");
  EXPECT_THAT(
      acknowledged,
      ElementsAre(R"({"jsonrpc":"2.0","method":"notifications/subscriptions/acknowledged",)"
                  R"("params":{"_meta":{"io.modelcontextprotocol/subscriptionId":"s"},)"
                  R"("notifications":{"resourceSubscriptions":["tarnwell://day/today"]}}})"));
  changeTask(0);
  EXPECT_THAT(notifications(),
              ElementsAre(R"({"jsonrpc":"2.0","method":"notifications/resources/updated",)"
                          R"("params":{"_meta":{"io.modelcontextprotocol/subscriptionId":"s"},)"
                          R"("uri":"tarnwell://day/today"}})"));
}

TEST_F(SubscriptionsTest, endWhenTheirRequestIsCancelled) {
  listen("12345678901234567890", R"({"resourceSubscriptions":["tarnwell://day/today"]})");
  listen("2", R"({"resourceSubscriptions":["tarnwell://day/today"]})");
  send(R"({"jsonrpc":"2.0","method":"notifications/cancelled",)"
       R"("params":{"requestId":12345678901234567890}})");
  changeTask(0);
  EXPECT_THAT(notifications(),
              ElementsAre(HasSubstr(R"("io.modelcontextprotocol/subscriptionId":2)")));
  send(R"({"jsonrpc":"2.0","method":"notifications/cancelled","params":{"requestId":2}})");
  EXPECT_FALSE(server.watchedDescriptor());
}

TEST_F(SubscriptionsTest, refuseTheIdentifierOfAStreamThatIsOpen) {
  EXPECT_THAT(listen("1", "{}"), ElementsAre(HasSubstr("acknowledged")));
  EXPECT_THAT(listen("1", "{}"), ElementsAre(HasSubstr("-32602")));
}

TEST_F(SubscriptionsTest, refuseAnInvalidFilter) {
  for (const char* const filter :
       {"[]", "null", R"({"resourceSubscriptions":7})", R"({"resourceSubscriptions":[7]})"}) {
    EXPECT_THAT(listen("1", filter), ElementsAre(HasSubstr("-32602"))) << filter;
  }
  EXPECT_EQ(error("subscriptions/listen", modernParams()), -32602);
}

TEST_F(SubscriptionsTest, outliveAFileThatCannotBeRead) {
  result("resources/subscribe", R"({"uri":"tarnwell://day/today"})");
  result("resources/subscribe", R"({"uri":")" + uriOf(0) + R"("})");
  writeFile(directory.dataFile(), "{");
  EXPECT_THAT(notifications(), ElementsAre(HasSubstr("tarnwell://day/today")));
  changeTask(0);
  EXPECT_THAT(notifications(), SizeIs(2));
}

TEST(ServerWithoutAHome, runsAndSaysWhatIsMissing) {
  std::vector<std::string> lines;
  Plan plan([]() -> DataDirectory { throw Error("There is no home folder."); });
  Server server(plan, "1", [&](std::string_view line) { lines.emplace_back(line); });
  server.receive({.text = R"({"jsonrpc":"2.0","id":1,"method":"tools/list"})"});
  server.receive(
      {.text = R"({"jsonrpc":"2.0","id":2,"method":"tools/call","params":{"name":"get_day"}})"});
  server.receive({.text = R"({"jsonrpc":"2.0","id":3,"method":"resources/subscribe",)"
                          R"("params":{"uri":"tarnwell://day/today"}})"});
  ASSERT_THAT(lines, SizeIs(3));
  EXPECT_THAT(lines[1], HasSubstr("operation_failed"));
  EXPECT_THAT(lines[1], HasSubstr("There is no home folder."));
  EXPECT_THAT(lines[2], HasSubstr("-32603"));
}

}  // namespace
}  // namespace tarnwell::mcp
