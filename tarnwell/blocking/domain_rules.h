// Turns the user's input into a canonical host name, and a group's domains into the hosts that its
// block lists. Pure functions.
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/base/error.h"
#include "tarnwell/model/domain_group.h"

namespace tarnwell {

enum class DomainRuleCase { empty, credentialsNotAllowed, ipAddressNotAllowed, invalidHost };

constexpr std::array<std::string_view, 4> texts(DomainRuleCase) {
  return {"Enter a domain such as example.com.",
          "Credentials are not allowed in a blocked address.",
          "Enter a domain name, not an IP address.", "That domain is not valid."};
}

class DomainRuleError : public CaseError<DomainRuleCase> {
 public:
  using CaseError::CaseError;
  using enum DomainRuleCase;
};

namespace DomainRules {

// Returns the lower-case host name of a domain, or of an address with one, without trailing dots
// and without one leading "www.". `input` is valid UTF-8. Throws DomainRuleError.
std::string normalize(std::string_view input);

// Returns, for each distinct host among the normalised domains, in ascending order: the host, then
// the host with "www." in front. Throws the first domain's DomainRuleError.
std::vector<std::string> expandedHosts(const std::vector<std::string>& domains);

// Returns the expanded hosts of the group's enabled rules.
std::vector<std::string> blockedHosts(const DomainGroup& group);

}  // namespace DomainRules
}  // namespace tarnwell
