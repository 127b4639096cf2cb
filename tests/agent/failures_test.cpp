#include "tarnwell/agent/failures.h"

#include <optional>
#include <string_view>

#include <gtest/gtest.h>

#include "tarnwell/model/task.h"
#include "tarnwell/store/task_store.h"

namespace tarnwell {
namespace {

template <class Thrown>
Failure failureFor(const Thrown& thrown) {
  try {
    throw thrown;
  } catch (...) {
    return failureForCurrentException();
  }
}

// The codes and messages are a contract with other programs.
TEST(Failures, haveTheirStableCodesAndMessages) {
  struct Row {
    Failure failure;
    std::string_view code;
    std::string_view message;
  };
  for (const Row& row : {
           Row{failures::invalidEnvelope(), "invalid_envelope",
               "Input must be a valid versioned JSON command."},
           Row{failures::unsupportedVersion(), "unsupported_version",
               "Only command version 1 is supported."},
           Row{failures::unknownCommand("nope"), "unknown_command", "Unknown command: nope"},
           Row{failures::approvalNeedsUser(), "user_approval_required",
               "Approve this recommendation in Tarndesk before applying it."},
           Row{failures::dismissalNeedsUser(), "user_approval_required",
               "Dismiss this recommendation in Tarndesk."},
           Row{failures::expectedRevisionRequired(), "expected_revision_required",
               "Mutating commands require expected_revision."},
           Row{failures::invalidPayload("Missing title."), "invalid_payload", "Missing title."},
           Row{failures::taskNotFound(), "invalid_payload", "Task not found."},
           Row{failures::revisionConflict(4, 6), "revision_conflict", "Refresh and retry."},
           Row{failures::validationError(), "validation_error", "The task details are invalid."},
           Row{failures::reminderRequiresApp(6), "reminder_requires_app",
               "Complete this task in Tarndesk so its pending reminder is cancelled."},
           Row{failures::blockedStartRequiresApp(), "blocking_requires_app",
               "Start this blocked task through Tarndesk so protection is applied."},
           Row{failures::blockedResumeRequiresApp(), "blocking_requires_app",
               "Resume this blocked task through Tarndesk so protection is applied."},
           Row{failures::operationFailed(), "operation_failed",
               "The command could not be completed."},
       }) {
    EXPECT_EQ(textOf(row.failure.code), row.code);
    EXPECT_EQ(row.failure.message, row.message);
    const bool carriesARevision = row.failure.code == FailureCode::revisionConflict ||
                                  row.failure.code == FailureCode::reminderRequiresApp;
    EXPECT_EQ(row.failure.revision, carriesARevision ? std::optional(6) : std::nullopt) << row.code;
    EXPECT_EQ(row.failure.detail.has_value(), row.failure.code == FailureCode::revisionConflict);
  }
}

TEST(Failures, ofAConflictSayBothRevisions) {
  EXPECT_EQ(failures::revisionConflict(4, 6).detail, "Expected 4, current 6.");
}

TEST(Failures, mapEveryErrorByOneTable) {
  EXPECT_EQ(failureFor(ProductivityValidationError(ProductivityValidationError::blankTitle)),
            failures::validationError());
  EXPECT_EQ(failureFor(TaskStoreError::revisionConflict(4, 6)), failures::revisionConflict(4, 6));
  EXPECT_EQ(failureFor(AgentServiceError(failures::reminderRequiresApp(3))),
            failures::reminderRequiresApp(3));
  EXPECT_EQ(failureFor(Error("The engine's own text.")), failures::operationFailed());
  EXPECT_EQ(failureFor(std::bad_alloc()), failures::operationFailed());
}

TEST(Failures, mapAnObjectThatIsNoExceptionToo) {
  EXPECT_EQ(failureFor(42), failures::operationFailed());
}

}  // namespace
}  // namespace tarnwell
