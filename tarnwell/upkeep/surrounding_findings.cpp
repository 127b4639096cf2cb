#include "tarnwell/upkeep/surrounding_findings.h"

#include <array>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <system_error>

#include <sys/utsname.h>

#include "tarnwell/base/text.h"
#include "tarnwell/base/version.h"
#include "tarnwell/blocking/hosts_copies.h"
#include "tarnwell/platform/file_error.h"
#include "tarnwell/platform/find_program.h"
#include "tarnwell/platform/temporary_file.h"
#include "tarnwell/store/kept_copies.h"
#include "tarnwell/store/state_copies.h"
#include "tarnwell/time/system_locale.h"
#include "tarnwell/upkeep/finding_texts.h"
#include "tarnwell/upkeep/pruning.h"
#include "tarnwell/upkeep/size_text.h"

namespace tarnwell {

namespace fs = std::filesystem;

namespace {

constexpr std::uintmax_t megabyte = 1'000'000;

std::string weekdayName(Weekday weekday) {
  constexpr std::array<std::string_view, 7> names = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                     "Thursday", "Friday", "Saturday"};
  return std::string(names[static_cast<std::size_t>(weekday)]);
}

Finding localeFinding(const Calendar& calendar) {
  const std::string weeks = "Weeks begin on " + weekdayName(calendar.firstWeekday);
#ifdef __APPLE__
  return fact(FindingArea::locale, weeks + ", as System Settings have it.");
#else
  const UserLocale locale = userLocale();
  const std::string_view language =
      std::string_view(locale.name).substr(0, locale.name.find_first_of(".@"));
  const bool hasRegion = !language.empty() && language != "C" && language != "POSIX";
  const std::string by =
      locale.variable.empty() ? "the system's locale" : "the locale of " + locale.variable;
  if (hasRegion) return fact(FindingArea::locale, weeks + ", by " + by + ", " + locale.name + ".");
  return hint(
      FindingArea::locale,
      weeks + ": " + (language.empty() ? "no locale is set" : by + " is " + locale.name) + ".",
      "If yours begin on another day, set LC_TIME, as in LC_TIME=en_GB.UTF-8.");
#endif
}

CopyTotal totalOf(const std::vector<KeptCopy>& copies) {
  CopyTotal total{.count = copies.size()};
  for (const KeptCopy& copy : copies) total.bytes += copy.bytes;
  return total;
}

std::string textOf(const CopyTotal& total) {
  return std::to_string(total.count) + ", " + sizeText(total.bytes);
}

Finding severalInstallations(const std::set<fs::path>& folders) {
  std::string text = "Programs of Tarnwell, perhaps of different versions, are in several folders:";
  for (const fs::path& folder : folders) text += " " + inShell(folder);
  return hint(FindingArea::versions, text, "Keep one installation, and remove the others.");
}

// Returns the nearest existing folder on the way up.
fs::path existingFolder(fs::path folder) {
  std::error_code unknown;
  while (!fs::is_directory(folder, unknown) && folder.has_relative_path()) {
    folder = folder.parent_path();
  }
  return folder.empty() ? "." : folder;
}

}  // namespace

Findings examineCopies(const Examination& examination) {
  constexpr std::size_t many = 1000;
  try {
    const CopyTotal plan = totalOf(stateCopies(examination.localStore));
    const CopyTotal hosts = totalOf(copiesIn(examination.hostsBackups, hostsCopyNames));
    const std::string text =
        "Copies of the plan: " + textOf(plan) + "; of the hosts file: " + textOf(hosts) + ".";
    const bool isMuch =
        plan.count + hosts.count > many || plan.bytes + hosts.bytes > 100 * megabyte;
    return {isMuch ? hint(FindingArea::copies, text, "Thin them out: tarnwell prune")
                   : fact(FindingArea::copies, text)};
  } catch (const FileError& error) {
    return {hint(FindingArea::copies, "The copies cannot be counted: " + error.reason() + ".",
                 "Look after the folder " + inShell(examination.localStore.copies()) + " and " +
                     inShell(examination.hostsBackups))};
  }
}

Findings examineLeftovers(const Examination& examination) {
  const fs::path folder = examination.localStore.url().parent_path();
  std::size_t count = 0;
  for (const fs::path& each : {folder, examination.localStore.copies(), examination.hostsBackups}) {
    std::error_code none;
    for (fs::directory_iterator entry(each, none), end; !none && entry != end;
         entry.increment(none)) {
      if (TemporaryFile::isNameOfOne(entry->path().filename().string())) ++count;
    }
  }
  if (count == 0) return {};
  return {hint(FindingArea::copies,
               countText(count, "temporary file is", "temporary files are") +
                   " left by a process that was killed, or in use at this moment.",
               "Delete those older than an hour: find " + inShell(folder) +
                   " -type f -name '.*-*-*-*-*' -mmin +60 -delete")};
}

Findings examineSpace(const Examination& examination) {
  std::error_code unknown;
  const fs::path& path = examination.localStore.url();
  const auto space = fs::space(existingFolder(path.parent_path()), unknown);
  if (unknown) return {};
  const auto size = fs::file_size(path, unknown);
  return {spaceFinding(space.available, unknown ? 0 : size)};
}

Finding spaceFinding(std::uintmax_t available, std::uintmax_t dataFileSize) {
  constexpr std::uintmax_t spare = megabyte / 10;
  const std::string text = sizeText(available) + " are free where the plan is";
  const std::uintmax_t needed = 2 * dataFileSize + spare;
  if (available < needed) {
    return problem(FindingArea::space,
                   text + ", and a change needs up to " + sizeText(needed) + ".",
                   "Make room. Copies that are no longer needed: tarnwell prune");
  }
  if (available < 100 * megabyte) {
    return hint(FindingArea::space, text + ".",
                "Make room. Copies that are no longer needed: tarnwell prune");
  }
  return fact(FindingArea::space, text + ".");
}

Findings examineClock(const Examination& examination) {
  return {zoneFinding(timeZoneAt(examination.now)), localeFinding(examination.calendar)};
}

Finding zoneFinding(const TimeZone& zone) {
  if (!zone.isKnown) {
    return hint(
        FindingArea::timeZone,
        "The time zone " + inQuotes(zone.name) + " of TZ is not known: all times are in UTC.",
        "Set TZ to a zone such as Europe/Berlin, or unset it.");
  }
  const std::string name = zone.name.empty() ? "" : zone.name + ", ";
  return fact(FindingArea::timeZone, "The time zone is " + name + offsetText(zone.offset) +
                                         (zone.isOfVariable ? ", by TZ." : ", by the system."));
}

std::set<fs::path> installationFolders() {
  std::set<fs::path> folders;
  for (const auto* name : {"tarnwell", "tarnwellctl", "tarnwell-mcp", "tarnwell-watch"}) {
    for (const fs::path& program : findPrograms(name)) {
      std::error_code unknown;
      const fs::path file = fs::canonical(program, unknown);  // folders and programs may be links
      if (!unknown) folders.insert(file.parent_path());
    }
  }
  return folders;
}

Findings examineVersions(const Examination& examination) {
  utsname system{};
  const bool isKnown = ::uname(&system) == 0;
  const std::string name =
      isKnown ? std::string(", on ") + system.sysname + " " + system.release : "";
  Findings findings{fact(
      FindingArea::versions,
      "This is Tarnwell " + std::string(versionText) + ", which writes version " +
          std::to_string(PersistedState::currentSchemaVersion) + " of the data file" + name + ".")};
  if (examination.installations.size() > 1) {
    findings.push_back(severalInstallations(examination.installations));
  }
  return findings;
}

}  // namespace tarnwell
