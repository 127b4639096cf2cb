#include "tarnwell/model/task.h"

#include "tarnwell/base/text.h"

namespace tarnwell {

FocusTask FocusTask::make(FocusTask fields) {
  fields.title = std::string(trimmed(fields.title));
  fields.validate();
  return fields;
}

void FocusTask::validate() const {
  if (trimmed(title).empty()) {
    throw ProductivityValidationError(ProductivityValidationError::blankTitle);
  }
  if (estimatedMinutes && (*estimatedMinutes < 0 || *estimatedMinutes > mostEstimatedMinutes)) {
    throw ProductivityValidationError(ProductivityValidationError::invalidEstimate);
  }
}

}  // namespace tarnwell
