#include "tarnwell/mcp/rpc.h"

#include <cmath>
#include <utility>
#include <variant>

#include "tarnwell/json/json_encode.h"
#include "tarnwell/json/json_error.h"
#include "tarnwell/json/json_writer.h"
#include "tarnwell/mcp/json_source.h"

namespace tarnwell::mcp {
namespace {

constexpr std::string_view version = "2.0";

RPCError invalidRequest(std::string_view message) {
  return {RPCErrorCode::invalidRequest, message};
}

std::unique_ptr<JSONDocument> parse(std::string line) {
  try {
    return std::make_unique<JSONDocument>(std::move(line));
  } catch (const JSONError& error) {
    throw RPCError(RPCErrorCode::parseError, error.description());
  }
}

ObjectReader requireObject(JSONElement root) {
  try {
    return {root, "message"};
  } catch (const JSONError&) {
    throw invalidRequest("A message must be one JSON object on one line.");
  }
}

std::string_view requireText(const std::optional<JSONElement>& element, std::string_view message) {
  try {
    if (element) return textFrom(*element, "member");
  } catch (const JSONError&) {
  }
  throw invalidRequest(message);
}

JSONWriter beginMessage() {
  JSONWriter writer(JSONLayout::compact);
  writer.beginObject();
  writer.plainKey("jsonrpc");
  writer.plainString(version);
  return writer;
}

std::string endMessage(JSONWriter& writer) {
  writer.endObject();
  return writer.take();
}

}  // namespace

std::optional<RequestID> RequestID::find(JSONElement object, std::string_view source,
                                         std::string_view key) {
  const auto element = ObjectReader(object, key).find(key);
  if (!element) return std::nullopt;
  const JSONValue value = jsonValueFrom(*element);
  if (const std::string* const text = value.string()) {
    return RequestID{encodeJSON(*text, JSONLayout::compact)};
  }
  const double* const number = std::get_if<double>(&value.variant());
  if (number == nullptr || std::floor(*number) != *number) {
    throw invalidRequest("The id of a request must be a string or an integer.");
  }
  return RequestID{std::string(memberSource(source, key).value())};
}

RPCMessage::RPCMessage(std::string line) : line_(std::move(line)), document_(parse(line_)) {
  const JSONElement root = document_->root();
  ObjectReader members = requireObject(root);
  if (requireText(members.find("jsonrpc"), "The member jsonrpc must be \"2.0\".") != version) {
    throw invalidRequest("The member jsonrpc must be \"2.0\".");
  }
  method_ = requireText(members.find("method"), "The member method must be a string.");
  params_ = members.find("params");
  id_ = RequestID::find(root, line_, "id");
}

std::optional<JSONElement> RPCMessage::params() const {
  if (!params_) return std::nullopt;
  try {
    ObjectReader(*params_, "params");
  } catch (const JSONError&) {
    throw RPCError(RPCErrorCode::invalidParams, "The member params must be an object.");
  }
  return params_;
}

std::string_view RPCMessage::paramsSource() const { return memberSource(line_, "params").value(); }

std::string resultLine(const RequestID& id, std::string_view result) {
  JSONWriter writer = beginMessage();
  writer.plainKey("id");
  writer.written(id.json);
  writer.plainKey("result");
  writer.written(result);
  return endMessage(writer);
}

std::string errorLine(const std::optional<RequestID>& id, const RPCError& error) {
  JSONWriter writer = beginMessage();
  writer.plainKey("id");
  writer.written(id ? id->json : "null");
  writer.plainKey("error");
  writer.beginObject();
  writer.plainKey("code");
  writer.integer(static_cast<std::int64_t>(error.code()));
  writer.plainKey("message");
  writer.string(error.description());
  if (error.data()) {
    writer.plainKey("data");
    encode(writer, *error.data());
  }
  writer.endObject();
  return endMessage(writer);
}

std::string notificationLine(std::string_view method, std::string_view params) {
  JSONWriter writer = beginMessage();
  writer.plainKey("method");
  writer.plainString(method);
  writer.plainKey("params");
  writer.written(params);
  return endMessage(writer);
}

}  // namespace tarnwell::mcp
