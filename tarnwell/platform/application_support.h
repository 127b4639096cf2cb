// Where the data of the user's applications lives.
#pragma once

#include <filesystem>
#include <optional>

namespace tarnwell {

// macOS: ~/Library/Application Support. Elsewhere: $XDG_DATA_HOME where it is absolute, otherwise
// ~/.local/share. The home is $HOME where it is absolute, otherwise what the user database says.
// Absent when there is no absolute path to be had. Creates nothing.
std::optional<std::filesystem::path> applicationSupportFolder();

}  // namespace tarnwell
