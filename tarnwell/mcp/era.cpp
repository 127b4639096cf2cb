#include "tarnwell/mcp/era.h"

#include <algorithm>
#include <array>

#include "tarnwell/json/json_error.h"
#include "tarnwell/mcp/rpc.h"

namespace tarnwell::mcp {
namespace {

constexpr auto legacyVersions = std::to_array<std::string_view>(
    {newestLegacyVersion, "2025-06-18", "2025-03-26", "2024-11-05"});

void requireModernMetadata(ObjectReader& metadata, JSONElement version) {
  constexpr std::string_view capabilitiesKey = "io.modelcontextprotocol/clientCapabilities";
  const std::string requested(textFrom(version, "protocolVersion"));
  const auto capabilities = metadata.find(capabilitiesKey);
  if (!capabilities) throw JSONError::missingKey(capabilitiesKey);
  ObjectReader(*capabilities, capabilitiesKey);
  if (requested == modernVersion) return;
  JSONValue::Array supported;
  supported.push_back(std::string(modernVersion));
  throw RPCError(RPCErrorCode::unsupportedProtocolVersion, "Unsupported protocol version",
                 JSONValue::Object{{"supported", supported}, {"requested", requested}});
}

}  // namespace

std::string_view legacyVersionFor(std::string_view requested) {
  const auto* const known = std::find(legacyVersions.begin(), legacyVersions.end(), requested);
  return known == legacyVersions.end() ? newestLegacyVersion : *known;
}

Era eraOf(const std::optional<JSONElement>& params) {
  if (!params) return Era::legacy;
  const auto element = ObjectReader(*params, "params").find("_meta");
  if (!element) return Era::legacy;
  try {
    ObjectReader metadata(*element, "_meta");
    const auto version = metadata.find("io.modelcontextprotocol/protocolVersion");
    if (!version) return Era::legacy;
    requireModernMetadata(metadata, *version);
    return Era::modern;
  } catch (const JSONError& error) {
    throw RPCError(RPCErrorCode::invalidParams, error.description());
  }
}

}  // namespace tarnwell::mcp
