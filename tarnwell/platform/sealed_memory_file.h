// An immutable file in memory.
#pragma once

#include <string_view>

#include "tarnwell/platform/file_descriptor.h"

namespace tarnwell {

// Returns an unnamed file that holds `content`, positioned at its start and sealed: no process can
// write to it or resize it. Throws FileError, also where the system has no such files.
FileDescriptor sealedMemoryFile(std::string_view content);

}  // namespace tarnwell
