#include "tests/faults/file_call_forms.h"

#include <cerrno>
#include <stdexcept>

#include <sys/syscall.h>

namespace tarnwell::test {

const std::map<std::uint64_t, FileCallForm>& fileCallForms() {
  static const std::map<std::uint64_t, FileCallForm> all = {
      {SYS_openat,
       {.name = "open",
        .pathArgument = 1,
        .flagsArgument = 2,
        .errors = {EACCES, EDQUOT, EINTR, EIO, EMFILE, ENFILE, ENOMEM, ENOSPC, EROFS}}},
      {SYS_read,
       {.name = "read", .descriptorArgument = 0, .countArgument = 2, .errors = {EINTR, EIO}}},
      {SYS_write,
       {.name = "write",
        .descriptorArgument = 0,
        .dataArgument = 1,
        .countArgument = 2,
        .errors = {EDQUOT, EFBIG, EINTR, EIO, ENOSPC, EPERM}}},
      {SYS_close,
       {.name = "close", .descriptorArgument = 0, .errors = {EDQUOT, EINTR, EIO, ENOSPC}}},
      {SYS_newfstatat,
       {.name = "stat", .pathArgument = 1, .descriptorArgument = 0, .errors = {EACCES, ENOMEM}}},
      {SYS_fstat, {.name = "stat", .descriptorArgument = 0, .errors = {ENOMEM}}},
      {SYS_fsync,
       {.name = "sync", .descriptorArgument = 0, .errors = {EDQUOT, EINTR, EIO, ENOSPC, EROFS}}},
      {SYS_sync_file_range,
       {.name = "begin sync", .descriptorArgument = 0, .errors = {EIO, ENOMEM, ENOSPC}}},
      {SYS_rename,
       {.name = "rename",
        .pathArgument = 0,
        .targetArgument = 1,
        .errors = {EACCES, EDQUOT, ENOMEM, ENOSPC, EPERM, EROFS}}},
      {SYS_link,
       {.name = "link",
        .pathArgument = 0,
        .targetArgument = 1,
        .errors = {EACCES, EDQUOT, EIO, EMLINK, ENOMEM, ENOSPC, EOPNOTSUPP, EPERM, EROFS, EXDEV}}},
      {SYS_unlink,
       {.name = "unlink", .pathArgument = 0, .errors = {EACCES, EIO, ENOMEM, EPERM, EROFS}}},
      {SYS_mkdir,
       {.name = "mkdir", .pathArgument = 0, .errors = {EACCES, EDQUOT, ENOMEM, ENOSPC, EROFS}}},
      {SYS_chmod, {.name = "chmod", .pathArgument = 0, .errors = {EIO, ENOMEM, EPERM, EROFS}}},
      {SYS_fchmod, {.name = "fchmod", .descriptorArgument = 0, .errors = {EIO, EPERM, EROFS}}},
      {SYS_fchown, {.name = "fchown", .descriptorArgument = 0, .errors = {EIO, EPERM, EROFS}}},
      {SYS_flock,
       {.name = "flock", .descriptorArgument = 0, .flagsArgument = 1, .errors = {EINTR, ENOLCK}}},
      {SYS_ioctl, {.name = "ioctl", .descriptorArgument = 0, .errors = {EIO, ENOSPC, EXDEV}}},
      {SYS_fcntl, {.name = "fcntl", .descriptorArgument = 0, .errors = {EMFILE}}},
      {SYS_dup2, {.name = "dup2", .descriptorArgument = 0, .errors = {EBUSY, EINTR}}},
      {SYS_lseek, {.name = "seek", .descriptorArgument = 0}},
      {SYS_clone, {.name = "spawn"}},
      {SYS_clone3, {.name = "spawn"}},
      {SYS_vfork, {.name = "spawn"}},
      {SYS_getdents64, {.name = "list", .descriptorArgument = 0, .errors = {EIO, ENOENT}}},
      {SYS_readlink, {.name = "readlink", .pathArgument = 0, .errors = {EACCES, EIO, ENOMEM}}},
  };
  return all;
}

const std::set<std::uint64_t>& callsOnNoFile() {
  static const std::set<std::uint64_t> all = {
      SYS_brk,           SYS_clock_gettime,   SYS_exit_group,
      SYS_futex,         SYS_getrandom,       SYS_madvise,
      SYS_mmap,          SYS_mprotect,        SYS_mremap,
      SYS_munmap,        SYS_restart_syscall, SYS_rt_sigaction,
      SYS_rt_sigprocmask};
  return all;
}

std::vector<int> errorsOf(std::string_view call) {
  for (const auto& [number, form] : fileCallForms()) {
    if (call == form.name) return form.errors;
  }
  throw std::invalid_argument("no call of this name");
}

}  // namespace tarnwell::test
