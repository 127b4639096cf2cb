// The failures that a reply can carry: their stable codes, their exact messages, and the one table
// that maps errors to them.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "tarnwell/base/enum_texts.h"
#include "tarnwell/base/error.h"

namespace tarnwell {

enum class FailureCode {
  invalidEnvelope,
  unsupportedVersion,
  unknownCommand,
  userApprovalRequired,
  expectedRevisionRequired,
  invalidPayload,
  revisionConflict,
  validationError,
  reminderRequiresApp,
  blockingRequiresApp,
  operationFailed
};

constexpr std::array<std::string_view, 11> texts(FailureCode) {
  return {"invalid_envelope",
          "unsupported_version",
          "unknown_command",
          "user_approval_required",
          "expected_revision_required",
          "invalid_payload",
          "revision_conflict",
          "validation_error",
          "reminder_requires_app",
          "blocking_requires_app",
          "operation_failed"};
}

struct Failure {
  FailureCode code{};
  std::string message{};
  std::optional<std::int64_t> revision{};
  std::optional<std::string> detail{};  // the reply's result

  friend bool operator==(const Failure&, const Failure&) = default;
};

namespace failures {

Failure invalidEnvelope();
Failure unsupportedVersion();
Failure unknownCommand(std::string_view command);
Failure approvalNeedsUser();
Failure dismissalNeedsUser();
Failure expectedRevisionRequired();
Failure invalidPayload(std::string_view problem);
Failure taskNotFound();
Failure revisionConflict(std::int64_t expected, std::int64_t actual);
Failure validationError();
Failure reminderRequiresApp(std::int64_t inspectedRevision);
Failure blockedStartRequiresApp();
Failure blockedResumeRequiresApp();
Failure operationFailed();

}  // namespace failures

// A command that the service itself refuses, and the failure that the reply carries.
class AgentServiceError : public CaseError<FailureCode, Failure> {
 public:
  explicit AgentServiceError(const Failure& failure)
      : CaseError(failure.code, failure, failure.message) {}

  const Failure& failure() const noexcept { return payload(); }
};

// Returns the failure for the exception being handled, whatever its type.
Failure failureForCurrentException();

}  // namespace tarnwell
