// Prints replies as JSON in the messages of tests.
#pragma once

#include <ostream>

#include "tarnwell/agent/envelopes.h"

namespace tarnwell {

inline std::ostream& operator<<(std::ostream& stream, const AgentResponseEnvelope& reply) {
  return stream << encodeReply(reply);
}

}  // namespace tarnwell
