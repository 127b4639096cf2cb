#include "tarnwell/agent/envelopes.h"

#include "tarnwell/json/json_decode.h"
#include "tarnwell/json/json_encode.h"

namespace tarnwell {

AgentCommandEnvelope decodeCommand(std::string text) {
  const JSONDocument document(std::move(text));
  AgentCommandEnvelope envelope;
  decodeFields(ObjectReader(document.root(), "document"), AgentCommandEnvelope::fields(), envelope);
  return envelope;
}

std::string encodeCommand(const AgentCommandEnvelope& command) {
  JSONWriter writer(JSONLayout::compact);
  writer.beginObject();
  std::apply([&](const auto&... fields) { (encodeField(writer, command, fields), ...); },
             AgentCommandEnvelope::fields());
  writer.endObject();
  return writer.take();
}

std::string encodeReply(const AgentResponseEnvelope& reply) {
  return encodeJSON(reply, JSONLayout::compact);
}

}  // namespace tarnwell
