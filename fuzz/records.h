// The records of the fuzz targets' plans.
#pragma once

#include <string>

#include "tarnwell/base/uuid.h"
#include "tarnwell/model/task.h"

#include "tests/support/builders.h"

namespace tarnwell::fuzz {

// Their identifiers in the dictionary and the corpus.
inline UUID numbered(char digit) {
  return *UUID::parse("1111111" + std::string(1, digit) + "-1111-4111-8111-111111111111");
}

inline FocusTask task(char digit, TaskStatus status) {
  FocusTask task = test::makeTask("Task " + std::string(1, digit));
  task.id = numbered(digit);
  task.status = status;
  task.estimatedMinutes = 90;
  task.plannedDay = LocalDay{.year = 2025, .month = 3, .day = 4};
  return task;
}

}  // namespace tarnwell::fuzz
