// A plan in a scratch folder for the doctor to look at, and the findings.
#pragma once

#include <algorithm>
#include <chrono>
#include <map>
#include <string>
#include <string_view>
#include <tuple>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tarnwell/upkeep/doctor.h"

#include "tests/support/builders.h"
#include "tests/support/scoped_environment.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell::test {

class ExaminedPlan : public testing::Test {
 protected:
  ExaminedPlan() {
    writeFile(examination.hosts, "127.0.0.1 localhost\n");
    writeFile(examination.approvalProgram, "#!/bin/sh\n");
    ::chmod(examination.approvalProgram.c_str(), 04755);
  }

  std::filesystem::path dataFile() const { return examination.localStore.url(); }
  void write(std::string_view text) const { writeFile(dataFile(), text); }
  void save(const PersistedState& state) const { examination.localStore.save(state); }
  void saveTask(const FocusTask& task) const { save({.tasks = {task}}); }

  // Returns the findings, which must leave the folder as it was.
  Findings findings() const {
    const auto before = snapshot();
    Findings found = examine(examination);
    EXPECT_EQ(snapshot(), before);
    return found;
  }

  // Returns the findings of a level, one a line: the text and what to do.
  static std::string textOf(const Findings& findings, FindingLevel level) {
    std::string lines;
    for (const Finding& finding : findings) {
      if (*finding.level != level) continue;
      EXPECT_FALSE(level != FindingLevel::fact && finding.next.empty()) << finding.text;
      lines += finding.text + " > " + finding.next + "\n";
    }
    return lines;
  }
  std::string problems() const { return textOf(findings(), FindingLevel::problem); }
  std::string hints() const { return textOf(findings(), FindingLevel::hint); }
  std::string facts() const { return textOf(findings(), FindingLevel::fact); }

  ScopedTimeZone zone{"UTC"};
  ScopedVariable locale{"LC_ALL", "de_DE.UTF-8"};
  ScratchFolder folder;
  Examination examination{.localStore = LocalStore(folder / "plan" / "state.json"),
                          .dailyBackups = folder / "plan" / "Daily Backups",
                          .hostsBackups = folder / "plan" / "Backups",
                          .residentLock = folder / "plan" / "watch.lock",
                          .now = someInstant,
                          .calendar = {.firstWeekday = Weekday::monday},
                          .hosts = folder / "hosts",
                          .approvalProgram = folder / "pkexec",
                          .runningPrograms = {},
                          .installations = {}};

 private:
  // Every entry with its content, permissions and times.
  std::map<std::string, std::string> snapshot() const {
    auto tree = treeOf(folder.path());
    for (auto& [path, content] : tree) {
      struct stat status {};
      ::lstat(path.c_str(), &status);
      content += "|" + std::to_string(status.st_mode) + "|" + std::to_string(status.st_ino) + "|" +
                 std::to_string(status.st_mtim.tv_sec) + "." +
                 std::to_string(status.st_mtim.tv_nsec) + "|" +
                 std::to_string(status.st_ctim.tv_nsec);
    }
    return tree;
  }
};

}  // namespace tarnwell::test
