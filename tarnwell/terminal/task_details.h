// The fields of a task in words, except its title and notes.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/model/task.h"
#include "tarnwell/terminal/host.h"

namespace tarnwell::terminal {

struct Detail {
  std::string_view name;
  std::string value;  // empty where the task has none
};

// Returns the same details in the same order for every task.
std::vector<Detail> detailsOf(const FocusTask& task, Host& host);

}  // namespace tarnwell::terminal
