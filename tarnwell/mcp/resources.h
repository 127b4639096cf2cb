// The plan as resources: today, this week, and each task.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "tarnwell/base/uuid.h"
#include "tarnwell/json/json_value.h"
#include "tarnwell/store/persisted_state.h"
#include "tarnwell/time/calendar.h"
#include "tarnwell/time/instant.h"

namespace tarnwell::mcp {

inline constexpr std::string_view todayURI = "tarnwell://day/today";
inline constexpr std::string_view reviewURI = "tarnwell://review/this-week";
inline constexpr std::string_view resourceMimeType = "application/json";

// Return the lists of resources/list and resources/templates/list.
JSONValue::Array describeResources();
JSONValue::Array describeResourceTemplates();

// Returns whether the URI names today, this week, or a task, existing or not.
bool isResource(std::string_view uri);

// Returns the resource's JSON text; absent when there is none with this URI.
std::optional<std::string> readResource(std::string_view uri, const PersistedState& plan,
                                        Instant now, const Calendar& calendar);

// Returns whether the resource may differ between two states of the plan: a task if its record
// does, today and this week always.
bool hasChanged(std::string_view uri, const PersistedState& before, const PersistedState& after);

}  // namespace tarnwell::mcp
