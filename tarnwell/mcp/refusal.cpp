#include "tarnwell/mcp/refusal.h"

#include <exception>

#include "tarnwell/blocking/blocking_engine.h"
#include "tarnwell/blocking/session_engine.h"
#include "tarnwell/model/task.h"
#include "tarnwell/sessions/task_session_engine.h"
#include "tarnwell/store/task_store.h"

namespace tarnwell::mcp {
namespace {

constexpr std::size_t mostChanges = 20;

std::string_view hintFor(TaskSessionCase which) {
  switch (which) {
    case TaskSessionCase::anotherTaskActive:
      return "Call get_day to see the active task; pause_task, skip_task or complete_task ends its "
             "turn.";
    case TaskSessionCase::noActiveTask:
      return "Call get_day to see the tasks of the day, and start_task to begin one.";
    case TaskSessionCase::taskNotFound:
      return "Call list_tasks to find the task.";
    case TaskSessionCase::invalidState:
      return "Call get_task to see the status of the task.";
  }
  return {};
}

std::string_view hintFor(FailureCode code) {
  switch (code) {
    case FailureCode::reminderRequiresApp:
      return "Ask the user to complete this task.";
    case FailureCode::blockingRequiresApp:
      return "Ask the user to start this task.";
    case FailureCode::invalidPayload:
      return "Call list_tasks to find the task.";
    default:
      return "Tell the user.";
  }
}

// Makes a report without a revision.
RefusalReport reportOf(FailureCode code, std::string_view message, std::string_view hint) {
  return {.code = code, .message = std::string(message), .hint = std::string(hint)};
}

RefusalReport operationFailed(const Error& error, std::string_view hint) {
  return reportOf(FailureCode::operationFailed, error.description(), hint);
}

RefusalReport reportOf(const ProductivityValidationError& error) {
  const bool isEstimate = error.which() == ProductivityValidationError::invalidEstimate;
  return reportOf(FailureCode::validationError,
                  isEstimate ? "The estimate must be 0 to 1440 minutes." : error.description(),
                  "Correct the arguments and call the tool again.");
}

RefusalReport reportOf(const TaskStoreError& conflict) {
  return reportOf(FailureCode::revisionConflict, conflict.description(),
                  "Look at the changes since your revision and at the task. If your change still "
                  "makes sense, call the tool again with the present revision.");
}

// Reports the exception being handled, without the present revision.
RefusalReport reportWithoutRevision() {
  try {
    throw;
  } catch (const Refusal& refusal) {
    return reportOf(refusal.code(), refusal.description(), refusal.hint());
  } catch (const AgentServiceError& refusal) {
    const FailureCode code = refusal.failure().code;
    return reportOf(code, refusal.description(), hintFor(code));
  } catch (const ProductivityValidationError& error) {
    return reportOf(error);
  } catch (const TaskStoreError& conflict) {
    return reportOf(conflict);
  } catch (const TaskSessionError& error) {
    return operationFailed(error, hintFor(error.which()));
  } catch (const SessionError& error) {
    return operationFailed(error, "Tell the user. Only the user can end a block of websites.");
  } catch (const BlockingError& error) {
    return operationFailed(error, "Tell the user. Do not try again unless the user asks for it.");
  } catch (const LocalStoreError& error) {
    return operationFailed(error,
                           "Ask the user to run `tarnwell doctor`, which names the cause and what "
                           "to do. Do not change the data file yourself.");
  } catch (const Error& error) {
    return operationFailed(error, "Tell the user.");
  } catch (...) {
    return reportOf(FailureCode::operationFailed, failures::operationFailed().message,
                    "Tell the user.");
  }
}

// Returns the revision that a conflict expected; nothing for any other exception.
std::optional<std::int64_t> expectedRevisionOfCurrentConflict() {
  try {
    throw;
  } catch (const TaskStoreError& conflict) {
    return conflict.expected();
  } catch (...) {
    return std::nullopt;
  }
}

void addChanges(const PersistedState& plan, std::int64_t since, RefusalReport& report) {
  const auto changes = changesSince(plan, since);
  report.changesTotal = static_cast<std::int64_t>(changes.size());
  report.changes = viewsOf(changes, plan, mostChanges);
}

}  // namespace

RefusalReport reportOfCurrentException(const LocalStore* localStore) {
  RefusalReport report = reportWithoutRevision();
  const auto expected = expectedRevisionOfCurrentConflict();
  if (localStore == nullptr) return report;
  try {
    const auto plan = localStore->loadShared();
    report.revision = plan->revision;
    if (expected) addChanges(*plan, *expected, report);
  } catch (const LocalStoreError&) {
    // There is no present revision to report.
  }
  return report;
}

}  // namespace tarnwell::mcp
