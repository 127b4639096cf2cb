// Every normalised domain is one that a hosts file can block, and normalising it again changes
// nothing.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/require.h"

#include "tarnwell/base/text.h"
#include "tarnwell/blocking/domain_rules.h"
#include "tarnwell/json/utf8.h"

namespace tarnwell::fuzz {
namespace {

// A second definition, independent of the rules.
bool isHostThatCanBeBlocked(const std::string& host) {
  constexpr std::string_view allowed = "abcdefghijklmnopqrstuvwxyz0123456789-.";
  const std::string framed = "." + host + ".";
  std::size_t longestLabel = 0;
  for (const auto label : split(host, '.')) longestLabel = std::max(longestLabel, label.size());
  return !host.empty() && host.size() <= 253 && longestLabel <= 63 &&
         host.find('.') != std::string::npos &&
         host.find_first_not_of(allowed) == std::string::npos &&
         framed.find("..") == std::string::npos && framed.find(".-") == std::string::npos &&
         framed.find("-.") == std::string::npos;
}

void check(const std::string& input) {
  std::string host;
  try {
    host = DomainRules::normalize(input);
  } catch (const DomainRuleError&) {
    return;
  }
  require(isHostThatCanBeBlocked(host), "the result can be blocked");
  // One "www." goes each time, so a host that still has one changes once more.
  if (host.starts_with("www.")) return;
  require(DomainRules::normalize(host) == host, "the result is normalised");
  require(DomainRules::normalize(" https://WWW." + host + ".:443/www?q#f") == host,
          "every way of writing the host is the same host");
  require(
      DomainRules::expandedHosts({input, host}) == std::vector<std::string>{host, "www." + host},
      "the host is blocked with its www");
}

}  // namespace
}  // namespace tarnwell::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  if (tarnwell::isValidUTF8(input)) tarnwell::fuzz::check(input);
  return 0;
}
