// States what must hold for every input.
#pragma once

#include <cstdio>
#include <cstdlib>

namespace tarnwell::fuzz {

// Ends the process when it does not hold, which is what a fuzzer takes for a finding.
inline void require(bool holds, const char* rule) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", rule);
  std::abort();
}

}  // namespace tarnwell::fuzz
