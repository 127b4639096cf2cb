#include "tarnwell/terminal/editor.h"

#include <cerrno>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tarnwell/json/utf8.h"
#include "tarnwell/platform/child_process.h"
#include "tarnwell/platform/file_descriptor.h"
#include "tarnwell/terminal/interrupts.h"

extern char** environ;  // NOLINT(readability-redundant-declaration): not in every system's headers

namespace tarnwell::terminal {
namespace {

[[noreturn]] void failFor(const char* what, int error = errno) {
  throw std::system_error(error, std::generic_category(), what);
}

// A private file with a text for the editor, removed with this object unless it is kept.
class EditedFile {
 public:
  explicit EditedFile(std::string text)
      : path_((std::filesystem::temp_directory_path() / "tarnwell-notes-XXXXXX.txt").string()),
        text_(std::move(text)) {
    constexpr int suffixLength = 4;
    const FileDescriptor file(::mkstemps(path_.data(), suffixLength));
    if (!file.isOpen() || writeAll(file.number(), text_) != 0) failFor("a temporary file");
  }
  EditedFile(const EditedFile&) = delete;
  EditedFile& operator=(const EditedFile&) = delete;
  ~EditedFile() {
    if (!isKept_) ::unlink(path_.c_str());
  }

  const std::string& path() const { return path_; }

  std::string content() const {
    std::string text;
    if (const int error = read(text)) failFor("the edited text", error);
    return text;
  }

  // Keeps the file if the user has changed it. Returns whether it is kept.
  bool keepIfChanged() {
    std::string text;
    const int error = read(text);
    isKept_ = error == 0 ? text != text_ : error != ENOENT;
    return isKept_;
  }

 private:
  // Editors replace the file, so it is opened again. Returns the error number, or 0.
  int read(std::string& text) const {
    const FileDescriptor file(::open(path_.c_str(), O_RDONLY | O_CLOEXEC));
    return file.isOpen() ? readToEnd(file.number(), text) : errno;
  }

  std::string path_;
  std::string text_;
  bool isKept_ = false;
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

// Throws Refusal when the editor fails or the text is not UTF-8.
std::string editedIn(const EditedFile& file) {
  if (!runEditor(file.path())) throw Refusal("The editor failed. Nothing was changed.");
  std::string edited = file.content();
  if (!isValidUTF8(edited)) {
    throw Refusal("The edited text is not valid UTF-8. Nothing was changed.");
  }
  return edited;
}

}  // namespace

Outcome editText(const std::string& text, const std::function<Outcome(std::string)>& use) {
  // Editors end the last line. A line feed that they add is not a change.
  const bool endsLine = text.empty() || text.ends_with('\n');
  EditedFile file(endsLine ? text : text + '\n');
  try {
    std::string edited = editedIn(file);
    if (!endsLine && edited.ends_with('\n')) edited.pop_back();
    return use(std::move(edited));
  } catch (const std::exception& error) {
    if (!file.keepIfChanged()) throw;
    throw Refusal(error.what(), {Line("Your text is kept in " + file.path() + ".")});
  }
}

}  // namespace tarnwell::terminal
