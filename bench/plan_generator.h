// Reproducible plans of any size for benchmarks.
#pragma once

#include <cstddef>

#include "tarnwell/store/persisted_state.h"
#include "tarnwell/time/instant.h"

namespace tarnwell::bench {

struct PlanSize {
  std::size_t tasks;
  std::size_t events;
};

// Returns a plan after years of use: most tasks are done, none is active, the first is pending, and
// the others lie around `now`.
PersistedState makePlan(PlanSize size, Instant now);

}  // namespace tarnwell::bench
