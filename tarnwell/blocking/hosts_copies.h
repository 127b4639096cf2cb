// The names of the files in the folder of the hosts file's copies.
#pragma once

#include "tarnwell/store/kept_copies.h"

namespace tarnwell {

// The hosts file before a change.
inline constexpr CopyNames hostsCopyNames{.prefix = "hosts-", .suffix = ".backup"};

// The text that a change installs. Lives until the end of the change; a killed process leaves it.
inline constexpr CopyNames hostsReplacementNames{.prefix = "hosts-", .suffix = ".replacement"};

}  // namespace tarnwell
