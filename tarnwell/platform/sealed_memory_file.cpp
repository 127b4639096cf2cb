#include "tarnwell/platform/sealed_memory_file.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "tarnwell/platform/file.h"

namespace tarnwell {
namespace {

constexpr const char* name = "tarnwell";  // for listings of open files

#ifdef F_ADD_SEALS

FileDescriptor createMemoryFile() {
  // Hardened kernels refuse memory files that may be executed, older ones do not know the flag.
  constexpr unsigned notExecutable = 0x8;  // MFD_NOEXEC_SEAL
  constexpr unsigned flags = MFD_CLOEXEC | MFD_ALLOW_SEALING;
  FileDescriptor file(::memfd_create(name, flags | notExecutable));
  if (!file.isOpen() && errno == EINVAL) file = FileDescriptor(::memfd_create(name, flags));
  return file;
}

// Returns 0, or -1 with the error number set.
int seal(const FileDescriptor& file) {
  return ::fcntl(file.number(), F_ADD_SEALS,
                 F_SEAL_WRITE | F_SEAL_GROW | F_SEAL_SHRINK | F_SEAL_SEAL);
}

#else

FileDescriptor createMemoryFile() {
  errno = ENOTSUP;
  return FileDescriptor(-1);
}

int seal(const FileDescriptor& /*file*/) { return 0; }

#endif

}  // namespace

FileDescriptor sealedMemoryFile(std::string_view content) {
  FileDescriptor file = createMemoryFile();
  if (!file.isOpen()) throw FileError("create", name, errno);
  if (const int error = writeAll(file.number(), content)) throw FileError("write", name, error);
  const bool isReady = seal(file) == 0 && ::lseek(file.number(), 0, SEEK_SET) == 0;
  if (!isReady) throw FileError("seal", name, errno);
  return file;
}

}  // namespace tarnwell
