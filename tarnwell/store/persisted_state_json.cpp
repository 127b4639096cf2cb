#include "tarnwell/store/persisted_state_json.h"

#include "tarnwell/json/json_decode.h"
#include "tarnwell/json/json_encode.h"

namespace tarnwell {

SchemaProbe SchemaProbe::read(const JSONDocument& document) {
  return decode<SchemaProbe>(document.root(), "document");
}

PersistedState decodePersistedState(const JSONDocument& document) {
  constexpr std::int64_t blockingOnlyVersion = 1;
  const std::int64_t version = SchemaProbe::read(document).schemaVersion;
  const ObjectReader members(document.root(), "document");
  PersistedState state = PersistedState::initial();
  decodeFields(members, PersistedState::blockingFields(), state);
  if (version != blockingOnlyVersion) {
    decodeFields(members, PersistedState::planFields(), state);
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
