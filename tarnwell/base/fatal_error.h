// Ends the process when continuing could store wrong data.
#pragma once

#include <string_view>

namespace tarnwell {

// Writes the message to standard error and aborts.
[[noreturn]] void fatalError(std::string_view message);

}  // namespace tarnwell
