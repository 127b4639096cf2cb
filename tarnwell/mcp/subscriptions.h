// The resources that the client is notified of.
#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/mcp/rpc.h"
#include "tarnwell/store/persisted_state.h"

namespace tarnwell::mcp {

// The subscriptions of both eras: one set of resources for the connection, and one for each stream,
// named by the identifier of the request that opened it.
class Subscriptions {
 public:
  void subscribe(const std::string& uri) { ofConnection_.insert(uri); }
  void unsubscribe(const std::string& uri) { ofConnection_.erase(uri); }

  // Returns false if a stream with the identifier is open.
  bool open(const RequestID& id, std::set<std::string> uris);
  void close(const RequestID& id) { streams_.erase(id); }

  bool isEmpty() const { return ofConnection_.empty() && streams_.empty(); }

  // Returns the notifications that a change of the plan calls for, each as one line.
  std::vector<std::string> notifications(const PersistedState& before,
                                         const PersistedState& after) const;

 private:
  std::set<std::string> ofConnection_;
  std::map<RequestID, std::set<std::string>> streams_;
};

// Returns the params of a notification on a stream: the members, and the stream's identifier.
std::string streamParams(const RequestID& id, const JSONValue::Object& members);

}  // namespace tarnwell::mcp
