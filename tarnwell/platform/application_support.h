// Where the data of the user's applications lives.
#pragma once

#include <filesystem>
#include <optional>

namespace tarnwell {

// macOS: ~/Library/Application Support. Elsewhere: $XDG_DATA_HOME where it is absolute, otherwise
// ~/.local/share. The home is $HOME where it is absolute, otherwise what the user database says.
// Absent when there is no absolute path to be had. Creates nothing.
std::optional<std::filesystem::path> applicationSupportFolder();

// Where what is remembered from one run of an application to the next lives. macOS: the same
// folder. Elsewhere: $XDG_STATE_HOME where it is absolute, otherwise ~/.local/state.
std::optional<std::filesystem::path> stateFolder();

// Where the user's settings of applications live: $XDG_CONFIG_HOME where it is absolute, otherwise
// ~/.config.
std::optional<std::filesystem::path> configurationFolder();

}  // namespace tarnwell
