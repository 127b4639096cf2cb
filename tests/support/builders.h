// Valid records for tests, so that a test states only the members that matter.
#pragma once

#include <string>
#include <utility>

#include "tarnwell/model/task.h"
#include "tarnwell/time/instant.h"

namespace tarnwell::test {

// 2025-03-04 09:15:00 UTC, a Tuesday.
inline constexpr Instant someInstant{762'772'500};

inline FocusTask makeTask(std::string title) {
  return {.title = std::move(title), .createdAt = someInstant};
}

}  // namespace tarnwell::test
