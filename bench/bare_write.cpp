// bare_write FILE: the least that a durable change of the file with a copy of it before can do.
// Reads it piece by piece into a copy and a new file, syncs both, renames the new one over the old
// and syncs the folder. Nothing is parsed.
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

}  // namespace

int main(int count, char** values) {
  require(count == 2);
  const std::string path = values[1];
  const int source = open(path, O_RDONLY);
  const int copy = open(path + ".copy", O_WRONLY | O_CREAT | O_TRUNC);
  const int changed = open(path + ".new", O_WRONLY | O_CREAT | O_TRUNC);
  static std::array<char, pieceSize> piece;
  while (true) {
    const ssize_t taken = ::read(source, piece.data(), piece.size());
    require(taken >= 0);
    if (taken == 0) break;
    write(copy, piece.data(), static_cast<std::size_t>(taken));
    write(changed, piece.data(), static_cast<std::size_t>(taken));
  }
  require(::fsync(copy) == 0);
  require(::fsync(changed) == 0);
  require(::rename((path + ".new").c_str(), path.c_str()) == 0);
  const std::string folder = path.substr(0, path.rfind('/') + 1);
  require(::fsync(open(folder.empty() ? "." : folder, O_RDONLY | O_DIRECTORY)) == 0);
}
