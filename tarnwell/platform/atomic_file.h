// Putting a whole file in place, durably: a reader, a crash or a failure finds the old file or the
// new one under the name, never a part.
#pragma once

#include <filesystem>
#include <functional>
#include <string_view>

#include "tarnwell/platform/byte_sink.h"
#include "tarnwell/platform/file_descriptor.h"

namespace tarnwell {

// Replaces the file, or creates it with private permissions in an existing folder. The bytes are on
// the disk before they get the name, and the name before this returns. A replaced file's
// permissions and owner stay. A symbolic link stays; the file that it points to is replaced.
// Throws FileError, with the old file untouched and no temporary file left.
void replaceFile(const std::filesystem::path& path, std::string_view bytes);

// The same with what `writeContent` gives to the sink, which is called before it returns. The old
// file is untouched when it throws.
void replaceFile(const std::filesystem::path& path,
                 const std::function<void(const ByteSink&)>& writeContent);

// Copies what an open file holds to a new, private one in an existing folder, sharing its blocks
// where the file system can. The copy has its name only when it is whole and on the disk, and is
// durable when this returns. Throws FileError.
void copyFile(const FileDescriptor& source, const std::filesystem::path& to);

}  // namespace tarnwell
