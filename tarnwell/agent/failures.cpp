#include "tarnwell/agent/failures.h"

#include "tarnwell/model/task.h"
#include "tarnwell/store/task_store.h"

namespace tarnwell {
namespace failures {

Failure invalidEnvelope() {
  return {FailureCode::invalidEnvelope, "Input must be a valid versioned JSON command."};
}

Failure unsupportedVersion() {
  return {FailureCode::unsupportedVersion, "Only command version 1 is supported."};
}

Failure unknownCommand(std::string_view command) {
  return {FailureCode::unknownCommand, "Unknown command: " + std::string(command)};
}

Failure approvalNeedsUser() {
  return {FailureCode::userApprovalRequired,
          "Approve this recommendation in Tarndesk before applying it."};
}

Failure dismissalNeedsUser() {
  return {FailureCode::userApprovalRequired, "Dismiss this recommendation in Tarndesk."};
}

Failure expectedRevisionRequired() {
  return {FailureCode::expectedRevisionRequired, "Mutating commands require expected_revision."};
}

Failure invalidPayload(std::string_view problem) {
  return {FailureCode::invalidPayload, std::string(problem)};
}

Failure taskNotFound() { return invalidPayload("Task not found."); }

Failure revisionConflict(std::int64_t expected, std::int64_t actual) {
  return {FailureCode::revisionConflict, "Refresh and retry.", actual,
          "Expected " + std::to_string(expected) + ", current " + std::to_string(actual) + "."};
}

Failure validationError() {
  return {FailureCode::validationError, "The task details are invalid."};
}

Failure reminderRequiresApp(std::int64_t inspectedRevision) {
  return {FailureCode::reminderRequiresApp,
          "Complete this task in Tarndesk so its pending reminder is cancelled.",
          inspectedRevision};
}

Failure blockedStartRequiresApp() {
  return {FailureCode::blockingRequiresApp,
          "Start this blocked task through Tarndesk so protection is applied."};
}

Failure blockedResumeRequiresApp() {
  return {FailureCode::blockingRequiresApp,
          "Resume this blocked task through Tarndesk so protection is applied."};
}

Failure operationFailed() {
  return {FailureCode::operationFailed, "The command could not be completed."};
}

}  // namespace failures

Failure failureForCurrentException() {
  try {
    throw;
  } catch (const ProductivityValidationError&) {
    return failures::validationError();
  } catch (const TaskStoreError& conflict) {
    return failures::revisionConflict(conflict.expected(), conflict.actual());
  } catch (const AgentServiceError& refusal) {
    return refusal.failure();
  } catch (...) {
    return failures::operationFailed();
  }
}

}  // namespace tarnwell
