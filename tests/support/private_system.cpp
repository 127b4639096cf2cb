#include "tests/support/private_system.h"

#include <sstream>

#include <unistd.h>

#include "tarnwell/base/enum_texts.h"

namespace tarnwell::test {

namespace fs = std::filesystem;

namespace {

// Answers a prompt.
constexpr std::string_view answering = R"sh(
fail() { echo 'the disk is on fire' >&2; exit 1; }
pretend() { exit 0; }
damage() { echo damaged >/etc/hosts; fail; }
hang() { exec sleep 600; } # far longer than a test
interrupt() { kill -INT 0; } # the foreground process group
kill_tool() { kill -KILL "$PPID"; }
chatter() { head -c 1048576 /dev/zero | tr '\0' x >&2; echo 'a line of output'; approve "$@"; }

tamper() {
  for file in "${plan%/*}"/Backups/* /proc/$$/fd/0; do echo tampered >"$file"; done 2>/dev/null
  approve "$@"
}
meddle() { env HOME="$home" "$tool" <"$folder/meddling" >/dev/null; approve "$@"; }

echo $$ >"$folder/process"
cat /proc/$$/environ >"$folder/environment"
printf x >>"$folder/prompts"
printf '%s\0' "$@" >"$folder/request"
cp "$plan" "$folder/plan"
rm -f "$folder/lock-was-free"
flock --nonblock "$plan.lock" touch "$folder/lock-was-free"
answer=$(sed -n "$(wc -c <"$folder/prompts")p" "$folder/answers")
"${answer:-fail}" "$@"
)sh";

// Its arguments are an option, then the command to run.
constexpr std::string_view polkitStandIn = R"sh(
approve() { shift; exec "$@"; }
dismiss() { echo 'Error executing command as another user: Request dismissed' >&2; exit 126; }
)sh";

// Its arguments are -e and a script, whose one string literal is the command to run.
constexpr std::string_view scriptRunnerStandIn = R"sh(
approve() {
  exec /bin/sh -c "$(printf '%s' "$2" |
    sed -e 's/^do shell script "//' -e 's/" with administrator privileges$//' -e 's/\\\(.\)/\1/g')"
}
dismiss() { echo '0:65: execution error: User canceled. (-128)' >&2; exit 1; }
)sh";

constexpr std::string_view recordingFlush = R"sh(
echo "${0##*/} $*" >>"$folder/flushes"
)sh";

// Linux has no group "wheel".
constexpr std::string_view chownStandIn = R"sh(
[ "$1" = root:wheel ] && exec /usr/bin/chown 0:0 "$2"
)sh";

// The mounts go away with the process.
std::vector<std::string> inPrivateNamespace(const fs::path& folder,
                                            const std::vector<std::string>& command) {
  constexpr const char* mountAndRun = R"sh(
mount --bind "$0/etc" /etc &&
mount -t overlay -o "lowerdir=$0/usr/bin:/usr/bin" overlay /usr/bin &&
mount -t overlay -o "lowerdir=$0/usr/sbin:/usr/sbin" overlay /usr/sbin &&
exec "$@")sh";
  std::vector<std::string> arguments{"/usr/bin/unshare", "--mount"};
  if (::geteuid() != 0) arguments.emplace_back("--map-root-user");
  arguments.insert(arguments.end(), {"/bin/sh", "-c", mountAndRun, folder.string()});
  arguments.insert(arguments.end(), command.begin(), command.end());
  return arguments;
}

// Returns the texts of a list in which a zero byte ends each.
std::vector<std::string> textsIn(const std::string& list) {
  std::vector<std::string> texts;
  std::istringstream stream(list);
  for (std::string text; std::getline(stream, text, '\0');) texts.push_back(text);
  return texts;
}

void createMountedFolders(const fs::path& folder) {
  for (const auto* name : {"etc", "usr/bin", "usr/sbin"}) fs::create_directories(folder / name);
}

}  // namespace

std::string PrivateSystem::obstacle() {
#ifdef __APPLE__
  return "there are no mount namespaces";
#else
  const ScratchFolder folder;
  createMountedFolders(folder.path());
  const auto result = Process{.arguments = inPrivateNamespace(folder.path(), {"/bin/true"})}.run();
  return result.exitStatus == 0 ? "" : "no private mount namespace: " + result.errors;
#endif
}

PrivateSystem::PrivateSystem(Prompt prompt) {
  createMountedFolders(folder_.path());
  for (const auto* name : {"answers", "prompts", "flushes"}) writeFile(folder_ / name, "");
  const bool isPolkit = prompt == Prompt::polkit;
  addProgram(isPolkit ? "usr/bin/pkexec" : "usr/bin/osascript",
             std::string(isPolkit ? polkitStandIn : scriptRunnerStandIn) + std::string(answering));
  for (const auto* flush : {"resolvectl", "nscd", "dscacheutil", "killall"}) {
    addProgram("usr/bin/" + std::string(flush), recordingFlush);
  }
  if (!isPolkit) addProgram("usr/sbin/chown", chownStandIn);
}

void PrivateSystem::willAnswer(const std::vector<Answer>& answers) {
  writeFile(folder_ / "prompts", "");
  std::string lines;
  for (const Answer answer : answers) lines += std::string(textOf(answer)) + "\n";
  writeFile(folder_ / "answers", lines);
}

Process PrivateSystem::process(std::string_view input,
                               const std::vector<std::string>& command) const {
  return {.arguments = inPrivateNamespace(folder_.path(), command),
          .environment = {"HOME=" + tool_.home().string()},
          .input = input};
}

AgentResponseEnvelope PrivateSystem::ask(std::string_view command) const {
  return replyIn(run(command));
}

std::vector<std::string> PrivateSystem::lastRequest() const {
  return textsIn(contentOf(folder_ / "request"));
}

std::vector<std::string> PrivateSystem::lastEnvironment() const {
  return textsIn(contentOf(folder_ / "environment"));
}

pid_t PrivateSystem::promptProcess() const { return std::stoi(contentOf(folder_ / "process")); }

void PrivateSystem::addProgram(const std::string& path, std::string_view script) const {
  const fs::path file = folder_ / path;
  writeFile(file, "#!/bin/sh\nfolder='" + folder_.path().string() + "'\nhome='" +
                      tool_.home().string() + "'\nplan='" + tool_.dataFile().string() +
                      "'\ntool='" TARNWELLCTL "'\n" + std::string(script));
  fs::permissions(file, fs::perms::owner_all);
}

}  // namespace tarnwell::test
