// Where the user's settings lie on a system that follows the XDG rules.
#pragma once

#include <filesystem>
#include <optional>

// The folder "nightpane" of the user's configuration folder: $XDG_CONFIG_HOME, else $HOME/.config. Takes the
// values of the two variables, nullptr for one that is not set. A value that is no absolute path is ignored,
// as the XDG rules want it, with a line in the log. None, and a line, when no folder is left: settings then
// live in memory alone. The folder need not exist.
std::optional<std::filesystem::path> NPSettingsFolder(const char* configHome, const char* home);

// The one that this process's environment names: looked up once, so that its lines come once.
const std::optional<std::filesystem::path>& NPSettingsFolderOfProcess();
