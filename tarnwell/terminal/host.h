// The surroundings of a command: the user's plan, the engines over it, and the time.
#pragma once

#include <optional>

#include "tarnwell/agent/data_directory.h"
#include "tarnwell/agent/engines.h"
#include "tarnwell/store/task_store.h"
#include "tarnwell/time/calendar.h"
#include "tarnwell/time/instant.h"
#include "tarnwell/time/local_day.h"

namespace tarnwell::terminal {

class Host {
 public:
  // Throws Error without a home folder.
  Host() : directory(DataDirectory::ofUser()), calendar(Calendar::current()), now(Instant::now()) {}

  // Reads the plan on the first call, so that a command can work without one. Throws
  // LocalStoreError.
  Engines& engines() {
    if (!engines_) engines_.emplace(directory, calendar);
    return *engines_;
  }
  TaskStoreSnapshot plan() { return engines().taskStore.snapshot(); }
  LocalDay today() const { return calendar.day(now); }

  const DataDirectory directory;
  const Calendar calendar;
  const Instant now;  // the command's only clock reading

 private:
  std::optional<Engines> engines_;
};

}  // namespace tarnwell::terminal
