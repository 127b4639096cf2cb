#include "tarnwell/blocking/domain_rules.h"

#include <algorithm>
#include <optional>
#include <set>

#include <uriparser/Uri.h>

#include "tarnwell/base/text.h"

namespace tarnwell::DomainRules {
namespace {

bool isASCIIDigit(char c) { return '0' <= c && c <= '9'; }

struct Authority {
  bool hasCredentials = false;
  std::string host;  // percent-encoding decoded
};

std::string decoded(const UriTextRangeA& range) {
  if (range.first == nullptr) return {};
  std::string text(range.first, range.afterLast);
  text.push_back('\0');  // the library decodes up to a terminator, in place
  const char* const end = uriUnescapeInPlaceExA(text.data(), URI_FALSE, URI_BR_DONT_TOUCH);
  text.resize(static_cast<std::size_t>(end - text.data()));
  return text;
}

// Absent when the text is not a URL or exceeds the limit. Parsing needs a fixed stack, and at most
// 48 bytes for each character of a path.
std::optional<Authority> parseAuthority(const std::string& url) {
  constexpr std::size_t longestURL = std::size_t{1} << 20U;
  if (url.size() > longestURL) return std::nullopt;
  UriUriA uri;
  const char* errorPosition = nullptr;
  if (uriParseSingleUriExA(&uri, url.data(), url.data() + url.size(), &errorPosition) !=
      URI_SUCCESS) {
    return std::nullopt;
  }
  Authority authority{.hasCredentials = uri.userInfo.first != nullptr,
                      .host = decoded(uri.hostText)};
  // Without the brackets, which the library removes, a literal of a future kind would pass for a
  // name.
  if (uri.hostData.ipFuture.first != nullptr) authority.host = "[" + authority.host + "]";
  uriFreeUriMembersA(&uri);
  return authority;
}

bool isIPAddress(std::string_view host) {
  if (host.find(':') != std::string_view::npos) return true;
  auto pieces = split(host, '.');
  std::erase(pieces, "");
  return pieces.size() == 4 && std::all_of(pieces.begin(), pieces.end(), [](auto piece) {
           const auto number = parseInteger(piece);
           return number && 0 <= *number && *number <= 255;
         });
}

bool isValidLabel(std::string_view label) {
  constexpr std::size_t longestLabel = 63;
  const auto isAllowed = [](char c) {
    const char lower = asciiLowercase(c);
    return ('a' <= lower && lower <= 'z') || isASCIIDigit(c) || c == '-';
  };
  return !label.empty() && label.size() <= longestLabel && label.front() != '-' &&
         label.back() != '-' && std::all_of(label.begin(), label.end(), isAllowed);
}

bool isValidHostname(std::string_view host) {
  // Counts bytes: a host with more bytes than characters has a label that is not ASCII.
  constexpr std::size_t longestHost = 253;
  const auto labels = split(host, '.');
  return host.size() <= longestHost && labels.size() > 1 &&
         std::all_of(labels.begin(), labels.end(), isValidLabel);
}

}  // namespace

std::string normalize(std::string_view input) {
  const std::string_view text = trimmed(input);
  if (text.empty()) throw DomainRuleError(DomainRuleError::empty);
  if (text.find('*') != std::string_view::npos) throw DomainRuleError(DomainRuleError::invalidHost);

  std::string url(text);
  if (text.find("://") == std::string_view::npos) url.insert(0, "https://");
  const auto authority = parseAuthority(url);
  if (!authority || authority->hasCredentials) {
    throw DomainRuleError(DomainRuleError::credentialsNotAllowed);
  }

  std::string host = authority->host;
  std::transform(host.begin(), host.end(), host.begin(), asciiLowercase);
  host.erase(host.find_last_not_of('.') + 1);
  constexpr std::string_view commonPrefix = "www.";
  if (host.starts_with(commonPrefix)) host.erase(0, commonPrefix.size());
  if (host.empty()) throw DomainRuleError(DomainRuleError::invalidHost);
  if (isIPAddress(host)) throw DomainRuleError(DomainRuleError::ipAddressNotAllowed);
  if (!isValidHostname(host)) throw DomainRuleError(DomainRuleError::invalidHost);
  return host;
}

std::vector<std::string> expandedHosts(const std::vector<std::string>& domains) {
  std::set<std::string> hosts;
  for (const std::string& domain : domains) hosts.insert(normalize(domain));
  std::vector<std::string> expanded;
  for (const std::string& host : hosts) {
    expanded.push_back(host);
    expanded.push_back("www." + host);
  }
  return expanded;
}

std::vector<std::string> blockedHosts(const DomainGroup& group) {
  std::vector<std::string> domains;
  for (const DomainRule& rule : group.rules) {
    if (rule.isEnabled) domains.push_back(rule.domain);
  }
  return expandedHosts(domains);
}

}  // namespace tarnwell::DomainRules
