#include "tarnwell/model/task.h"

#include <algorithm>

#include "tarnwell/base/text.h"

namespace tarnwell {

FocusTask FocusTask::make(FocusTask fields, std::optional<Instant> updatedAt) {
  fields.title = std::string(trimmed(fields.title));
  fields.updatedAt = updatedAt.value_or(fields.createdAt);
  fields.validate();
  return fields;
}

void FocusTask::validate() const {
  constexpr std::int64_t minutesPerDay = 1440;
  if (trimmed(title).empty()) {
    throw ProductivityValidationError(ProductivityValidationError::blankTitle);
  }
  if (estimatedMinutes && (*estimatedMinutes < 0 || *estimatedMinutes > minutesPerDay)) {
    throw ProductivityValidationError(ProductivityValidationError::invalidEstimate);
  }
}

FocusTask* findTask(std::vector<FocusTask>& tasks, const UUID& id) {
  const auto task = std::find_if(tasks.begin(), tasks.end(),
                                 [&](const FocusTask& each) { return each.id == id; });
  return task == tasks.end() ? nullptr : &*task;
}

}  // namespace tarnwell
