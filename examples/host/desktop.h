// One launch of a desktop application without windows: the user's requests become calls of the
// engines, and the program prints what the windows would show.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engines.h"

#include "tarnwell/model/domain_group.h"
#include "tarnwell/model/planning_proposal.h"
#include "tarnwell/model/task.h"
#include "tarnwell/time/calendar.h"
#include "tarnwell/time/instant.h"
#include "tarnwell/time/local_day.h"

namespace tarnwell::host {

// "09:30", in the calendar's zone.
std::string timeOfDay(Instant instant, const Calendar& calendar);

class Desktop {
 public:
  // A real host passes `Instant::now` and `Calendar::current()`.
  Desktop(const Machine& machine, const Calendar& calendar, std::function<Instant()> now);

  void launch();

  // The plan
  void setCapacity(std::int64_t minutes);
  void add(FocusTask task);
  void moveBefore(std::string_view title, std::string_view target);
  void removeAllTasks();
  void showDay(LocalDay day) const;
  void takeCommandOfAgent(const AgentCommandEnvelope& command);

  // Task sessions
  void start(std::string_view title);
  void skip();
  void complete();
  void tick();

  // Websites
  void addGroup(const DomainGroup& group, const std::string& typedAddress);
  void showDiagnostics();

  // Proposals
  std::vector<PlanningProposal> review();
  void decide(const PlanningProposal& proposal, std::string_view command);

  // Backups
  void exportBackup(const std::filesystem::path& file);
  void restoreBackup(const std::filesystem::path& file);

 private:
  void watch();
  void refresh() { shown_ = engines_.taskStore.snapshot(); }
  bool attempt(const std::function<void()>& request);
  void change(std::string_view action, const std::optional<UUID>& taskID,
              const std::function<void(PersistedState&)>& body);
  void backUpToday();
  void syncReminders(const FocusTask& task);
  void say(std::string_view text) const;
  FocusTask taskNamed(std::string_view title) const;
  std::string titleOf(const UUID& id) const;

  const Calendar calendar_;
  const std::function<Instant()> now_;
  Engines engines_;
  TaskStoreSnapshot shown_;  // the plan that the user sees
};

}  // namespace tarnwell::host
