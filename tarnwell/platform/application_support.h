// The folders for the user's data, state and settings.
#pragma once

#include <filesystem>
#include <optional>

namespace tarnwell {

// Each function returns an absolute path, or nothing when there is none, and creates no folder. The
// home folder is $HOME if absolute, otherwise that of the user database.

// Returns the folder for data. macOS: ~/Library/Application Support. Elsewhere: $XDG_DATA_HOME if
// absolute, otherwise ~/.local/share.
std::optional<std::filesystem::path> applicationSupportFolder();

// Returns the folder for state that outlives a run. macOS: the same folder. Elsewhere:
// $XDG_STATE_HOME if absolute, otherwise ~/.local/state.
std::optional<std::filesystem::path> stateFolder();

// Returns the folder for settings: $XDG_CONFIG_HOME if absolute, otherwise ~/.config.
std::optional<std::filesystem::path> configurationFolder();

}  // namespace tarnwell
