// Runs the programs that ask for the administrator's approval.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/platform/child_process.h"

namespace tarnwell {

// Waits until the prompt is closed and the approved command has ended. Throws
// BlockingError::writeFailed when the program cannot be started.
ChildResult runApprovalPrompt(const std::vector<std::string>& arguments,
                              const ChildSetup& setup = {});

// Returns the child's error text, trimmed; empty if it is not UTF-8. Points into `result`.
std::string_view errorTextOf(const ChildResult& result);

}  // namespace tarnwell
