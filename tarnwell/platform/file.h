// Files and folders as the data needs them: only regular files are read, what is created is
// private to its owner, and a failure says what was tried on which path.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "tarnwell/platform/file_descriptor.h"
#include "tarnwell/platform/file_error.h"

namespace tarnwell {

// The owner's permissions, whatever the umask.
inline constexpr unsigned privateFileMode = 0600;
inline constexpr unsigned privateFolderMode = 0700;

// Opens a regular file for reading, never waiting for one that is not. Absent when there is no
// such file. Throws FileError.
std::optional<FileDescriptor> openForReading(const std::filesystem::path& path);

// The file's whole content; absent when there is no such file. Throws FileError.
std::optional<std::string> readFile(const std::filesystem::path& path);

// The same of a file opened for reading, from its start. The path is for the error.
std::string readFile(const FileDescriptor& file, const std::filesystem::path& path);

// In both, an empty path, which is what stands before a name alone, is the current folder.

// Creates the folder and those above it where missing, private and durable. Throws FileError.
void createFolders(const std::filesystem::path& folder);

// Makes the folder's entries durable, where the file system can. Throws FileError.
void syncFolder(const std::filesystem::path& folder);

// Makes a file's content durable. Returns the error number, 0 when all is well.
int syncFile(int descriptor);

}  // namespace tarnwell
