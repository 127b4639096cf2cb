// Named lists of websites to keep away from while focusing.
#pragma once

#include <string>
#include <tuple>
#include <vector>

#include "tarnwell/base/record.h"
#include "tarnwell/base/uuid.h"

namespace tarnwell {

struct DomainRule {
  UUID id = UUID::random();
  std::string domain{};  // as stored; not to be trusted before it is normalised
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

  // The group that a new plan begins with. It has the same identifiers on every machine.
  static const DomainGroup& socialDistractions();

  static constexpr auto fields() {
    return std::tuple{field("id", &DomainGroup::id), field("name", &DomainGroup::name),
                      field("rules", &DomainGroup::rules),
                      field("isEnabled", &DomainGroup::isEnabled)};
  }
  friend bool operator==(const DomainGroup&, const DomainGroup&) = default;
};

}  // namespace tarnwell
