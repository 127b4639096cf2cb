#include "tarnwell/base/fatal_error.h"

#include <cstdio>
#include <cstdlib>

namespace tarnwell {

void fatalError(std::string_view message) {
  std::fprintf(stderr, "tarnwell: fatal: %.*s\n", static_cast<int>(message.size()), message.data());
  std::abort();
}

}  // namespace tarnwell
