#include "tarnwell/mcp/server.h"

#include <algorithm>
#include <array>
#include <exception>
#include <utility>

#include "tarnwell/json/json_encode.h"

namespace tarnwell::mcp {
namespace {

constexpr std::string_view discoverMethod = "server/discover";

}  // namespace

const Server::Method* Server::findMethod(std::string_view name) {
  static constexpr auto methods = std::to_array<Method>({
      {discoverMethod, false, true, &Server::discover},
      {"initialize", true, false, &Server::initialize},
      {"ping", true, false, &Server::ping},
      {"tools/list", true, true, &Server::listTools},
      {"tools/call", true, true, &Server::callTool},
      {"resources/list", true, true, &Server::listResources},
      {"resources/templates/list", true, true, &Server::listResourceTemplates},
      {"resources/read", true, true, &Server::readResource},
      {"resources/subscribe", true, false, &Server::subscribe},
      {"resources/unsubscribe", true, false, &Server::unsubscribe},
      {"subscriptions/listen", false, true, &Server::listen},
      {"prompts/list", true, true, &Server::listPrompts},
      {"prompts/get", true, true, &Server::getPrompt},
  });
  const auto* const found = std::find_if(methods.begin(), methods.end(),
                                         [&](const Method& method) { return method.name == name; });
  return found == methods.end() ? nullptr : found;
}

void Server::receive(Line line) {
  constexpr std::string_view whiteSpace = " \t\r";
  const bool isBlank = line.text.find_first_not_of(whiteSpace) == std::string::npos;
  if (isBlank && !line.isTooLong) return;
  std::optional<RPCMessage> message;
  try {
    if (line.isTooLong) {
      throw RPCError(RPCErrorCode::invalidRequest, "A line must not exceed 16 MiB.");
    }
    message.emplace(std::move(line.text));
  } catch (const RPCError& error) {
    send_(errorLine(std::nullopt, error));
    return;
  }
  if (message->id()) {
    serve(*message);
  } else {
    receiveNotification(*message);
  }
}

void Server::serve(const RPCMessage& message) {
  std::string answer;
  try {
    const auto params = message.params();
    Era era = eraOf(params);
    if (message.method() == discoverMethod) era = Era::modern;  // also without metadata
    const Method* const method = findMethod(message.method());
    const bool isOfTheEra =
        method != nullptr && (era == Era::modern ? method->isModern : method->isLegacy);
    if (!isOfTheEra) {
      throw RPCError(RPCErrorCode::methodNotFound,
                     "There is no method " + std::string(message.method()) + ".");
    }
    const Request request{.era = era,
                          .id = *message.id(),
                          .params = params,
                          .paramsSource = params ? message.paramsSource() : std::string_view()};
    const auto result = (this->*method->handler)(request);
    if (!result) return;
    answer = encoded(request, *result);
  } catch (const RPCError& error) {
    answer = errorLine(message.id(), error);
  } catch (const std::exception& error) {
    answer = errorLine(message.id(), {RPCErrorCode::internalError, error.what()});
  }
  send_(answer);
}

// Never answers, not even a malformed notification.
void Server::receiveNotification(const RPCMessage& message) {
  if (message.method() != "notifications/cancelled") return;
  try {
    const auto params = message.params();
    if (!params) return;
    const auto id = RequestID::find(*params, message.paramsSource(), "requestId");
    if (id) subscriptions_.close(*id);
    endToWatch();
  } catch (const RPCError&) {
  }
}

std::string Server::encoded(const Request& request, const Result& result) const {
  JSONWriter writer(JSONLayout::compact);
  const auto add = [&](std::string_view name, const JSONValue& value) {
    writer.key(name);
    encode(writer, value);
  };
  writer.beginObject();
  for (const auto& [name, value] : result.members) add(name, value);
  if (result.structuredContent) {
    writer.plainKey("structuredContent");
    writer.written(*result.structuredContent);
  }
  if (request.era == Era::modern) {
    add("resultType", "complete");
    add("_meta", JSONValue::Object{{"io.modelcontextprotocol/serverInfo", serverInfo()}});
    if (result.caching) {
      add("ttlMs", result.caching->milliseconds);
      add("cacheScope", result.caching->scope);
    }
  }
  writer.endObject();
  return resultLine(request.id, writer.take());
}

JSONValue Server::serverInfo() const {
  return JSONValue::Object{{"name", "tarnwell-mcp"}, {"title", "Tarnwell"}, {"version", version_}};
}

const LocalStore* Server::findLocalStore() {
  try {
    return &plan_.localStore();
  } catch (const Error&) {
    return nullptr;
  }
}

void Server::beginToWatch() {
  if (watcher_) return;
  const LocalStore& localStore = plan_.localStore();
  watcher_.emplace(localStore.url());
  try {
    notifiedPlan_ = localStore.loadShared();
  } catch (const LocalStoreError&) {
    notifiedPlan_ = std::make_shared<const PersistedState>(PersistedState::initial());
  }
}

void Server::endToWatch() {
  if (!subscriptions_.isEmpty()) return;
  watcher_.reset();
  notifiedPlan_.reset();
}

std::optional<int> Server::watchedDescriptor() const {
  return watcher_ ? std::optional(watcher_->descriptor()) : std::nullopt;
}

void Server::sendNotifications() {
  if (!watcher_) return;
  auto present = notifiedPlan_;
  try {
    if (!watcher_->hasChanged()) return;
    present = plan_.localStore().loadShared();
  } catch (const Error&) {
    // The changed file cannot be read: the tasks last read stand.
  }
  for (const std::string& line : subscriptions_.notifications(*notifiedPlan_, *present)) {
    send_(line);
  }
  notifiedPlan_ = std::move(present);
}

}  // namespace tarnwell::mcp
