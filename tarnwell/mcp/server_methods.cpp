// The methods of the protocol.
#include <exception>
#include <set>
#include <utility>

#include "tarnwell/json/json_encode.h"
#include "tarnwell/json/json_error.h"
#include "tarnwell/mcp/instructions.h"
#include "tarnwell/mcp/prompts.h"
#include "tarnwell/mcp/refusal.h"
#include "tarnwell/mcp/resources.h"
#include "tarnwell/mcp/server.h"
#include "tarnwell/mcp/tools.h"

namespace tarnwell::mcp {
namespace {

constexpr double anHour = 3'600'000;  // milliseconds
constexpr double notAtAll = 0;

RPCError invalidParams(std::string_view message) { return {RPCErrorCode::invalidParams, message}; }

std::optional<JSONElement> findParam(const std::optional<JSONElement>& params,
                                     std::string_view name) {
  if (!params) return std::nullopt;
  return ObjectReader(*params, "params").find(name);
}

std::string requireText(const std::optional<JSONElement>& params, std::string_view name) {
  try {
    if (const auto member = findParam(params, name)) return std::string(textFrom(*member, name));
  } catch (const JSONError&) {
  }
  throw invalidParams("The parameter " + std::string(name) + " must be a string.");
}

// Returns the parameter; nothing where there is none. Throws RPCError when it is not an object.
std::optional<JSONElement> optionalObject(const std::optional<JSONElement>& params,
                                          std::string_view name) {
  const auto member = findParam(params, name);
  try {
    if (member) ObjectReader(*member, name);
  } catch (const JSONError& error) {
    throw invalidParams("The parameter " + std::string(name) + " must be an object.");
  }
  return member;
}

// Refuses a request with a cursor: the server answers every list in one page and gives no cursors.
void refuseCursor(const std::optional<JSONElement>& params) {
  if (findParam(params, "cursor")) throw invalidParams("There is no such cursor.");
}

template <class Items>
JSONValue::Array describeAll(const Items& items) {
  JSONValue::Array list;
  for (const auto& item : items) list.push_back(describe(item));
  return list;
}

JSONValue::Object capabilities() {
  return {{"tools", JSONValue::Object{}},
          {"prompts", JSONValue::Object{}},
          {"resources", JSONValue::Object{{"subscribe", true}}}};
}

JSONValue::Array textBlock(std::string text) {
  JSONValue::Array content;
  content.push_back(JSONValue::Object{{"type", "text"}, {"text", std::move(text)}});
  return content;
}

RPCError unknownResource(Era era, const std::string& uri) {
  const auto code =
      era == Era::modern ? RPCErrorCode::invalidParams : RPCErrorCode::resourceNotFound;
  return {code, "There is no such resource.", JSONValue::Object{{"uri", uri}}};
}

}  // namespace

std::optional<Server::Result> Server::discover(const Request& /*request*/) {
  JSONValue::Array versions;
  versions.push_back(std::string(modernVersion));
  return Result{.members = {{"supportedVersions", std::move(versions)},
                            {"capabilities", capabilities()},
                            {"instructions", std::string(instructions())}},
                .caching = Caching{anHour, "public"}};
}

std::optional<Server::Result> Server::initialize(const Request& request) {
  const std::string requested = requireText(request.params, "protocolVersion");
  return Result{.members = {{"protocolVersion", std::string(legacyVersionFor(requested))},
                            {"capabilities", capabilities()},
                            {"serverInfo", serverInfo()},
                            {"instructions", std::string(instructions())}}};
}

std::optional<Server::Result> Server::ping(const Request& /*request*/) { return Result{}; }

std::optional<Server::Result> Server::listTools(const Request& request) {
  refuseCursor(request.params);
  return Result{.members = {{"tools", describeAll(allTools())}},
                .caching = Caching{anHour, "public"}};
}

// Answers a refused call with a result instead of an error, so that the model reads the reason and
// can correct the call.
std::optional<Server::Result> Server::callTool(const Request& request) {
  const std::string name = requireText(request.params, "name");
  const Tool* const tool = findTool(name);
  if (tool == nullptr) throw invalidParams("There is no tool " + name + ".");
  const auto given = optionalObject(request.params, "arguments");
  try {
    const Arguments arguments(tool->arguments, given);
    Engines& engines = plan_.engines();
    const auto plan = engines.localStore.loadShared();
    const std::string json = tool->call({.engines = engines,
                                         .arguments = arguments,
                                         .plan = *plan,
                                         .now = Instant::now(),
                                         .calendar = Calendar::current()});
    return Result{.members = {{"content", textBlock(json)}, {"isError", false}},
                  .structuredContent = json};
  } catch (...) {
    const RefusalReport report = reportOfCurrentException(findLocalStore());
    const std::string json = encodeJSON(report, JSONLayout::compact);
    return Result{.members = {{"content", textBlock(json)}, {"isError", true}}};
  }
}

std::optional<Server::Result> Server::listResources(const Request& request) {
  refuseCursor(request.params);
  return Result{.members = {{"resources", describeResources()}},
                .caching = Caching{anHour, "public"}};
}

std::optional<Server::Result> Server::listResourceTemplates(const Request& request) {
  refuseCursor(request.params);
  return Result{.members = {{"resourceTemplates", describeResourceTemplates()}},
                .caching = Caching{anHour, "public"}};
}

std::optional<Server::Result> Server::readResource(const Request& request) {
  const std::string uri = requireText(request.params, "uri");
  if (!isResource(uri)) throw unknownResource(request.era, uri);
  const auto plan = plan_.localStore().loadShared();
  const auto text = mcp::readResource(uri, *plan, Instant::now(), Calendar::current());
  if (!text) throw unknownResource(request.era, uri);
  JSONValue::Array contents;
  contents.push_back(JSONValue::Object{
      {"uri", uri}, {"mimeType", std::string(resourceMimeType)}, {"text", *text}});
  return Result{.members = {{"contents", std::move(contents)}},
                .caching = Caching{notAtAll, "private"}};
}

std::optional<Server::Result> Server::subscribe(const Request& request) {
  const std::string uri = requireText(request.params, "uri");
  if (!isResource(uri)) throw unknownResource(request.era, uri);
  beginToWatch();
  subscriptions_.subscribe(uri);
  return Result{};
}

std::optional<Server::Result> Server::unsubscribe(const Request& request) {
  subscriptions_.unsubscribe(requireText(request.params, "uri"));
  endToWatch();
  return Result{};
}

// Keeps the request open until the client cancels it. Notifies changes of resources only, because
// the lists never change.
std::optional<Server::Result> Server::listen(const Request& request) {
  const auto filter = optionalObject(request.params, "notifications");
  if (!filter) throw invalidParams("The parameter notifications is missing.");
  std::set<std::string> uris;
  JSONValue::Object accepted;
  try {
    if (const auto wanted = ObjectReader(*filter, "notifications").find("resourceSubscriptions")) {
      ArrayReader items(*wanted, "resourceSubscriptions");
      while (const auto item = items.next()) {
        std::string uri(textFrom(*item, "resourceSubscriptions"));
        if (isResource(uri)) uris.insert(std::move(uri));
      }
      accepted["resourceSubscriptions"] = JSONValue::Array(uris.begin(), uris.end());
    }
  } catch (const JSONError& error) {
    throw invalidParams(error.description());
  }
  beginToWatch();
  if (!subscriptions_.open(request.id, std::move(uris))) {
    throw invalidParams("A subscription with this id is open.");
  }
  send_(notificationLine("notifications/subscriptions/acknowledged",
                         streamParams(request.id, {{"notifications", std::move(accepted)}})));
  return std::nullopt;
}

std::optional<Server::Result> Server::listPrompts(const Request& request) {
  refuseCursor(request.params);
  return Result{.members = {{"prompts", describeAll(allPrompts())}},
                .caching = Caching{anHour, "public"}};
}

std::optional<Server::Result> Server::getPrompt(const Request& request) {
  const std::string name = requireText(request.params, "name");
  const Prompt* const prompt = findPrompt(name);
  if (prompt == nullptr) throw invalidParams("There is no prompt " + name + ".");
  optionalObject(request.params, "arguments");
  return Result{.members = messagesOf(*prompt)};
}

}  // namespace tarnwell::mcp
