// A server over a scratch data directory.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tarnwell/agent/data_directory.h"
#include "tarnwell/json/json_encode.h"
#include "tarnwell/mcp/plan.h"
#include "tarnwell/mcp/server.h"
#include "tarnwell/store/local_store.h"

#include "tests/support/builders.h"
#include "tests/support/json.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell::mcp {

class ServedPlan {
 public:
  // Returns the lines that answer one line.
  std::vector<std::string> send(std::string_view line) {
    lines_.clear();
    server.receive({.text = std::string(line)});
    return std::exchange(lines_, {});
  }

  // Returns the notifications that are due.
  std::vector<std::string> notifications() {
    lines_.clear();
    server.sendNotifications();
    return std::exchange(lines_, {});
  }

  // Returns the one answer to a request. `params` is JSON text, or empty.
  JSONValue ask(std::string_view method, std::string_view params = {}) {
    std::string line = R"({"jsonrpc":"2.0","id":1,"method":")" + std::string(method) + '"';
    if (!params.empty()) line += R"(,"params":)" + std::string(params);
    const auto answers = send(line + "}");
    return answers.size() == 1 ? test::parseJSON(answers.front()) : JSONValue();
  }

  JSONValue result(std::string_view method, std::string_view params = {}) {
    return test::member(ask(method, params), "result");
  }

  // Returns the code of the error that answers a request.
  std::int64_t error(std::string_view method, std::string_view params = {}) {
    return test::member(test::member(ask(method, params), "error"), "code").integer().value_or(0);
  }

  // Returns the text that a model reads: the result of a tool, or its refusal.
  std::string call(std::string_view tool, std::string_view arguments = "{}") {
    const JSONValue answer =
        result("tools/call", R"({"name":")" + std::string(tool) + R"(","arguments":)" +
                                 std::string(arguments) + "}");
    const JSONValue content = test::member(answer, "content");
    const auto* const blocks = std::get_if<JSONValue::Array>(&content.variant());
    return blocks == nullptr ? "no result" : *test::member(blocks->front(), "text").string();
  }

  // Returns a member of a tool's result or refusal as JSON text.
  std::string memberOf(std::string_view tool, std::string_view arguments, std::string_view name) {
    const JSONValue answer = test::parseJSON(call(tool, arguments));
    return encodeJSON(test::member(answer, name), JSONLayout::compact);
  }

  std::string code(std::string_view tool, std::string_view arguments) {
    const JSONValue code = test::member(test::parseJSON(call(tool, arguments)), "code");
    return code.isNull() ? "success" : *code.string();
  }

  std::string message(std::string_view tool, std::string_view arguments) {
    return *test::member(test::parseJSON(call(tool, arguments)), "message").string();
  }

  test::ScratchFolder folder;
  DataDirectory directory{folder / "Tarnwell"};
  LocalStore localStore{directory.dataFile()};
  Plan plan{[this] { return directory; }};

 private:
  std::vector<std::string> lines_;

 public:
  Server server{plan, "1.2.3", [this](std::string_view line) { lines_.emplace_back(line); }};
};

}  // namespace tarnwell::mcp
