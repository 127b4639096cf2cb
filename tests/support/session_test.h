// A fixture for the task session engine: a stored plan and an engine over it.
#pragma once

#include <string>

#include <gtest/gtest.h>

#include "tarnwell/sessions/task_session_engine.h"

#include "tests/support/plan.h"
#include "tests/support/scoped_environment.h"

namespace tarnwell::test {

// 10:00 on 2025-03-04, in UTC.
inline constexpr Instant tenOClock{762'775'200};

// Returns a task that, if active, has been running since ten o'clock.
inline FocusTask withStatus(TaskStatus status) {
  FocusTask task = makeTask(std::string(textOf(status)));
  task.status = status;
  if (status == TaskStatus::active) task.activeSegmentStartedAt = tenOClock;
  return task;
}

class SessionTest : public testing::Test, protected StoredPlan {
 protected:
  static TaskSessionError error(TaskSessionCase which) { return TaskSessionError(which); }

  ScopedTimeZone zone{"UTC"};
  TaskSessionEngine engine{taskStore, Calendar{}};
};

}  // namespace tarnwell::test
