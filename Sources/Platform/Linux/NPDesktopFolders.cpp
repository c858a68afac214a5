#include "Platform/Linux/NPDesktopFolders.h"

#include <cstdlib>
#include <ranges>
#include <string_view>

namespace {

std::string variable(const char* name)
{
    const char* const value = std::getenv(name);
    return value == nullptr ? std::string() : value;
}

std::vector<std::string> parts(const std::string& text)
{
    std::vector<std::string> found;
    for (const auto part : std::views::split(std::string_view(text), ':')) {
        if (!part.empty()) {
            found.emplace_back(part.begin(), part.end());
        }
    }
    return found;
}

// Those of the list that are absolute, or those of the other text when there is none.
std::vector<std::string> folders(const std::string& list, const std::string& otherwise)
{
    std::vector<std::string> found = parts(list);
    std::erase_if(found, [](const std::string& folder) { return !folder.starts_with('/'); });
    return found.empty() ? parts(otherwise) : found;
}

// The variable's folder, else one in the home folder, else none.
std::string userFolder(const char* name, const std::string& inHome)
{
    const std::string value = variable(name);
    const std::string home = variable("HOME");
    if (value.starts_with('/')) {
        return value;
    }
    return home.starts_with('/') ? home + inHome : std::string();
}

std::string messageLocale()
{
    for (const char* const name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        if (std::string value = variable(name); !value.empty()) {
            return value;
        }
    }
    return {};
}

} // namespace

NPDesktopFolders NPDesktopFolders::ofEnvironment()
{
    NPDesktopFolders result;
    result.userConfiguration = userFolder("XDG_CONFIG_HOME", "/.config");
    result.systemConfigurations = folders(variable("XDG_CONFIG_DIRS"), "/etc/xdg");
    result.data = folders(variable("XDG_DATA_DIRS"), "/usr/local/share:/usr/share");
    if (const std::string own = userFolder("XDG_DATA_HOME", "/.local/share"); !own.empty()) {
        result.data.insert(result.data.begin(), own);
    }
    result.programs = folders(variable("PATH"), "/usr/local/bin:/usr/bin:/bin");
    result.desktops = parts(variable("XDG_CURRENT_DESKTOP"));
    result.locale = messageLocale();
    return result;
}

std::string NPDesktopFolders::path() const
{
    std::string joined;
    for (const std::string& folder : programs) {
        joined += (joined.empty() ? "" : ":") + folder;
    }
    return joined;
}
