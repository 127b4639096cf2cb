#include "tarnwell/upkeep/data_file_findings.h"

#include <cerrno>
#include <filesystem>
#include <set>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tarnwell/platform/file.h"
#include "tarnwell/upkeep/finding_texts.h"

namespace tarnwell {

namespace fs = std::filesystem;

namespace {

constexpr auto area = FindingArea::dataFile;

// Returns the error number that denies this process the access in `mode`; 0 if it is granted.
int denial(const fs::path& path, int mode) {
  return ::faccessat(AT_FDCWD, path.c_str(), mode, AT_EACCESS) == 0 ? 0 : errno;
}

bool isThere(const fs::path& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0;
}

// Unlike what cannot be looked at.
bool isAbsent(const fs::path& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) != 0 && errno == ENOENT;
}

bool isLink(const fs::path& path) {
  std::error_code unknown;
  return fs::is_symlink(path, unknown);
}

// Returns the folder on the way to the path that denies passage; otherwise the path itself.
fs::path deniedPart(const fs::path& path) {
  fs::path part;
  for (const auto& name : path.parent_path()) {
    part /= name;
    if (isThere(part) && denial(part, X_OK) != 0) return part;
  }
  return path;
}

std::string advicePermitting(const fs::path& path) {
  struct stat status {};
  const bool isOthers = ::stat(path.c_str(), &status) == 0 && status.st_uid != ::geteuid();
  if (isOthers) return "It belongs to another user: sudo chown \"$USER\" " + inShell(path);
  std::error_code unknown;
  return std::string("chmod ") + (fs::is_directory(path, unknown) ? "u+rwx " : "u+rw ") +
         inShell(path);
}

Finding unreadable(const FileError& error, const fs::path& path, const WayBack& wayBack) {
  const std::string name = "The data file " + inShell(path);
  switch (error.code()) {
    case EACCES:
    case EPERM:
      return problem(area, name + " may not be read.", advicePermitting(deniedPart(path)));
    case EISDIR:
    case EINVAL:
    case ENXIO:
      return problem(area, name + " is no file but a folder, a pipe, a socket or a device.",
                     "Move it away: mv " + inShell(path) + " " + inShell(path.string() + ".odd") +
                         ". " + wayBack());
    default:
      return problem(area, name + " cannot be read: " + error.reason() + ".",
                     "Look after the disk or the link. " + wayBack());
  }
}

Finding missing(const fs::path& path, const WayBack& wayBack, bool hasCopies) {
  std::error_code unknown;
  const fs::path target = fs::read_symlink(path, unknown);
  if (!unknown) {
    return problem(area,
                   "The data file " + inShell(path) + " is a link to " + inShell(target) +
                       ", which is not there.",
                   "Connect the disk that it is on, or remove the link: rm " + inShell(path) +
                       ". " + wayBack());
  }
  if (hasCopies) {
    return problem(area, "The data file " + inShell(path) + " is missing, and copies of it remain.",
                   wayBack());
  }
  return hint(area, "There is no plan yet: " + inShell(path) + " does not exist.",
              R"(Begin one: tarnwell add "My first task")");
}

// Returns the folders that a change writes to. A change creates missing ones.
std::set<fs::path> foldersOf(const LocalStore& localStore) {
  std::error_code unknown;
  const fs::path target = fs::canonical(localStore.url(), unknown);  // where it is a link
  std::set<fs::path> folders{localStore.url().parent_path(), localStore.copies()};
  if (!unknown && isLink(localStore.url())) folders.insert(target.parent_path());
  return folders;
}

void addFindingOfFolder(const fs::path& folder, Findings& findings) {
  std::error_code unknown;
  if (!isThere(folder)) return;
  if (!fs::is_directory(folder, unknown)) {
    findings.push_back(
        problem(area, inShell(folder) + " is no folder: nothing can be changed.",
                "Move it away: mv " + inShell(folder) + " " + inShell(folder.string() + ".odd")));
  } else if (const int error = denial(folder, W_OK | X_OK)) {
    findings.push_back(problem(area,
                               "The folder " + inShell(folder) + " may not be written to (" +
                                   std::generic_category().message(error) +
                                   "): nothing can be changed.",
                               advicePermitting(folder)));
  }
}

void addFindingOfLock(const LocalStore& localStore, Findings& findings) {
  std::error_code unknown;
  const fs::path lock = localStore.url().string() + ".lock";
  if (!isThere(lock)) return;
  const std::string name = "The lock " + inShell(lock);
  if (fs::symlink_status(lock, unknown).type() != fs::file_type::regular) {
    findings.push_back(problem(area, name + " is no file: nothing can be changed.",
                               "Remove it: rm -r " + inShell(lock)));
  } else if (denial(lock, R_OK | W_OK) != 0) {
    findings.push_back(problem(area, name + " may not be read and written: nothing can be changed.",
                               advicePermitting(lock)));
  }
}

void addFindingOfPrivacy(const fs::path& path, Findings& findings) {
  struct stat file {};
  struct stat folder {};
  const bool areThere =
      ::stat(path.c_str(), &file) == 0 && ::stat(path.parent_path().c_str(), &folder) == 0;
  const bool mayPass = (folder.st_mode & (S_IXGRP | S_IXOTH)) != 0;
  const bool mayOpen = (file.st_mode & (S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH)) != 0;
  if (!areThere || !mayPass || !mayOpen) return;
  findings.push_back(hint(area, "Other users may open the data file " + inShell(path) + ".",
                          "Keep it private: chmod 600 " + inShell(path)));
}

// Returns the content, or adds the reason why there is none.
std::optional<std::string> readContent(const fs::path& path, const WayBack& wayBack, bool hasCopies,
                                       Findings& findings) {
  try {
    auto text = readFile(path);
    if (!text) {
      findings.push_back(missing(path, wayBack, hasCopies));
    } else if (text->empty()) {
      findings.push_back(problem(area, "The data file " + inShell(path) + " is empty.", wayBack()));
      text.reset();
    }
    return text;
  } catch (const FileError& error) {
    findings.push_back(unreadable(error, path, wayBack));
    return std::nullopt;
  }
}

}  // namespace

DataFileExamination examineDataFile(const LocalStore& localStore, const WayBack& wayBack,
                                    bool hasCopies) {
  const fs::path& path = localStore.url();
  DataFileExamination result;
  result.text = readContent(path, wayBack, hasCopies, result.findings);
  result.isNotYetThere = isAbsent(path) && !hasCopies;
  addFindingOfPrivacy(path, result.findings);
  for (const fs::path& folder : foldersOf(localStore)) addFindingOfFolder(folder, result.findings);
  addFindingOfLock(localStore, result.findings);
  return result;
}

}  // namespace tarnwell
