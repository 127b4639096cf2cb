// Every failure that a reply can carry: its stable code and its exact message.
#pragma once

#include <string_view>

namespace tarnwell {

struct Failure {
  std::string_view code;
  std::string_view message;
};

namespace failures {

inline constexpr Failure invalidEnvelope{"invalid_envelope",
                                         "Input must be a valid versioned JSON command."};
inline constexpr Failure unsupportedVersion{"unsupported_version",
                                            "Only command version 1 is supported."};
// The command's text follows the message.
inline constexpr Failure unknownCommand{"unknown_command", "Unknown command: "};
inline constexpr Failure approvalNeedsUser{
    "user_approval_required", "Approve this recommendation in Tarndesk before applying it."};
inline constexpr Failure dismissalNeedsUser{"user_approval_required",
                                            "Dismiss this recommendation in Tarndesk."};
inline constexpr Failure expectedRevisionRequired{"expected_revision_required",
                                                  "Mutating commands require expected_revision."};
// The message is the payload's problem.
inline constexpr std::string_view invalidPayloadCode = "invalid_payload";
// Carries the current revision, and both revisions in words as the result.
inline constexpr Failure revisionConflict{"revision_conflict", "Refresh and retry."};
inline constexpr Failure validationError{"validation_error", "The task details are invalid."};
// Carries the revision that was looked at.
inline constexpr Failure reminderRequiresApp{
    "reminder_requires_app",
    "Complete this task in Tarndesk so its pending reminder is cancelled."};
inline constexpr Failure blockedStartRequiresApp{
    "blocking_requires_app", "Start this blocked task through Tarndesk so protection is applied."};
inline constexpr Failure blockedResumeRequiresApp{
    "blocking_requires_app", "Resume this blocked task through Tarndesk so protection is applied."};
inline constexpr Failure operationFailed{"operation_failed", "The command could not be completed."};

}  // namespace failures
}  // namespace tarnwell
