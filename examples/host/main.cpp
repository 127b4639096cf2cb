// A day with the engines, as a desktop application embeds them: with a scratch folder and hosts
// file, and its own clock and notification service, so that it touches nothing real and always
// prints the same.
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string_view>

#include "desktop.h"
#include "file_copier.h"
#include "notification_center.h"

namespace tarnwell::host {
namespace {

namespace fs = std::filesystem;

constexpr Duration minute = std::chrono::minutes(1);

void printFile(const fs::path& file) {
  std::cout << "--- " << file.filename().string() << "\n" << std::ifstream(file).rdbuf() << "---\n";
}

void printPending(const NotificationCenter& notifications, const Calendar& calendar) {
  for (const ReminderRequest& each : notifications.pending()) {
    std::cout << "         notification at " << timeOfDay(each.fireDate, calendar) << ": "
              << each.title << ": " << each.body << "\n";
  }
}

void run(const fs::path& folder) {
  const Calendar calendar{.firstWeekday = Weekday::monday};
  const LocalDay monday{.year = 2026, .month = 3, .day = 9};
  const LocalDay tuesday{.year = 2026, .month = 3, .day = 10};
  Instant now = *calendar.date(monday) + 8.5 * 60 * minute;
  const auto clock = [&now] { return now; };

  const fs::path hostsFile = folder / "hosts";
  std::ofstream(hostsFile) << "127.0.0.1 localhost\n";
  FileCopier administrator;
  NotificationCenter notifications(clock);
  const Machine machine{.folder = folder / "Tarnwell",
                        .hostsFile = hostsFile,
                        .administrator = administrator,
                        .notifications = notifications};

  std::cout << "The first launch, on an empty folder\n";
  {
    Desktop desktop(machine, calendar, clock);
    desktop.launch();

    const DomainGroup news{.name = "News"};
    desktop.addGroup(news, "127.0.0.1");
    desktop.addGroup(news, "https://www.News.example/today");

    desktop.setCapacity(240);
    desktop.add({.title = "Write the report",
                 .plannedDay = monday,
                 .scheduledStart = now + 30 * minute,
                 .estimatedMinutes = 120,
                 .priority = TaskPriority::high,
                 .reminder = TaskReminder{.remindTenMinutesBefore = true},
                 .blockingGroupID = news.id,
                 .createdAt = now});
    desktop.add({.title = "Prepare the talk",
                 .plannedDay = monday,
                 .estimatedMinutes = 180,
                 .createdAt = now});
    printPending(notifications, calendar);

    // The plan changes while the user still looks at the old one.
    desktop.takeCommandOfAgent({.version = 1,
                                .command = "tasks.create",
                                .expectedRevision = 3,
                                .payload = {{"title", "Answer the letters"},
                                            {"priority", "low"},
                                            {"estimated_minutes", 90.0},
                                            {"planned_day", "2026-03-09"}}});
    desktop.moveBefore("Prepare the talk", "Write the report");
    desktop.moveBefore("Answer the letters", "Write the report");
    desktop.showDay(monday);

    now = now + 30 * minute;
    desktop.start("Write the report");
    printFile(hostsFile);
    desktop.showDiagnostics();
  }

  now = now + 20 * minute;
  std::cout << "The second launch, after a power cut\n";
  {
    Desktop desktop(machine, calendar, clock);
    desktop.launch();
    printPending(notifications, calendar);

    // A host ticks every few seconds.
    for (int i = 0; i < 3; ++i) {
      desktop.tick();
      now = now + 20 * minute;
    }
    printFile(hostsFile);
    desktop.showDiagnostics();

    desktop.complete();
    printPending(notifications, calendar);
    for (int i = 0; i < 2; ++i) {
      desktop.start("Answer the letters");
      desktop.skip();
    }

    const auto proposals = desktop.review();
    desktop.decide(proposals.at(0), "proposals.approve");
    desktop.decide(proposals.at(1), "proposals.dismiss");
    desktop.showDay(monday);
    desktop.showDay(tuesday);

    const fs::path backup = folder / "export.json";
    desktop.exportBackup(backup);
    desktop.removeAllTasks();
    desktop.showDay(monday);
    desktop.restoreBackup(backup);
    desktop.showDay(monday);
  }
}

}  // namespace
}  // namespace tarnwell::host

int main(int count, char** arguments) {
  if (count != 2 || !std::filesystem::create_directory(arguments[1])) {
    std::cerr << "usage: host FOLDER (which is created)\n";
    return 64;
  }
  tarnwell::host::run(arguments[1]);
}
