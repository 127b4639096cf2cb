// How this process takes memory from the system.
#pragma once

namespace tarnwell {

// Keeps memory that was freed for the next use. For a process that lives for one command; to be
// called before anything large is taken.
void keepFreedMemory();

}  // namespace tarnwell
