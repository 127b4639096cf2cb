// A file in memory that no process can change any more.
#pragma once

#include <string_view>

#include "tarnwell/platform/file_descriptor.h"

namespace tarnwell {

// Returns a file without a name that holds `content`, positioned at its start. Its content and size
// are sealed: every write, by any process that comes to hold it, fails. Throws FileError, also
// where the system has no such files.
FileDescriptor sealedMemoryFile(std::string_view content);

}  // namespace tarnwell
