// Parts of the findings' sentences.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

#include "tarnwell/time/calendar.h"
#include "tarnwell/time/instant.h"

namespace tarnwell {

// Returns "1 task", "2 tasks".
std::string countText(std::size_t count, std::string_view one, std::string_view several);

// Returns the path quoted for a shell.
std::string inShell(const std::filesystem::path& path);

// Returns 2026-11-23 14:30 on the wall clock.
std::string clockText(Instant instant, const Calendar& calendar);

}  // namespace tarnwell
