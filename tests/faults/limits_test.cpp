// Full disks, resource limits and read-only places: a refused change leaves the plan as it was, and
// the next one succeeds when there is room.
#include <filesystem>
#include <string>
#include <string_view>

#include <gtest/gtest.h>
#include <unistd.h>

#include "tarnwell/json/json_decode.h"
#include "tarnwell/store/local_store.h"

#include "tests/support/builders.h"
#include "tests/support/tool.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;

using test::contentOf;
using test::Process;
using test::writeFile;

constexpr std::string_view listCommand = R"({"version":1,"command":"tasks.list"})";
constexpr std::string_view createCommand =
    R"({"version":1,"command":"tasks.create","expectedRevision":0,"payload":{"title":"New"}})";

// Returns a document of that many tasks, each of about half a kilobyte.
std::string planOf(int tasks) {
  PersistedState plan = PersistedState::initial();
  for (int i = 0; i < tasks; ++i) {
    plan.tasks.push_back(test::makeTask("Task " + std::to_string(i)));
  }
  const test::ScratchFolder folder;
  LocalStore(folder / "state.json").save(plan);
  return contentOf(folder / "state.json");
}

class Limits : public testing::Test {
 protected:
  Limits() { writeFile(tool.dataFile(), document); }

  // Runs a script with the tool as $tool, commands as $list and $create, and a folder $out for what
  // the test looks at.
  test::ProcessResult runScript(const std::string& script, bool isInPrivateNamespace = false) {
    writeFile(out / "list", listCommand);
    writeFile(out / "create", createCommand);
    std::vector<std::string> arguments;
    if (isInPrivateNamespace) {
      arguments = {"/usr/bin/unshare", "--mount"};
      if (::geteuid() != 0) arguments.emplace_back("--map-root-user");
    }
    arguments.insert(arguments.end(), {"/bin/sh", "-euc", script});
    return Process{
        .arguments = arguments,
        .environment = {"HOME=" + tool.home().string(), "PATH=/usr/sbin:/usr/bin:/bin",
                        std::string("tool=") + TARNWELLCTL, "out=" + out.path().string(),
                        "list=" + (out / "list").string(), "create=" + (out / "create").string(),
                        "data=" + tool.dataDirectory().string()}}
        .run();
  }

  // Says whether the machine lacks what the script needs: the script then exits with 77.
  static bool couldNotBegin(const test::ProcessResult& result) {
    return result.exitStatus == 77 || result.errors.starts_with("unshare: ");
  }

  static void expectRefusal(const std::string& reply) {
    const auto decoded = decodeJSON<AgentResponseEnvelope>(reply);
    ASSERT_TRUE(decoded.error) << reply;
    EXPECT_EQ(decoded.error->code, "operation_failed");
  }

  static void expectSuccess(const std::string& reply) {
    EXPECT_TRUE(decodeJSON<AgentResponseEnvelope>(reply).ok) << reply;
  }

  // Checks that the plan is as it was and that no temporary file is left.
  void expectUntouched() const {
    EXPECT_EQ(contentOf(tool.dataFile()), document);
    for (const auto& entry : fs::recursive_directory_iterator(tool.dataDirectory())) {
      EXPECT_FALSE(entry.path().filename().string().starts_with('.')) << entry.path();
    }
  }

  const std::string document = planOf(30);
  test::Tool tool;
  test::ScratchFolder out;
};

TEST_F(Limits, aFullDiskRefusesTheChangeAndTakesTheNextWhenThereIsRoom) {
  writeFile(out / "document", document);
  const auto result = runScript(R"sh(
    mount -t tmpfs -o size=64k none "$HOME" || { echo "no private file system" >&2; exit 77; }
    mkdir -p "$data"
    cp "$out/document" "$data/state.json"
    head -c 100000 /dev/zero >"$HOME/filler" 2>/dev/null || true
    "$tool" <"$create" >"$out/full"
    cp "$data/state.json" "$out/after"
    find "$data" -name '.*' >"$out/temporary"
    rm "$HOME/filler"
    "$tool" <"$create" >"$out/with-room"
  )sh",
                                true);
  if (couldNotBegin(result)) GTEST_SKIP() << result.errors;
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  expectRefusal(contentOf(out / "full"));
  EXPECT_EQ(contentOf(out / "after"), document);
  EXPECT_EQ(contentOf(out / "temporary"), "");
  expectSuccess(contentOf(out / "with-room"));
}

TEST_F(Limits, aReadOnlyFileSystemIsReadAndNotWritten) {
  const auto result = runScript(R"sh(
    mount --bind "$HOME" "$HOME" && mount -o remount,bind,ro "$HOME" ||
      { echo "no private file system" >&2; exit 77; }
    "$tool" <"$list" >"$out/read"
    "$tool" <"$create" >"$out/written"
  )sh",
                                true);
  if (couldNotBegin(result)) GTEST_SKIP() << result.errors;
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  expectSuccess(contentOf(out / "read"));
  expectRefusal(contentOf(out / "written"));
  expectUntouched();
}

TEST_F(Limits, aFileThatMayNotBeReplacedIsNotReplaced) {
  const auto result = runScript(R"sh(
    chattr +i "$data/state.json" || exit 77
    trap 'chattr -i "$data/state.json"' EXIT
    "$tool" <"$create" >"$out/written"
  )sh");
  if (couldNotBegin(result)) GTEST_SKIP() << result.errors;
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  expectRefusal(contentOf(out / "written"));
  expectUntouched();
}

TEST_F(Limits, aLimitOnTheSizeOfFilesRefusesTheChange) {
#ifdef __SANITIZE_THREAD__
  GTEST_SKIP() << "the thread sanitizer writes its own file";
#endif
  // In blocks of half a kilobyte, from none to as many as the document has.
  for (std::size_t blocks = 0; blocks <= document.size() / 512; blocks += 4) {
    const auto result = runScript("(ulimit -f " + std::to_string(blocks) +
                                  R"(; exec "$tool" <"$create") | cat >"$out/written")");
    ASSERT_EQ(result.exitStatus, 0) << result.errors;
    expectRefusal(contentOf(out / "written"));
    expectUntouched();
  }
}

TEST_F(Limits, aLimitOnMemoryRefusesTheChangeOrMakesIt) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "sanitizers need more memory than any limit that would matter";
#endif
  constexpr int notLoaded = 127;  // the dynamic loader's own failure
  const std::string large = planOf(4000);
  bool wasRefused = false;
  bool wasMade = false;
  for (int megabytes = 4; megabytes <= 64; megabytes += 2) {
    writeFile(tool.dataFile(), large);
    const auto result = runScript("ulimit -v " + std::to_string(megabytes * 1024) +
                                  R"(; exec "$tool" <"$create" >"$out/written")");
    const std::string reply = contentOf(out / "written");
    const bool isChanged = contentOf(tool.dataFile()) != large;
    ASSERT_EQ(result.signal, 0) << megabytes << " MB";
    if (result.exitStatus == notLoaded) {
      EXPECT_EQ(reply, "") << megabytes << " MB";
    } else if (result.exitStatus == 64) {
      EXPECT_EQ(reply, test::invalidEnvelopeReply) << megabytes << " MB";
    } else {
      ASSERT_EQ(result.exitStatus, 0) << megabytes << " MB: " << result.errors;
      EXPECT_EQ(decodeJSON<AgentResponseEnvelope>(reply).ok, isChanged) << reply;
    }
    wasRefused = wasRefused || (result.exitStatus != notLoaded && !isChanged);
    wasMade = wasMade || isChanged;
    EXPECT_EQ(LocalStore(tool.dataFile()).load().revision, isChanged ? 1 : 0);
    EXPECT_FALSE(isChanged && result.exitStatus != 0) << megabytes << " MB";
    fs::remove_all(tool.dataDirectory());
  }
  EXPECT_TRUE(wasRefused);
  EXPECT_TRUE(wasMade);
}

}  // namespace
}  // namespace tarnwell
