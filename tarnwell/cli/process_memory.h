// Memory for a process that lives for one command. cli/ is tarnwellctl.
#pragma once

namespace tarnwell {

// Keeps freed memory for reuse. Call before the first large allocation.
void keepFreedMemory();

}  // namespace tarnwell
