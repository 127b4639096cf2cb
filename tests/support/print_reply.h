// Shows replies as the texts that they are, in the messages of tests.
#pragma once

#include <ostream>

#include "tarnwell/agent/envelopes.h"

namespace tarnwell {

inline void PrintTo(const AgentResponseEnvelope& reply, std::ostream* stream) {
  *stream << encodeReply(reply);
}

}  // namespace tarnwell
