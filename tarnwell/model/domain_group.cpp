#include "tarnwell/model/domain_group.h"

#include <array>
#include <string_view>

#include "tarnwell/base/fatal_error.h"

namespace tarnwell {
namespace {

UUID fixedUUID(std::string_view text) {
  const auto uuid = UUID::parse(text);
  if (!uuid) fatalError("a built-in identifier is malformed");
  return *uuid;
}

struct DefaultRule {
  std::string_view domain;
  std::string_view id;
};

constexpr std::array<DefaultRule, 5> defaultRules = {{
    {"facebook.com", "A0000000-0000-4000-8000-000000000001"},
    {"instagram.com", "A0000000-0000-4000-8000-000000000002"},
    {"tiktok.com", "A0000000-0000-4000-8000-000000000003"},
    {"twitter.com", "A0000000-0000-4000-8000-000000000004"},
    {"x.com", "A0000000-0000-4000-8000-000000000005"},
}};

DomainGroup makeSocialDistractions() {
  DomainGroup group{.id = fixedUUID("4B402E53-3C5D-4A66-A9C5-C0DFB9C6A501"),
                    .name = "Social Distractions"};
  for (const auto& [domain, id] : defaultRules) {
    group.rules.push_back({.id = fixedUUID(id), .domain = std::string(domain)});
  }
  return group;
}

}  // namespace

const DomainGroup& DomainGroup::socialDistractions() {
  static const DomainGroup group = makeSocialDistractions();
  return group;
}

}  // namespace tarnwell
