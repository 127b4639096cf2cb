// A finding of the doctor: one sentence about the plan or its surroundings, and the next step.
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "tarnwell/base/record.h"
#include "tarnwell/base/required.h"

namespace tarnwell {

enum class FindingLevel {
  problem,  // stops the plan or the blocking of websites from working
  hint,     // may surprise the user
  fact
};

constexpr std::array<std::string_view, 3> texts(FindingLevel) {
  return {"problem", "hint", "fact"};
}

enum class FindingArea {
  dataFile,
  plan,
  hostsFile,
  approval,
  reminders,
  resident,
  copies,
  space,
  timeZone,
  locale,
  versions
};

constexpr std::array<std::string_view, 11> texts(FindingArea) {
  return {"dataFile", "plan",  "hostsFile", "approval", "reminders", "resident",
          "copies",   "space", "timeZone",  "locale",   "versions"};
}

// The texts are valid UTF-8 and may quote stored text: make them printable for a terminal.
struct Finding {
  Required<FindingLevel> level;
  Required<FindingArea> area;
  std::string text{};
  std::string next{};  // what to do; empty for a fact alone

  static constexpr auto fields() {
    return std::tuple{field("level", &Finding::level), field("area", &Finding::area),
                      field("text", &Finding::text), field("next", &Finding::next)};
  }
  friend bool operator==(const Finding&, const Finding&) = default;
};

using Findings = std::vector<Finding>;

inline Finding problem(FindingArea area, std::string text, std::string next) {
  return {FindingLevel::problem, area, std::move(text), std::move(next)};
}
inline Finding hint(FindingArea area, std::string text, std::string next) {
  return {FindingLevel::hint, area, std::move(text), std::move(next)};
}
inline Finding fact(FindingArea area, std::string text) {
  return {FindingLevel::fact, area, std::move(text)};
}

}  // namespace tarnwell
