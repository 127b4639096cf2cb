// The document as JSON text.
#pragma once

#include <cstdint>
#include <string>
#include <tuple>

#include "tarnwell/base/record.h"
#include "tarnwell/json/byte_sink.h"
#include "tarnwell/json/json_document.h"
#include "tarnwell/json/json_faults.h"
#include "tarnwell/store/persisted_state.h"

namespace tarnwell {

// The version of a document, read without the rest of it.
struct SchemaProbe {
  std::int64_t schemaVersion{};

  static constexpr auto fields() {
    return std::tuple{field("schemaVersion", &SchemaProbe::schemaVersion)};
  }

  // Throws JSONError.
  static SchemaProbe read(const JSONDocument& document);
};

// Reads a document of any version; the result has the current one. Reads only the blocking data of
// version 1, and every other version in full. Throws JSONError.
PersistedState decodePersistedState(const JSONDocument& document);

// Returns everything that keeps `decodePersistedState` from reading the document.
JSONFaults findFaultsOfDocument(const JSONDocument& document);

// Indented, keys in ascending order, instants as seconds since the reference date. Throws
// JSONError.
std::string encodePersistedState(const PersistedState& state);
void encodePersistedState(const PersistedState& state, const ByteSink& sink);

}  // namespace tarnwell
