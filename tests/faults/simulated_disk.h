// The possible content of a disk after a power cut, derived from the system calls before it.
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/faults/traced_tool.h"

namespace tarnwell::test {

// Every file, symbolic link and folder below one folder, by relative path. The content of a file,
// the target of a link.
struct DiskImage {
  enum class Kind { folder, file, link };
  struct Entry {
    Kind kind = Kind::folder;
    std::string content{};

    auto operator<=>(const Entry&) const = default;
  };
  std::map<std::string, Entry> entries;

  static DiskImage of(const std::filesystem::path& folder);

  // Into an existing empty folder.
  void writeTo(const std::filesystem::path& folder) const;

  // The content of the file at a path, symbolic links followed; absent when there is none.
  std::optional<std::string> contentOf(const std::string& path) const;

  auto operator<=>(const DiskImage&) const = default;
};

// A file system that makes nothing durable before it must. A sync of a file makes its bytes
// durable; a sync of a folder makes its names durable. Until then, each name that was created,
// renamed or removed may be on the disk or not, independently of all others (a renaming counts as
// two: the new name and the removal of the old one), and the bytes written since the last sync may
// be missing, cut off, zeroes, or there.
class SimulatedDisk {
 public:
  // Begins with a folder as it is, all of it durable.
  explicit SimulatedDisk(const std::filesystem::path& root);

  // Takes the bytes of an existing file, named by its path below the root, as never synced.
  void forgetSync(const std::filesystem::path& file);

  // Follows a call of the traced program. Calls outside the root change nothing.
  void apply(const FileCall& call);

  // Everything as processes see it now.
  DiskImage visibleImage() const;

  // Visits every image that a power cut may leave now, where bytes end or turn to zeroes at the
  // ends of so many equal parts.
  void forEachImage(std::size_t parts, const std::function<void(const DiskImage&)>& visit) const;

 private:
  using Index = std::size_t;
  using Names = std::map<std::string, Index>;

  // The absence of an index is a removal.
  struct NameChange {
    std::string name;
    std::optional<Index> index;
  };
  struct Node {
    DiskImage::Kind kind = DiskImage::Kind::folder;
    std::string content{};              // a file's bytes as processes see them; a link's target
    std::string durableContent{};       // a file's bytes at the last sync
    Names durableNames{};               // a folder's names at the last sync
    std::vector<NameChange> changes{};  // a folder's name changes since
  };
  struct Place {
    Index folder;
    std::string name;
  };
  // One way in which the nodes may have reached the disk.
  struct Outcome {
    std::map<Index, Names> names;
    std::map<Index, std::string> contents;
  };

  Index add(const std::filesystem::path& path);
  static void applyTo(Names& names, const NameChange& change);
  Names namesOf(Index folder) const;
  std::optional<Place> placeOf(const std::filesystem::path& path) const;
  std::optional<Index> find(const std::filesystem::path& path) const;
  void change(const std::optional<Place>& place, std::optional<Index> index);
  void open(const FileCall& call);
  void sync(Index index);
  std::vector<Outcome> outcomes(std::size_t parts) const;
  void addTo(DiskImage& image, Index folder, const std::string& prefix,
             const Outcome& outcome) const;

  std::filesystem::path root_;
  std::vector<Node> nodes_;  // the root first
  std::map<int, Index> opened_;
};

}  // namespace tarnwell::test
