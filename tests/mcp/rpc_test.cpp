#include "tarnwell/mcp/rpc.h"

#include <string>

#include <gtest/gtest.h>

#include "tarnwell/mcp/json_source.h"

namespace tarnwell::mcp {
namespace {

std::string withID(const std::string& id) {
  return R"({"jsonrpc":"2.0","method":"ping","id":)" + id + "}";
}

std::string idOf(const std::string& id) { return RPCMessage(withID(id)).id().value().json; }

int codeOf(const std::string& line) {
  try {
    const RPCMessage message(line);
    message.params();
    return 0;
  } catch (const RPCError& error) {
    return static_cast<int>(error.code());
  }
}

TEST(RPCMessage, readsARequest) {
  const RPCMessage message(R"({"jsonrpc":"2.0","id":7,"method":"tools/call","params":{"a":1}})");
  EXPECT_EQ(message.id()->json, "7");
  EXPECT_EQ(message.method(), "tools/call");
  EXPECT_EQ(message.paramsSource(), R"({"a":1})");
}

TEST(RPCMessage, readsANotification) {
  const RPCMessage message(R"({"jsonrpc":"2.0","method":"notifications/initialized"})");
  EXPECT_FALSE(message.id());
  EXPECT_FALSE(message.params());
}

TEST(RPCMessage, keepsTheDigitsOfAnInteger) {
  for (const char* const id : {"0", "-1", "9007199254740993", "9223372036854775807",
                               "123456789012345678901234567890", "-18446744073709551617"}) {
    EXPECT_EQ(idOf(id), id);
  }
}

TEST(RPCMessage, keepsTheTextOfAString) {
  EXPECT_EQ(idOf(R"("")"), R"("")");
  EXPECT_EQ(idOf(R"("7")"), R"("7")");
  EXPECT_EQ(idOf(R"("\u0061\n\"")"), R"("a\n\"")");
  EXPECT_EQ(idOf("\"\xF0\x9F\x98\x80\""), "\"\xF0\x9F\x98\x80\"");
}

TEST(RPCMessage, refusesAnIdentifierOfAnyOtherKind) {
  for (const char* const id : {"null", "1.5", "true", "{}", "[1]"}) {
    EXPECT_EQ(codeOf(withID(id)), -32600) << id;
  }
}

TEST(RPCMessage, refusesTextThatIsNoJSON) {
  for (const char* const line : {"{", "nonsense", "{}{}", "\"\xFF\"", R"({"id":"\ud800"})",
                                 "\xEF\xBB\xBF{}", "{\"a\":1e999}"}) {
    EXPECT_EQ(codeOf(line), -32700) << line;
  }
}

TEST(RPCMessage, refusesTextThatNestsTooDeeply) {
  constexpr std::size_t depth = 100'000;
  EXPECT_EQ(codeOf(std::string(depth, '[') + std::string(depth, ']')), -32700);
  EXPECT_EQ(codeOf(std::string(depth, '[')), -32700);
}

TEST(RPCMessage, refusesJSONThatIsNoRequest) {
  for (const char* const line :
       {"1", "null", "\"text\"", "[]", "{}", R"([{"jsonrpc":"2.0","id":1,"method":"ping"}])",
        R"({"id":1,"method":"ping"})", R"({"jsonrpc":"1.0","id":1,"method":"ping"})",
        R"({"jsonrpc":2,"id":1,"method":"ping"})", R"({"jsonrpc":"2.0","id":1})",
        R"({"jsonrpc":"2.0","id":1,"method":7})", R"({"jsonrpc":"2.0","id":1,"result":{}})"}) {
    EXPECT_EQ(codeOf(line), -32600) << line;
  }
}

TEST(RPCMessage, refusesParamsThatAreNoObject) {
  for (const char* const params : {"[]", "1", "null", "\"a\""}) {
    EXPECT_EQ(
        codeOf(R"({"jsonrpc":"2.0","id":1,"method":"ping","params":)" + std::string(params) + "}"),
        -32602)
        << params;
  }
}

TEST(RPCMessage, takesTheFirstOfRepeatedMembers) {
  const RPCMessage message(R"({"jsonrpc":"2.0","id":1,"id":2,"method":"a","method":"b"})");
  EXPECT_EQ(message.id()->json, "1");
  EXPECT_EQ(message.method(), "a");
}

TEST(RPCMessage, allowsWhiteSpaceBetweenItsTokens) {
  const RPCMessage message(
      "  { \"method\" : \"ping\",\"jsonrpc\" : \"2.0\" , \"id\" :\t12345678901234567890 }\r");
  EXPECT_EQ(message.id()->json, "12345678901234567890");
}

TEST(RPCLines, haveTheFormOfTheProtocol) {
  EXPECT_EQ(resultLine({"7"}, "{}"), R"({"jsonrpc":"2.0","id":7,"result":{}})");
  EXPECT_EQ(errorLine(std::nullopt, {RPCErrorCode::parseError, "No \"JSON\"."}),
            R"({"jsonrpc":"2.0","id":null,"error":{"code":-32700,"message":"No \"JSON\"."}})");
  EXPECT_EQ(errorLine(RequestID{"\"a\""}, {RPCErrorCode::invalidParams, "Why", JSONValue(true)}),
            R"({"jsonrpc":"2.0","id":"a","error":{"code":-32602,"message":"Why","data":true}})");
  EXPECT_EQ(notificationLine("notifications/x", "{}"),
            R"({"jsonrpc":"2.0","method":"notifications/x","params":{}})");
}

TEST(MemberSource, findsAMemberAfterValuesOfEveryKind) {
  constexpr std::string_view object =
      R"({"a":[1,{"id":2}],"b":"id\":3}","c":{"id":"]"},"d":null,"e":-1.5e3,"id":42 })";
  EXPECT_EQ(memberSource(object, "id"), "42");
  EXPECT_EQ(memberSource(object, "a"), R"([1,{"id":2}])");
  EXPECT_EQ(memberSource(object, "e"), "-1.5e3");
  EXPECT_EQ(memberSource(object, "none"), std::nullopt);
  EXPECT_EQ(memberSource("{}", "id"), std::nullopt);
}

TEST(MemberSource, readsTheEscapesOfAKey) {
  EXPECT_EQ(memberSource(R"({"\u0069d":1,"id":2})", "id"), "1");
  EXPECT_EQ(memberSource(R"({"\\":1,"\"":2})", "\""), "2");
}

}  // namespace
}  // namespace tarnwell::mcp
