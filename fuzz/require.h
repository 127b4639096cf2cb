// States a property of every input.
#pragma once

#include <cstdio>
#include <cstdlib>

namespace tarnwell::fuzz {

// Ends the process if it does not hold, which a fuzzer reports as a finding.
inline void require(bool holds, const char* rule) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", rule);
  std::abort();
}

}  // namespace tarnwell::fuzz
