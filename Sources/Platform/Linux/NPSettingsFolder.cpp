#include "Platform/Linux/NPSettingsFolder.h"

#include "Foundation/QXLog.h"
#include "Foundation/QXUnicode.h"

#include <cstdlib>

namespace {

// The variable's value when it can be used. One that is set to nothing counts as not set.
std::optional<std::filesystem::path> folderFromVariable(const char* name, const char* value)
{
    if (value == nullptr || *value == '\0') {
        return std::nullopt;
    }
    std::filesystem::path path(value);
    if (!path.is_absolute()) {
        QXLog(std::string(name) + " is ignored: " + QXQuotedForLine(value) + " is no absolute path");
        return std::nullopt;
    }
    return path;
}

} // namespace

std::optional<std::filesystem::path> NPSettingsFolder(const char* configHome, const char* home)
{
    if (const auto folder = folderFromVariable("XDG_CONFIG_HOME", configHome)) {
        return *folder / "nightpane";
    }
    if (const auto folder = folderFromVariable("HOME", home)) {
        return *folder / ".config" / "nightpane";
    }
    QXLog("Settings are kept in memory only: neither XDG_CONFIG_HOME nor HOME names a folder");
    return std::nullopt;
}

const std::optional<std::filesystem::path>& NPSettingsFolderOfProcess()
{
    static const std::optional<std::filesystem::path> folder =
        NPSettingsFolder(std::getenv("XDG_CONFIG_HOME"), std::getenv("HOME"));
    return folder;
}
