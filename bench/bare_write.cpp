// bare_write FILE: the minimum work of a durable change that keeps a copy in the folder
// FILE.copies. Copies the bytes to a new file, syncs both, links the old one into the folder and
// syncs it, renames the new one over the old one, and syncs their folder. Parses nothing.
#include <array>
#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include "tarnwell/base/piece_size.h"

namespace {

void require(bool condition) {
  if (!condition) std::exit(EXIT_FAILURE);
}

int open(const std::string& path, int flags) {
  const int file = ::open(path.c_str(), flags, 0600);
  require(file >= 0);
  return file;
}

void write(int file, const char* bytes, std::size_t size) {
  while (size > 0) {
    const ssize_t count = ::write(file, bytes, size);
    require(count >= 0);
    bytes += count;
    size -= static_cast<std::size_t>(count);
  }
}

void syncFolder(const std::string& path) {
  require(::fsync(open(path, O_RDONLY | O_DIRECTORY)) == 0);
}

}  // namespace

int main(int count, char** values) {
  require(count == 2);
  const std::string path = values[1];
  const std::string changed = path + ".new";
  const std::string copies = path + ".copies";
  const int source = open(path, O_RDONLY);
  const int target = open(changed, O_WRONLY | O_CREAT | O_TRUNC);
  static std::array<char, tarnwell::pieceSize> piece;
  while (true) {
    const ssize_t taken = ::read(source, piece.data(), piece.size());
    require(taken >= 0);
    if (taken == 0) break;
    write(target, piece.data(), static_cast<std::size_t>(taken));
  }
  require(::fsync(target) == 0);
  require(::fsync(source) == 0);
  require(::link(path.c_str(), (copies + "/copy").c_str()) == 0);
  syncFolder(copies);
  require(::rename(changed.c_str(), path.c_str()) == 0);
  const std::string folder = path.substr(0, path.rfind('/') + 1);
  syncFolder(folder.empty() ? "." : folder);
}
