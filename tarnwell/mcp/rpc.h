// JSON-RPC 2.0 with one message per line, whatever the methods.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "tarnwell/base/error.h"
#include "tarnwell/json/json_document.h"
#include "tarnwell/json/json_value.h"

namespace tarnwell::mcp {

// The codes of JSON-RPC, and two of the Model Context Protocol.
enum class RPCErrorCode {
  parseError = -32700,
  invalidRequest = -32600,
  methodNotFound = -32601,
  invalidParams = -32602,
  internalError = -32603,
  unsupportedProtocolVersion = -32022,
  resourceNotFound = -32002
};

class RPCError : public Error {
 public:
  RPCError(RPCErrorCode code, std::string_view message,
           std::optional<JSONValue> data = std::nullopt)
      : Error(message), code_(code), data_(std::move(data)) {}

  RPCErrorCode code() const noexcept { return code_; }
  const std::optional<JSONValue>& data() const noexcept { return data_; }

 private:
  RPCErrorCode code_;
  std::optional<JSONValue> data_;
};

// The identifier of a request: a string, or an integer of any size, whose digits are kept.
struct RequestID {
  std::string json{};

  // Reads a member that identifies a request. `source` is the text of `object`. Returns nothing
  // when there is no such member. Throws RPCError (invalidRequest) for a value of any other kind.
  static std::optional<RequestID> find(JSONElement object, std::string_view source,
                                       std::string_view key);

  friend auto operator<=>(const RequestID&, const RequestID&) = default;
};

// A request or a notification. Owns the text of its elements.
class RPCMessage {
 public:
  // Throws RPCError: parseError, or invalidRequest for JSON that is not a request.
  explicit RPCMessage(std::string line);

  const std::optional<RequestID>& id() const { return id_; }  // absent: a notification
  std::string_view method() const { return method_; }

  // Returns nothing when there are none. Throws RPCError (invalidParams) when they are not an
  // object.
  std::optional<JSONElement> params() const;
  std::string_view paramsSource() const;  // requires params

 private:
  std::string line_;
  std::unique_ptr<JSONDocument> document_;
  std::optional<RequestID> id_;
  std::string_view method_;
  std::optional<JSONElement> params_;
};

// Each returns one line without its line feed. `result` and `params` are JSON texts.
std::string resultLine(const RequestID& id, std::string_view result);
std::string errorLine(const std::optional<RequestID>& id, const RPCError& error);
std::string notificationLine(std::string_view method, std::string_view params);

}  // namespace tarnwell::mcp
