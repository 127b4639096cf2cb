// The Model Context Protocol: receives a client's lines and sends the answers. mcp/ is
// tarnwell-mcp, which serves the agent's commands to assistants.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "tarnwell/json/json_value.h"
#include "tarnwell/mcp/era.h"
#include "tarnwell/mcp/line_buffer.h"
#include "tarnwell/mcp/plan.h"
#include "tarnwell/mcp/rpc.h"
#include "tarnwell/mcp/subscriptions.h"
#include "tarnwell/store/plan_watcher.h"

namespace tarnwell::mcp {

// Serves one client. Between requests it keeps the subscriptions and the engines. Belongs to one
// thread.
class Server {
 public:
  using Send = std::function<void(std::string_view line)>;

  // `send` takes each line without its line feed. The plan outlives the server.
  Server(Plan& plan, std::string version, Send send)
      : plan_(plan), version_(std::move(version)), send_(std::move(send)) {}

  // Answers one line, if it calls for an answer.
  void receive(Line line);

  // Returns the descriptor that becomes readable when the plan changes; nothing without
  // subscriptions.
  std::optional<int> watchedDescriptor() const;

  // Sends the notifications that a change of the plan calls for. Never blocks.
  void sendNotifications();

 private:
  struct Request {
    Era era{};
    RequestID id;
    std::optional<JSONElement> params;
    std::string_view paramsSource;
  };

  // How long and for whom a client may cache a result.
  struct Caching {
    double milliseconds;
    const char* scope;
  };

  struct Result {
    JSONValue::Object members{};
    std::optional<std::string> structuredContent{};  // JSON text
    std::optional<Caching> caching{};
  };

  // Returns the result; none where the request stays open. Throws RPCError.
  using Handler = std::optional<Result> (Server::*)(const Request&);
  struct Method {
    std::string_view name;
    bool isLegacy;
    bool isModern;
    Handler handler;
  };
  static const Method* findMethod(std::string_view name);

  void serve(const RPCMessage& message);
  void receiveNotification(const RPCMessage& message);
  std::string encoded(const Request& request, const Result& result) const;
  JSONValue serverInfo() const;

  std::optional<Result> discover(const Request& request);
  std::optional<Result> initialize(const Request& request);
  std::optional<Result> ping(const Request& request);
  std::optional<Result> listTools(const Request& request);
  std::optional<Result> callTool(const Request& request);
  std::optional<Result> listResources(const Request& request);
  std::optional<Result> listResourceTemplates(const Request& request);
  std::optional<Result> readResource(const Request& request);
  std::optional<Result> subscribe(const Request& request);
  std::optional<Result> unsubscribe(const Request& request);
  std::optional<Result> listen(const Request& request);
  std::optional<Result> listPrompts(const Request& request);
  std::optional<Result> getPrompt(const Request& request);

  const LocalStore* findLocalStore();
  void beginToWatch();
  void endToWatch();

  Plan& plan_;
  const std::string version_;
  const Send send_;
  Subscriptions subscriptions_;
  std::optional<PlanWatcher> watcher_;
  std::shared_ptr<const PersistedState> notifiedPlan_;  // as last notified
};

}  // namespace tarnwell::mcp
