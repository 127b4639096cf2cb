// Named groups of websites to block while focusing.
#pragma once

#include <string>
#include <tuple>
#include <vector>

#include "tarnwell/base/record.h"
#include "tarnwell/base/uuid.h"

namespace tarnwell {

struct DomainRule {
  UUID id = UUID::random();
  std::string domain{};  // as stored; untrusted until normalised
  bool isEnabled = true;

  static constexpr auto fields() {
    return std::tuple{field("id", &DomainRule::id), field("domain", &DomainRule::domain),
                      field("isEnabled", &DomainRule::isEnabled)};
  }
  friend bool operator==(const DomainRule&, const DomainRule&) = default;
};

struct DomainGroup {
  UUID id = UUID::random();
  std::string name{};
  std::vector<DomainRule> rules{};  // in the user's order
  bool isEnabled = true;

  // Returns the group of a new plan. Its identifiers are the same on every machine.
  static const DomainGroup& socialDistractions();

  static constexpr auto fields() {
    return std::tuple{field("id", &DomainGroup::id), field("name", &DomainGroup::name),
                      field("rules", &DomainGroup::rules),
                      field("isEnabled", &DomainGroup::isEnabled)};
  }
  friend bool operator==(const DomainGroup&, const DomainGroup&) = default;
};

}  // namespace tarnwell
