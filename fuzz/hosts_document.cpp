// Blocking and unblocking restores every hosts file byte for byte, and blocking is idempotent. The
// first line of the input holds domains, the rest is the hosts file.
#include "tarnwell/blocking/hosts_document.h"

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/require.h"

#include "tarnwell/base/text.h"
#include "tarnwell/blocking/domain_rules.h"
#include "tarnwell/json/utf8.h"

namespace tarnwell::fuzz {
namespace {

std::vector<std::string> hostsFrom(std::string_view line) {
  std::vector<std::string> hosts;
  for (const auto word : split(line, ' ')) {
    try {
      for (auto& host : DomainRules::expandedHosts({std::string(word)})) hosts.push_back(host);
    } catch (const DomainRuleError&) {
      continue;
    }
  }
  return hosts;
}

bool hasMarker(const std::string& text) {
  return text.find(HostsDocument::beginMarker) != std::string::npos ||
         text.find(HostsDocument::endMarker) != std::string::npos;
}

void checkText(const std::string& source, const std::vector<std::string>& hosts) {
  const HostsDocument document(source);
  std::string applied;
  try {
    document.managedHosts();
    applied = document.applying(hosts);
  } catch (const HostsDocumentError&) {
    require(hasMarker(source), "a text without markers is never refused");
    return;
  }
  const std::string unblocked = document.removingManagedBlock();
  require(hasMarker(source) || unblocked == source, "there is nothing to remove without a block");

  const HostsDocument blocked(applied);
  require(blocked.managedHosts() == std::set<std::string>(hosts.begin(), hosts.end()),
          "the block holds exactly the hosts");
  require(blocked.applying(hosts) == applied, "applying twice is applying once");
  require(blocked.removingManagedBlock() == unblocked, "removing gives the text back");
  require(applied.starts_with(unblocked), "the text before the block is untouched");
}

}  // namespace
}  // namespace tarnwell::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  if (!tarnwell::isValidUTF8(input)) return 0;
  const auto endOfLine = input.find('\n');
  if (endOfLine == std::string::npos) return 0;
  tarnwell::fuzz::checkText(input.substr(endOfLine + 1),
                            tarnwell::fuzz::hostsFrom(input.substr(0, endOfLine)));
  return 0;
}
