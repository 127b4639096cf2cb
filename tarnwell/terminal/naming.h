// Finds the task or group that the user names.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/base/text.h"
#include "tarnwell/base/uuid.h"
#include "tarnwell/model/domain_group.h"
#include "tarnwell/model/task.h"
#include "tarnwell/store/persisted_state.h"
#include "tarnwell/time/local_day.h"

namespace tarnwell::terminal {

enum class WordsMean { openTasks, closedTasks };

// Returns the task named by its number in today's list, by the first four or more letters of its
// identifier, or by words that only its title has. Throws Refusal, with the candidates, unless
// there is exactly one.
const FocusTask& namedTask(const PersistedState& state, LocalDay today, std::string_view name,
                           WordsMean words = WordsMean::openTasks);

// Returns the group with the name, in any case. Throws Refusal unless there is exactly one.
const DomainGroup& namedGroup(const std::vector<DomainGroup>& groups, std::string_view name);

// Whether each word of the text is part of the title, in any case.
bool hasWords(const FocusTask& task, std::string_view text);

// Returns the first letters of an identifier, as lists show them.
std::string shortID(const UUID& id);

}  // namespace tarnwell::terminal
