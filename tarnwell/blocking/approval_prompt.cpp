#include "tarnwell/blocking/approval_prompt.h"

#include "tarnwell/base/text.h"
#include "tarnwell/blocking/blocking_engine.h"
#include "tarnwell/json/utf8.h"
#include "tarnwell/platform/file.h"

namespace tarnwell {

ChildResult runApprovalPrompt(const std::vector<std::string>& arguments, const ChildSetup& setup) {
  try {
    return runChild(arguments, setup);
  } catch (const FileError& error) {
    throw BlockingError::writeFailed(error.description());
  }
}

std::string_view errorTextOf(const ChildResult& result) {
  return isValidUTF8(result.errors) ? trimmed(result.errors) : std::string_view();
}

}  // namespace tarnwell
