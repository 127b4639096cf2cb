#include "tarnwell/mcp/subscriptions.h"

#include <utility>

#include "tarnwell/json/json_encode.h"
#include "tarnwell/mcp/resources.h"

namespace tarnwell::mcp {
namespace {

constexpr std::string_view updated = "notifications/resources/updated";

}  // namespace

bool Subscriptions::open(const RequestID& id, std::set<std::string> uris) {
  return streams_.emplace(id, std::move(uris)).second;
}

std::vector<std::string> Subscriptions::notifications(const PersistedState& before,
                                                      const PersistedState& after) const {
  std::vector<std::string> lines;
  const auto add = [&](const std::set<std::string>& uris, const auto& paramsOf) {
    for (const std::string& uri : uris) {
      if (!hasChanged(uri, before, after)) continue;
      lines.push_back(notificationLine(updated, paramsOf(JSONValue::Object{{"uri", uri}})));
    }
  };
  add(ofConnection_,
      [](const JSONValue::Object& members) { return encodeJSON(members, JSONLayout::compact); });
  for (const auto& stream : streams_) {
    add(stream.second,
        [&](const JSONValue::Object& members) { return streamParams(stream.first, members); });
  }
  return lines;
}

std::string streamParams(const RequestID& id, const JSONValue::Object& members) {
  JSONWriter writer(JSONLayout::compact);
  writer.beginObject();
  writer.plainKey("_meta");
  writer.beginObject();
  writer.plainKey("io.modelcontextprotocol/subscriptionId");
  writer.written(id.json);
  writer.endObject();
  for (const auto& [name, member] : members) {
    writer.key(name);
    encode(writer, member);
  }
  writer.endObject();
  return writer.take();
}

}  // namespace tarnwell::mcp
