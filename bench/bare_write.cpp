// bare_write FILE: the least that a durable change of the file with a copy of it before can do.
// Reads it, writes and syncs a copy, writes and syncs a new file, renames that over it, and syncs
// the folder.
#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace {

[[noreturn]] void fail() { std::exit(EXIT_FAILURE); }

void writeAndSync(const std::string& path, const std::string& bytes) {
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (file < 0) fail();
  for (std::size_t written = 0; written < bytes.size();) {
    const ssize_t count = ::write(file, bytes.data() + written, bytes.size() - written);
    if (count < 0) fail();
    written += static_cast<std::size_t>(count);
  }
  if (::fsync(file) != 0 || ::close(file) != 0) fail();
}

std::string read(const std::string& path) {
  const int file = ::open(path.c_str(), O_RDONLY);
  if (file < 0) fail();
  const auto size = static_cast<std::size_t>(::lseek(file, 0, SEEK_END));
  ::lseek(file, 0, SEEK_SET);
  std::string bytes(size, '\0');
  for (std::size_t taken = 0; taken < size;) {
    const ssize_t count = ::read(file, bytes.data() + taken, size - taken);
    if (count <= 0) fail();
    taken += static_cast<std::size_t>(count);
  }
  ::close(file);
  return bytes;
}

}  // namespace

int main(int count, char** values) {
  if (count != 2) return EXIT_FAILURE;
  const std::string path = values[1];
  const std::string bytes = read(path);
  writeAndSync(path + ".copy", bytes);
  writeAndSync(path + ".new", bytes);
  if (::rename((path + ".new").c_str(), path.c_str()) != 0) fail();
  const std::string folder = path.substr(0, path.rfind('/') + 1);
  const int opened = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY);
  if (opened < 0 || ::fsync(opened) != 0) fail();
}
