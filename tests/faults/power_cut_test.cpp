// Power cuts, simulated: after every system call of a change, every image that the disk may hold is
// a whole plan, the old one or the new one, with a whole copy of every document that was replaced,
// and with every earlier copy.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <sys/file.h>

#include "tarnwell/json/json_decode.h"

#include "tests/faults/power_cut_scenarios.h"
#include "tests/support/scoped_environment.h"
#include "tests/support/tool.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;

using test::dataFile;
using test::DiskImage;
using test::FileCall;
using test::Scenario;
using test::scenarios;
using test::SimulatedDisk;
using test::Tool;
using test::TracedChange;

using Document = std::optional<std::string>;  // absent where there is no data file

// The copies and backups in an image, under their final names.
struct Kept {
  std::set<std::string> copies;   // of the document
  std::set<std::string> backups;  // of the hosts file, and daily backups

  explicit Kept(const DiskImage& image) {
    for (const auto& [path, entry] : image.entries) {
      const fs::path name(path);
      const std::string folder = name.parent_path().filename().string();
      if (entry.kind != DiskImage::Kind::file || name.filename().string().starts_with('.')) {
        continue;
      }
      if (folder == "State Backups") copies.insert(entry.content);
      if (folder == "Daily Backups" || name.extension() == ".backup") backups.insert(entry.content);
    }
  }
};

// What a change has promised by some point. The release of the lock, the start of a child process
// (the administrator's prompt) and the reply promise what processes see by then.
struct Promise {
  std::size_t document = 0;  // the least of the documents that may be found
  std::set<std::string> backups{};

  auto operator<=>(const Promise&) const = default;
};

// A change that a power cut may interrupt after each of its calls.
class Interruptions {
 public:
  using Visit = std::function<bool(const DiskImage&, const Promise&)>;

  Interruptions(TracedChange change, std::size_t parts)
      : change_(std::move(change)), parts_(parts) {
    SimulatedDisk disk = change_.before;
    earlierCopies_ = Kept(disk.visibleImage()).copies;
    note(disk);
    for (const FileCall& call : change_.calls) {
      disk.apply(call);
      note(disk);
    }
  }

  const std::vector<FileCall>& calls() const { return change_.calls; }

  // Visits every image that a cut may leave, with the promises made by then, once, until `visit`
  // returns false. A call that is left out counts as not made.
  void forEachImage(const Visit& visit, std::optional<std::size_t> leftOut = std::nullopt) const {
    SimulatedDisk disk = change_.before;
    Promise promise;
    std::set<std::pair<Promise, DiskImage>> seen;
    bool goesOn = true;
    for (std::size_t i = 0; i < change_.calls.size() && goesOn; ++i) {
      const FileCall& call = change_.calls[i];
      if (i != leftOut) disk.apply(call);
      if (i + 1 == change_.calls.size() || isPromise(call)) promise = promiseOf(disk);
      disk.forEachImage(parts_, [&](const DiskImage& image) {
        if (goesOn && seen.emplace(promise, image).second) goesOn = visit(image, promise);
      });
    }
  }

  // Returns what is wrong with an image; empty when nothing is.
  std::string violation(const DiskImage& image, const Promise& promise) const {
    const Document found = image.contentOf(dataFile);
    const std::size_t position = positionOf(found);
    if (position == documents_.size()) {
      const bool isUnsyncedPlan = promise.document == 0 && initial_.contains(found);
      return isUnsyncedPlan ? "" : "the document is neither the old nor the new one";
    }
    if (position < promise.document) return "a change is lost";
    const Kept kept(image);
    for (const std::string& copy : kept.copies) {
      const bool isWhole = positionOf(copy) != documents_.size() || earlierCopies_.contains(copy);
      if (!isWhole) return "a copy is not whole";
    }
    if (!includes(kept.copies, earlierCopies_)) return "an earlier copy is missing";
    for (std::size_t old = 0; old < position; ++old) {
      const Document& document = documents_[old];
      if (document && !kept.copies.contains(*document)) return "a copy is missing";
    }
    for (const std::string& backup : kept.backups) {
      if (!change_.backups.contains(backup)) return "a backup is not whole";
    }
    return includes(kept.backups, promise.backups) ? "" : "a backup is missing";
  }

 private:
  static bool includes(const std::set<std::string>& all, const std::set<std::string>& some) {
    return std::includes(all.begin(), all.end(), some.begin(), some.end());
  }

  static bool isPromise(const FileCall& call) {
    return call.name == "spawn" || (call.name == "flock" && call.flags == LOCK_UN) ||
           (call.name == "write" && call.path == "output");
  }

  std::size_t positionOf(const Document& document) const {
    return static_cast<std::size_t>(std::find(documents_.begin(), documents_.end(), document) -
                                    documents_.begin());
  }

  Promise promiseOf(const SimulatedDisk& disk) const {
    const DiskImage image = disk.visibleImage();
    return {.document = positionOf(image.contentOf(dataFile)), .backups = Kept(image).backups};
  }

  void note(const SimulatedDisk& disk) {
    const Document found = disk.visibleImage().contentOf(dataFile);
    if (documents_.empty()) {
      disk.forEachImage(
          parts_, [&](const DiskImage& image) { initial_.insert(image.contentOf(dataFile)); });
    }
    if (documents_.empty() || documents_.back() != found) documents_.push_back(found);
  }

  TracedChange change_;
  std::size_t parts_;  // into which bytes that were not synced may fall
  std::set<std::string> earlierCopies_;
  std::vector<Document> documents_;  // the data file's contents in turn
  std::set<Document> initial_;       // the forms that the first may have before it is synced
};

// Gives images to the real tool.
class ToolOnImages {
 public:
  // Checks that the tool lists the image's document whole, and changes it.
  void expectReadable(const DiskImage& image) {
    const Tool tool;
    image.writeTo(tool.home());
    const std::string listed = tool.run(listCommand).output;
    EXPECT_EQ(listed, listOf(image.contentOf(dataFile)));
    const auto revision = decodeJSON<AgentResponseEnvelope>(listed).revision;
    EXPECT_TRUE(tool.ask(test::createCommand(revision.value_or(0))).ok);
    ++count_;
  }

  int count() const { return count_; }

 private:
  static constexpr auto listCommand = R"({"version":1,"command":"tasks.list"})";

  // What the tool says of the document in a sound home.
  const std::string& listOf(const Document& document) {
    std::string& list = lists_[document];
    if (!list.empty()) return list;
    const Tool tool;
    if (document) test::writeFile(tool.dataFile(), *document);
    list = tool.run(listCommand).output;
    return list;
  }

  std::map<Document, std::string> lists_;
  int count_ = 0;
};

// The part of an image that a command can see: all but temporary files and the lock.
DiskImage visiblePart(DiskImage image) {
  std::erase_if(image.entries, [](const auto& entry) {
    const fs::path path(entry.first);
    return entry.second.kind == DiskImage::Kind::file &&
           (path.filename().string().starts_with('.') || path.extension() == ".lock");
  });
  return image;
}

class PowerCuts : public testing::Test {
 protected:
  void SetUp() override {
    if (const std::string obstacle = test::obstacleToTracing(); !obstacle.empty()) {
      GTEST_SKIP() << obstacle;
    }
    // Where syncing takes no time.
    if (fs::is_directory("/dev/shm")) temporaryFolder_.emplace("TMPDIR", "/dev/shm");
  }

  // Checks every image. Gives the tool one of those that it sees alike, or, thoroughly, all of many
  // more.
  static void tryImages(const Scenario& scenario, bool isThorough) {
    const Interruptions change(scenario.trace(), isThorough ? 64 : 4);
    ToolOnImages tool;
    std::set<DiskImage> given;
    int images = 0;
    change.forEachImage([&](const DiskImage& image, const Promise& promise) {
      ++images;
      EXPECT_EQ(change.violation(image, promise), "");
      if (isThorough || given.insert(visiblePart(image)).second) tool.expectReadable(image);
      return !HasFailure();
    });
    std::printf("%s: %d images, %d of them given to the tool\n", scenario.name, images,
                tool.count());
  }

  // Returns the first violation of a change; empty when there is none.
  static std::string violationOf(const Interruptions& change,
                                 std::optional<std::size_t> leftOut = std::nullopt) {
    std::string violation;
    const auto check = [&](const DiskImage& image, const Promise& promise) {
      violation = change.violation(image, promise);
      return violation.empty();
    };
    change.forEachImage(check, leftOut);
    return violation;
  }

 private:
  std::optional<test::ScopedVariable> temporaryFolder_;
};

class PowerCut : public PowerCuts, public testing::WithParamInterface<Scenario> {
 protected:
  void SetUp() override {
    PowerCuts::SetUp();
    if (const std::string obstacle = GetParam().obstacle(); !obstacle.empty()) {
      GTEST_SKIP() << obstacle;
    }
  }
};

TEST_P(PowerCut, leavesTheOldDocumentOrTheNewOneWhole) { tryImages(GetParam(), false); }

// The proof of the simulator.
TEST_P(PowerCut, isNoticedWhereAnySyncIsLeftOut) {
  const Interruptions change(GetParam().trace(), 2);
  for (std::size_t i = 0; i < change.calls().size(); ++i) {
    const FileCall& call = change.calls()[i];
    // In these scenarios, the old document is on the disk; see the next test.
    const bool isOfTheOldDocument = fs::path(call.path).filename() == "state.json" ||
                                    fs::path(call.path).filename() == "plan.json";
    if (call.name != "sync" || call.result < 0 || isOfTheOldDocument) continue;
    EXPECT_NE(violationOf(change, i), "") << "without the sync of " << call.path;
  }
}

INSTANTIATE_TEST_SUITE_P(Each, PowerCut, testing::ValuesIn(scenarios),
                         [](const auto& each) { return std::string(each.param.name); });

TEST_F(PowerCuts, leaveAWholeCopyOfAPlanThatAnotherProgramDidNotSync) {
  const Interruptions change(test::changeOfAnUnsyncedPlan(), 4);
  EXPECT_EQ(violationOf(change), "");
  const auto& calls = change.calls();
  const auto sync = std::find_if(calls.begin(), calls.end(), [](const FileCall& call) {
    return call.name == "sync" && call.path.ends_with("/state.json");
  });
  ASSERT_NE(sync, calls.end());
  EXPECT_NE(violationOf(change, static_cast<std::size_t>(sync - calls.begin())), "");
}

class LongRun : public PowerCuts {};

TEST_F(LongRun, theToolReadsEveryImageOfEveryPowerCut) {
  for (const Scenario& scenario : scenarios) {
    if (scenario.obstacle().empty()) tryImages(scenario, true);
  }
}

}  // namespace
}  // namespace tarnwell
