#include "tests/faults/simulated_disk.h"

#include <algorithm>
#include <set>
#include <stdexcept>

#include <fcntl.h>

#include "tests/support/scratch_folder.h"

namespace tarnwell::test {

namespace fs = std::filesystem;

namespace {

// The forms in which bytes that were not synced may be found: missing, cut off at the end of each
// part, zeroes before or after it, or whole.
std::vector<std::string> contentsAfterCut(const std::string& durable, const std::string& written,
                                          std::size_t parts) {
  if (durable == written) return {written};
  std::set<std::string> contents{durable, written};
  for (std::size_t part = 0; part <= parts; ++part) {
    const std::size_t end = written.size() * part / parts;
    const std::string zeroes(written.size(), '\0');
    contents.insert(written.substr(0, end));
    contents.insert(written.substr(0, end) + zeroes.substr(end));
    contents.insert(zeroes.substr(0, end) + written.substr(end));
  }
  return {contents.begin(), contents.end()};
}

}  // namespace

DiskImage DiskImage::of(const fs::path& folder) {
  DiskImage image;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    Entry& found = image.entries[fs::relative(entry.path(), folder).string()];
    if (entry.is_symlink()) {
      found = {Kind::link, fs::read_symlink(entry.path()).string()};
    } else if (entry.is_regular_file()) {
      found = {Kind::file, test::contentOf(entry.path())};
    }
  }
  return image;
}

void DiskImage::writeTo(const fs::path& folder) const {
  for (const auto& [path, entry] : entries) {  // a folder comes before its entries
    switch (entry.kind) {
      case Kind::folder:
        fs::create_directory(folder / path);
        break;
      case Kind::link:
        fs::create_symlink(entry.content, folder / path);
        break;
      case Kind::file:
        writeFile(folder / path, entry.content);
        fs::permissions(folder / path, fs::perms::owner_read | fs::perms::owner_write);
    }
  }
}

std::optional<std::string> DiskImage::contentOf(const std::string& path) const {
  const auto found = entries.find(path);
  if (found == entries.end()) return std::nullopt;
  if (found->second.kind == Kind::file) return found->second.content;
  if (found->second.kind == Kind::folder) return std::nullopt;
  const fs::path target = fs::path(path).parent_path() / found->second.content;
  return contentOf(target.lexically_normal().string());
}

SimulatedDisk::SimulatedDisk(const fs::path& root) : root_(root) { add(root); }

SimulatedDisk::Index SimulatedDisk::add(const fs::path& path) {
  const Index index = nodes_.size();
  nodes_.emplace_back();
  if (fs::is_symlink(path)) {
    nodes_[index] = {.kind = DiskImage::Kind::link, .content = fs::read_symlink(path).string()};
  } else if (fs::is_regular_file(path)) {
    const std::string content = contentOf(path);
    nodes_[index] = {.kind = DiskImage::Kind::file, .content = content, .durableContent = content};
  } else {
    for (const auto& entry : fs::directory_iterator(path)) {
      const Index child = add(entry.path());
      nodes_[index].durableNames[entry.path().filename().string()] = child;
    }
  }
  return index;
}

void SimulatedDisk::forgetSync(const fs::path& file) {
  nodes_[find(root_ / file).value()].durableContent.clear();
}

void SimulatedDisk::apply(const FileCall& call) {
  if (call.result < 0) return;
  const auto opened = opened_.find(call.descriptor);
  if (call.name == "open") {
    open(call);
  } else if (call.name == "mkdir") {
    nodes_.emplace_back();
    change(placeOf(call.path), nodes_.size() - 1);
  } else if (call.name == "link") {
    change(placeOf(call.target), find(call.path));
  } else if (call.name == "rename") {
    const auto index = find(call.path);
    change(placeOf(call.target), index);
    change(placeOf(call.path), std::nullopt);
  } else if (call.name == "unlink") {
    change(placeOf(call.path), std::nullopt);
  } else if (opened == opened_.end()) {
    return;
  } else if (call.name == "write") {
    nodes_[opened->second].content += call.data;
  } else if (call.name == "sync") {
    sync(opened->second);
  } else if (call.name == "close") {
    opened_.erase(opened);
  } else if (call.name == "ioctl") {
    throw std::runtime_error("a file was cloned, which is not simulated");
  }
}

void SimulatedDisk::open(const FileCall& call) {
  auto index = find(call.path);
  const auto place = placeOf(call.path);
  if (!index && place && (call.flags & O_CREAT) != 0) {
    index = nodes_.size();
    nodes_.push_back({.kind = DiskImage::Kind::file});
    change(place, index);
  }
  if (index) opened_[static_cast<int>(call.result)] = *index;
}

void SimulatedDisk::sync(Index index) {
  Node& node = nodes_[index];
  if (node.kind == DiskImage::Kind::folder) {
    node.durableNames = namesOf(index);
    node.changes.clear();
  } else {
    node.durableContent = node.content;
  }
}

void SimulatedDisk::change(const std::optional<Place>& place, std::optional<Index> index) {
  if (place) nodes_[place->folder].changes.push_back({place->name, index});
}

void SimulatedDisk::applyTo(Names& names, const NameChange& change) {
  if (change.index) {
    names[change.name] = *change.index;
  } else {
    names.erase(change.name);
  }
}

SimulatedDisk::Names SimulatedDisk::namesOf(Index folder) const {
  Names names = nodes_[folder].durableNames;
  for (const NameChange& change : nodes_[folder].changes) applyTo(names, change);
  return names;
}

std::optional<SimulatedDisk::Place> SimulatedDisk::placeOf(const fs::path& named) const {
  const fs::path path = named.lexically_normal();
  const fs::path relative = path.lexically_relative(root_);
  if (relative.empty() || *relative.begin() == "..") return std::nullopt;
  const auto folder = find(path.parent_path());
  if (!folder) return std::nullopt;
  return Place{*folder, path.filename().string()};
}

std::optional<SimulatedDisk::Index> SimulatedDisk::find(const fs::path& named) const {
  const fs::path path = named.lexically_normal();
  if (path == root_) return Index{0};
  const auto place = placeOf(path);
  if (!place) return std::nullopt;
  const Names names = namesOf(place->folder);
  const auto found = names.find(place->name);
  if (found == names.end()) return std::nullopt;
  const Node& node = nodes_[found->second];
  if (node.kind != DiskImage::Kind::link) return found->second;
  return find(path.parent_path() / node.content);
}

DiskImage SimulatedDisk::visibleImage() const {
  Outcome outcome;
  for (Index index = 0; index < nodes_.size(); ++index) {
    outcome.names[index] = namesOf(index);
    outcome.contents[index] = nodes_[index].content;
  }
  DiskImage image;
  addTo(image, 0, "", outcome);
  return image;
}

void SimulatedDisk::forEachImage(std::size_t parts,
                                 const std::function<void(const DiskImage&)>& visit) const {
  for (const Outcome& outcome : outcomes(parts)) {
    DiskImage image;
    addTo(image, 0, "", outcome);
    visit(image);
  }
}

std::vector<SimulatedDisk::Outcome> SimulatedDisk::outcomes(std::size_t parts) const {
  std::vector<Outcome> outcomes(1);
  const auto multiply = [&](std::size_t count, const auto& choose) {
    std::vector<Outcome> product;
    for (const Outcome& outcome : outcomes) {
      for (std::size_t i = 0; i < count; ++i) choose(product.emplace_back(outcome), i);
    }
    outcomes = std::move(product);
  };
  for (Index index = 0; index < nodes_.size(); ++index) {
    const Node& node = nodes_[index];
    if (node.kind == DiskImage::Kind::folder) {
      multiply(std::size_t{1} << node.changes.size(), [&](Outcome& outcome, std::size_t chosen) {
        Names& names = outcome.names[index] = node.durableNames;
        for (std::size_t i = 0; i < node.changes.size(); ++i) {
          if ((chosen >> i & 1U) != 0) applyTo(names, node.changes[i]);
        }
      });
    } else if (node.kind == DiskImage::Kind::file) {
      const auto contents = contentsAfterCut(node.durableContent, node.content, parts);
      multiply(contents.size(), [&](Outcome& outcome, std::size_t chosen) {
        outcome.contents[index] = contents[chosen];
      });
    }
  }
  return outcomes;
}

void SimulatedDisk::addTo(DiskImage& image, Index folder, const std::string& prefix,
                          const Outcome& outcome) const {
  for (const auto& [name, index] : outcome.names.at(folder)) {
    const Node& node = nodes_[index];
    const bool isFile = node.kind == DiskImage::Kind::file;
    image.entries[prefix + name] = {node.kind, isFile ? outcome.contents.at(index) : node.content};
    if (node.kind == DiskImage::Kind::folder) addTo(image, index, prefix + name + "/", outcome);
  }
}

}  // namespace tarnwell::test
