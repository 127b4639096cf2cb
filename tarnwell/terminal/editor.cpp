#include "tarnwell/terminal/editor.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tarnwell/json/utf8.h"
#include "tarnwell/platform/child_process.h"
#include "tarnwell/platform/file_descriptor.h"
#include "tarnwell/terminal/command.h"
#include "tarnwell/terminal/interrupts.h"

extern char** environ;  // NOLINT(readability-redundant-declaration): not in every system's headers

namespace tarnwell::terminal {
namespace {

[[noreturn]] void failFor(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

// A private file, removed with this object.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string& content)
      : path_((std::filesystem::temp_directory_path() / "tarnwell-notes-XXXXXX.txt").string()) {
    constexpr int suffixLength = 4;
    const FileDescriptor file(::mkstemps(path_.data(), suffixLength));
    if (!file.isOpen() || writeAll(file.number(), content) != 0) failFor("a temporary file");
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() { ::unlink(path_.c_str()); }

  const std::string& path() const { return path_; }

  // Editors replace the file, so it is opened again.
  std::string content() const {
    const FileDescriptor file(::open(path_.c_str(), O_RDONLY | O_CLOEXEC));
    std::string text;
    if (!file.isOpen() || readToEnd(file.number(), text) != 0) failFor("the edited text");
    return text;
  }

 private:
  std::string path_;
};

// Runs the editor with this program's streams. Returns whether it succeeded.
bool runEditor(const std::string& path) {
  std::vector<std::string> words{"/bin/sh", "-c", R"(eval "${EDITOR:-vi} \"\$1\"")", "sh", path};
  const std::vector<char*> arguments = pointersTo(words);
  const SurvivedInterrupts guard;
  pid_t child = 0;
  if (posix_spawn(&child, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0) {
    return false;
  }
  int status = 0;
  retryingInterrupted([&] { return ::waitpid(child, &status, 0); });
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace

std::string editedText(const std::string& text) {
  // Editors end the last line. A line feed that they add is not a change.
  const bool endsLine = text.empty() || text.ends_with('\n');
  const TemporaryFile file(endsLine ? text : text + '\n');
  if (!runEditor(file.path())) throw Refusal("The editor failed. Nothing was changed.");
  std::string edited = file.content();
  if (!isValidUTF8(edited)) {
    throw Refusal("The edited text is not valid UTF-8. Nothing was changed.");
  }
  if (!endsLine && edited.ends_with('\n')) edited.pop_back();
  return edited;
}

}  // namespace tarnwell::terminal
