// The stream of an assistant's client on a small plan: every request gets one answer, every answer
// is one JSON object on one line, and the plan stays whole. No task of the plan blocks websites, so
// nothing needs the administrator.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "fuzz/records.h"
#include "fuzz/require.h"

#include "tarnwell/agent/data_directory.h"
#include "tarnwell/json/json_encode.h"
#include "tarnwell/json/json_error.h"
#include "tarnwell/mcp/line_buffer.h"
#include "tarnwell/mcp/plan.h"
#include "tarnwell/mcp/rpc.h"
#include "tarnwell/mcp/server.h"
#include "tarnwell/store/local_store.h"
#include "tarnwell/store/persisted_state_json.h"

#include "tests/support/builders.h"
#include "tests/support/json.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell::fuzz {
namespace {

using mcp::Line;
using mcp::RPCError;
using mcp::RPCMessage;

PersistedState smallPlan() {
  PersistedState plan = PersistedState::initial();
  plan.revision = 3;
  plan.tasks = {task('1', TaskStatus::pending), task('2', TaskStatus::paused),
                task('3', TaskStatus::completed), task('4', TaskStatus::archived),
                task('5', TaskStatus::pending)};
  plan.tasks[4].reminder = TaskReminder{};
  plan.tasks[4].skipCount = 4;
  return plan;
}

class Connection {
 public:
  Connection() {
    static const std::string plan = encodePersistedState(smallPlan());
    std::filesystem::remove_all(directory_.path / "State Backups");
    test::writeFile(directory_.dataFile(), plan);
  }

  void receive(Line line) {
    const bool isBlank =
        !line.isTooLong && line.text.find_first_not_of(" \t\r") == std::string::npos;
    const auto id = idOf(line);
    const bool mayBeNotification = isNotification(line);
    const std::int64_t revision = localStore_.load().revision;
    answers_.clear();
    server_.receive(std::move(line));
    if (isBlank || mayBeNotification) {
      require(answers_.empty(), "blank lines and notifications get no answer");
    } else {
      require(answers_.size() == 1, "every other line gets one answer");
      check(answers_.front(), id);
    }
    server_.sendNotifications();
    const std::int64_t after = localStore_.load().revision;
    require(after == revision || after == revision + 1, "a request is at most one change");
  }

 private:
  static const test::ScratchFolder& folder() {
    static const test::ScratchFolder folder;
    return folder;
  }

  static std::optional<std::string> idOf(const Line& line) {
    try {
      const RPCMessage message(line.text);
      return message.id() ? std::optional(message.id()->json) : std::nullopt;
    } catch (const RPCError&) {
      return std::nullopt;
    }
  }

  static bool isNotification(const Line& line) {
    try {
      return !RPCMessage(line.text).id();
    } catch (const RPCError&) {
      return false;
    }
  }

  static void check(const std::string& answer, const std::optional<std::string>& id) {
    require(answer.find('\n') == std::string::npos, "an answer is one line");
    const JSONValue value = test::parseJSON(answer);
    if (!test::member(value, "method").isNull()) return;  // a subscription is acknowledged
    const bool hasID = answer.find("\"id\":" + id.value_or("null") + ",") != std::string::npos;
    require(hasID, "an answer has the request's id, or null where there is none");
    const JSONValue result = test::member(value, "result");
    const JSONValue error = test::member(value, "error");
    require(result.isNull() != error.isNull(), "an answer is a result or an error");
    if (!result.isNull()) checkContent(result);
  }

  static void checkContent(const JSONValue& result) {
    const JSONValue content = test::member(result, "content");
    if (content.isNull()) return;
    const auto& blocks = std::get<JSONValue::Array>(content.variant());
    require(blocks.size() == 1, "a tool answers with one block");
    const JSONValue text = test::parseJSON(*test::member(blocks.front(), "text").string());
    const JSONValue structured = test::member(result, "structuredContent");
    const bool isError = std::get<bool>(test::member(result, "isError").variant());
    require(
        isError ? structured.isNull() && !test::member(text, "code").isNull() : structured == text,
        "a result says the same twice, a refusal has a code");
  }

  const DataDirectory directory_{folder() / "Tarnwell"};
  const LocalStore localStore_{directory_.dataFile()};
  mcp::Plan plan_{[this] { return directory_; }};
  std::vector<std::string> answers_;
  mcp::Server server_{plan_, "0", [this](std::string_view line) { answers_.emplace_back(line); }};
};

}  // namespace
}  // namespace tarnwell::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t largestPiece = 64;
  tarnwell::fuzz::Connection connection;
  tarnwell::mcp::LineBuffer lines;
  std::string_view rest(reinterpret_cast<const char*>(data), size);
  const std::size_t pieceSize = size == 0 ? 1 : 1 + data[0] % largestPiece;
  while (!rest.empty()) {
    lines.append(rest.substr(0, pieceSize));
    rest.remove_prefix(std::min(pieceSize, rest.size()));
    while (auto line = lines.next()) connection.receive(std::move(*line));
  }
  if (auto line = lines.last()) connection.receive(std::move(*line));
  return 0;
}
