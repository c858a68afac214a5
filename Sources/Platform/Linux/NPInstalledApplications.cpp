#include "Platform/Linux/NPInstalledApplications.h"

#include "Platform/Linux/NPFileAccess.h"
#include "Platform/Linux/NPResourcesLinux.h"

#include <unistd.h>

#include <filesystem>
#include <system_error>
#include <utility>

namespace {

constexpr std::string_view extension = ".desktop";
constexpr std::size_t largestEntry = std::size_t{1} << 20;

} // namespace

NPInstalledApplications::NPInstalledApplications(NPDesktopFolders folders) : _folders(std::move(folders)) {}

std::optional<NPDesktopEntry> NPInstalledApplications::_entryAt(const std::string& path)
{
    std::error_code ignored;
    if (!path.ends_with(extension) || !std::filesystem::is_regular_file(path, ignored)) {
        return std::nullopt;
    }
    const auto content = NPReadFile(path, largestEntry);
    return content ? NPDesktopEntry::parse(std::string(content->begin(), content->end())) : std::nullopt;
}

std::optional<std::string> NPInstalledApplications::pathForIdentifier(const std::string& identifier) const
{
    if (identifier.empty() || identifier.contains('/')) {
        return std::nullopt;
    }
    for (const std::string& folder : _folders.data) {
        const std::string path = folder + "/applications/" + identifier + std::string(extension);
        if (const auto entry = _entryAt(path)) {
            if (!entry->flag("Hidden", false) && entry->isStartable(_folders.path())) {
                return path;
            }
            break; // it stands for those of the folders after it
        }
    }
    return NPExecutableFile(identifier, _folders.path());
}

std::string NPInstalledApplications::displayNameAtPath(const std::string& path) const
{
    const std::optional<NPDesktopEntry> entry = _entryAt(path);
    const auto name = entry ? entry->localizedValue("Name", _folders.locale) : std::nullopt;
    return name ? *name + std::string(extension) : path.substr(path.find_last_of('/') + 1);
}

std::optional<std::string> NPInstalledApplications::iconForFile(const std::string& path) const
{
    const std::optional<NPDesktopEntry> entry = _entryAt(path);
    return entry ? entry->value("Icon") : std::nullopt;
}

std::string NPApplicationPath()
{
    const std::string folder = NPProgramFolder();
    const std::string entry = folder + NP_ENTRY_PATH "/nightpane.desktop";
    if (::access(entry.c_str(), F_OK) != 0) {
        return folder + "nightpane";
    }
    return std::filesystem::path(folder + "../Applications/Nightpane").lexically_normal();
}
