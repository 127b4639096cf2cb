#include "tarnwell/store/persisted_state_json.h"

#include "tarnwell/platform/json_decode.h"
#include "tarnwell/platform/json_encode.h"

namespace tarnwell {

SchemaProbe SchemaProbe::read(const JSONDocument& document) {
  return decode<SchemaProbe>(document.root(), "document");
}

PersistedState decodePersistedState(const JSONDocument& document) {
  constexpr std::int64_t blockingOnlyVersion = 1;
  const std::int64_t version = SchemaProbe::read(document).schemaVersion;
  const auto object = objectFrom(document.root(), "document");
  PersistedState state = PersistedState::initial();
  decodeFields(object, PersistedState::blockingFields(), state);
  if (version != blockingOnlyVersion) {
    decodeFields(object, PersistedState::planFields(), state);
  }
  return state;
}

std::string encodePersistedState(const PersistedState& state) {
  return encodeJSON(state, JSONLayout::indented);
}

void encodePersistedState(const PersistedState& state, const ByteSink& sink) {
  encodeJSON(state, JSONLayout::indented, sink);
}

}  // namespace tarnwell
