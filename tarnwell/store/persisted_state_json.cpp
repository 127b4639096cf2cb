#include "tarnwell/store/persisted_state_json.h"

#include "tarnwell/json/json_decode.h"
#include "tarnwell/json/json_encode.h"

namespace tarnwell {
namespace {

constexpr std::int64_t blockingOnlyVersion = 1;

}  // namespace

SchemaProbe SchemaProbe::read(const JSONDocument& document) {
  return decode<SchemaProbe>(document.root(), "document");
}

PersistedState decodePersistedState(const JSONDocument& document) {
  const std::int64_t version = SchemaProbe::read(document).schemaVersion;
  const ObjectReader members(document.root(), "document");
  PersistedState state = PersistedState::initial();
  decodeFields(members, PersistedState::blockingFields(), state);
  if (version != blockingOnlyVersion) {
    decodeFields(members, PersistedState::planFields(), state);
  }
  return state;
}

JSONFaults findFaultsOfDocument(const JSONDocument& document) {
  JSONFaults faults;
  findFaults<SchemaProbe>(document.root(), "", faults);
  if (!faults.empty()) {
    if (faults.front().path.empty()) faults.front().path = "the document";
    return faults;
  }
  const ObjectReader members(document.root(), "document");
  findFaultsOfMembers(members, PersistedState::blockingFields(), "", faults);
  if (SchemaProbe::read(document).schemaVersion != blockingOnlyVersion) {
    findFaultsOfMembers(members, PersistedState::planFields(), "", faults);
  }
  return faults;
}

std::string encodePersistedState(const PersistedState& state) {
  return encodeJSON(state, JSONLayout::indented);
}

void encodePersistedState(const PersistedState& state, const ByteSink& sink) {
  encodeJSON(state, JSONLayout::indented, sink);
}

}  // namespace tarnwell
