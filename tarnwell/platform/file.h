// Private files and folders. platform/ is the only door to the operating system: files, locks,
// processes, folders and watches.
//
// Reads regular files only. Errors name the operation and the path.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "tarnwell/platform/file_descriptor.h"
#include "tarnwell/platform/file_error.h"
#include "tarnwell/platform/file_identity.h"

namespace tarnwell {

// The permissions of new files and folders, whatever the umask.
inline constexpr unsigned privateFileMode = 0600;
inline constexpr unsigned privateFolderMode = 0700;

// A regular file open for reading, and its identity when it was opened.
struct OpenedFile {
  FileDescriptor descriptor;
  FileIdentity identity;

  int number() const noexcept { return descriptor.number(); }
};

// Opens a regular file for reading. Never waits, not even for the writer of a pipe. Absent when
// there is no such file. Throws FileError.
std::optional<OpenedFile> openForReading(const std::filesystem::path& path);

// Return the whole content; absent when there is no such file. The path of an opened file is for
// errors only. Throw FileError.
std::optional<std::string> readFile(const std::filesystem::path& path);
std::string readFile(const OpenedFile& file, const std::filesystem::path& path);

// Creates a private file with these bytes. Not durable: for a file that lives for seconds. Throws
// FileError.
void createFile(const std::filesystem::path& path, std::string_view bytes);

// Removes a file's name, or a link; never a folder. Returns whether there was one. Throws
// FileError.
bool removeFile(const std::filesystem::path& path);

// An empty folder path, the parent of a bare file name, is the current folder.

// Creates the folder and its missing parents, private and durable. Throws FileError.
void createFolders(const std::filesystem::path& folder);

// Makes the folder's names durable where the file system supports it. Throws FileError.
void syncFolder(const std::filesystem::path& folder);

// Makes a file's content durable. Returns the error number, or 0.
int syncFile(int descriptor);

}  // namespace tarnwell
