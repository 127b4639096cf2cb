#include "tarnwell/agent/envelopes.h"

#include <gtest/gtest.h>

#include "tarnwell/json/json_decode.h"

namespace tarnwell {
namespace {

TEST(AgentCommandEnvelope, hasAnEmptyPayloadNoApprovalAndNoRevisionUnlessGiven) {
  const auto envelope = decodeCommand(R"({"version":1,"command":"tasks.list"})");
  const AgentCommandEnvelope expected{.version = 1, .command = "tasks.list"};
  EXPECT_EQ(envelope, expected);
  EXPECT_FALSE(envelope.userApproval);
  EXPECT_EQ(envelope.expectedRevision, std::nullopt);
  EXPECT_TRUE(envelope.payload.empty());
}

TEST(AgentCommandEnvelope, readsEveryKey) {
  const auto envelope = decodeCommand(
      R"({"version":2,"command":"x","expectedRevision":-9223372036854775808,"userApproval":true,)"
      R"("payload":{"a":1.5,"b":[true,null,{"c":"d"}]},"unknown":{}})");
  const JSONValue::Object payload{{"a", 1.5},
                                  {"b", JSONValue::Array{true, {}, JSONValue::Object{{"c", "d"}}}}};
  const AgentCommandEnvelope expected{.version = 2,
                                      .command = "x",
                                      .expectedRevision = std::numeric_limits<std::int64_t>::min(),
                                      .userApproval = true,
                                      .payload = payload};
  EXPECT_EQ(envelope, expected);
}

TEST(AgentCommandEnvelope, takesTheFirstOfEqualKeys) {
  const auto envelope = decodeCommand(
      R"({"version":1,"version":2,"command":"a","command":"b","payload":{"k":1,"k":2}})");
  EXPECT_EQ(envelope.version, 1);
  EXPECT_EQ(envelope.command, "a");
  EXPECT_EQ(envelope.payload.at("k"), JSONValue(1.0));
}

TEST(AgentCommandEnvelope, isWrittenInTheOrderOfItsFieldsWithAnOptionalRevision) {
  const AgentCommandEnvelope least{.version = 1, .command = "tasks.list"};
  EXPECT_EQ(encodeCommand(least),
            R"({"version":1,"command":"tasks.list","userApproval":false,"payload":{}})");
  const AgentCommandEnvelope most{.version = 1,
                                  .command = "x",
                                  .expectedRevision = 4,
                                  .userApproval = true,
                                  .payload = {{"z", {}}, {"a", 2.0}}};
  EXPECT_EQ(encodeCommand(most),
            R"({"version":1,"command":"x","expectedRevision":4,"userApproval":true,)"
            R"("payload":{"a":2,"z":null}})");
  EXPECT_EQ(decodeCommand(encodeCommand(most)), most);
}

TEST(AgentResponseEnvelope, withoutRevisionAndResultHasTwoKeys) {
  EXPECT_EQ(encodeReply({.version = 1, .ok = true}), R"({"ok":true,"version":1})");
}

TEST(AgentResponseEnvelope, sortsItsKeysAtEveryLevel) {
  const AgentResponseEnvelope reply{
      .version = 1,
      .ok = false,
      .revision = 7,
      .result = JSONValue(JSONValue::Array{JSONValue::Object{{"b", 1.0}, {"B", {}}, {"a", "x"}}}),
      .error = AgentCommandError{.code = "c", .message = "m"}};
  EXPECT_EQ(encodeReply(reply),
            R"({"error":{"code":"c","message":"m"},"ok":false,"result":[{"B":null,"a":"x","b":1}],)"
            R"("revision":7,"version":1})");
}

TEST(AgentResponseEnvelope, isReadBackAsItWasWritten) {
  const AgentResponseEnvelope reply{.version = 1,
                                    .ok = false,
                                    .revision = 9007199254740993,
                                    .result = JSONValue("line\nbreak \"quoted\" é"),
                                    .error = AgentCommandError{.code = "c", .message = "m"}};
  EXPECT_EQ(decodeJSON<AgentResponseEnvelope>(encodeReply(reply)), reply);
}

TEST(AgentCommandError, needsBothItsKeys) {
  EXPECT_THROW(decodeJSON<AgentCommandError>(R"({"code":"c"})"), JSONError);
  EXPECT_THROW(decodeJSON<AgentCommandError>(R"({"message":"m"})"), JSONError);
}

}  // namespace
}  // namespace tarnwell
