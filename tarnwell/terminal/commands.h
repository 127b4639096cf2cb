// The commands of the program. command.h says how to add one.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/terminal/command.h"

namespace tarnwell::terminal {

namespace commands {

extern const Command day, week, list, show, review, log;
extern const Command add, edit, move, archive, reopen, capacity;
extern const Command start, pause, resume, skip, done;
extern const Command proposals, propose, approve, dismiss;
extern const Command block, blockStart, blockEnd, blockRepair;
extern const Command groups, groupAdd, groupRemove, groupRename, groupEnable, groupDisable;
extern const Command groupBlock, groupAllow;
extern const Command undo, backup, backupList, backupExport, backupRestore;
extern const Command doctor, prune;
extern const Command watch;

}  // namespace commands

// Commands that belong together, in the order in which help lists them.
struct Family {
  std::string_view title;
  std::span<const Command* const> commands;
};

std::span<const Family> families();

// Null when there is none.
const Command* findCommand(std::string_view name);

// The command at the beginning of the words and how many of them name it: "group add" is two. The
// command is null when the words begin with none.
struct NamedCommand {
  const Command* command = nullptr;
  std::size_t wordCount = 0;
};
NamedCommand commandAtFront(const std::vector<std::string>& words);

// Returns the name of a command that a mistyped one may stand for; empty when none is close.
std::string_view suggestionFor(std::string_view mistyped);

// Returns the list of all commands.
Page overview();

// Returns the commands of a group such as "group"; empty when there is no such group.
Page overviewOf(std::string_view group);

}  // namespace tarnwell::terminal
