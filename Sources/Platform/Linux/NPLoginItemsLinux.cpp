#include "Platform/Linux/NPLoginItemsLinux.h"

#include "Foundation/QXLog.h"
#include "Platform/Linux/NPFileAccess.h"
#include "Platform/Linux/NPModuleLinux.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <system_error>
#include <utility>

namespace {

constexpr std::string_view extension = ".desktop";
constexpr std::size_t largestEntry = std::size_t{1} << 20;

const std::string hiddenKey = "Hidden";
const std::string enabledKey = "X-GNOME-Autostart-enabled"; // what desktops' own settings write

bool haveCommon(const std::vector<std::string>& left, const std::vector<std::string>& right)
{
    return std::ranges::find_first_of(left, right) != left.end();
}

// The names of the jobs that a folder has entries for.
void addJobs(const std::string& folder, std::set<std::string>& names)
{
    std::error_code error;
    for (std::filesystem::directory_iterator file(folder, error), end; !error && file != end;
         file.increment(error)) {
        const std::string name = file->path().filename();
        if (name.ends_with(extension)) {
            names.insert(name.substr(0, name.size() - extension.size()));
        }
    }
}

bool isBlank(const QXData& content)
{
    return std::ranges::all_of(content, [](std::uint8_t byte) { return byte == ' ' || byte == '\n'; });
}

} // namespace

std::string NPLauncherPath()
{
    for (const std::string& folder : NPModuleFolders()) {
        const std::string path = std::filesystem::path(folder + "/nightpane-launcher").lexically_normal();
        if (::access(path.c_str(), X_OK) == 0) {
            return path;
        }
    }
    return {};
}

NPLoginItemsLinux::NPLoginItemsLinux(NPDesktopFolders folders, std::string launcher)
    : _folders(std::move(folders)), _launcher(std::move(launcher))
{
}

QXArray NPLoginItemsLinux::copyAllJobDictionaries() const
{
    std::set<std::string> names;
    addJobs(_folders.userConfiguration + "/autostart", names);
    for (const std::string& folder : _folders.systemConfigurations) {
        addJobs(folder + "/autostart", names);
    }
    QXArray jobs;
    for (const std::string& name : names) {
        jobs.emplace_back(
            QXDictionary{{std::string(NPJobLabelKey), name}, {std::string(NPJobOnDemandKey), _isEnabled(name)}});
    }
    return jobs;
}

bool NPLoginItemsLinux::setLoginItemEnabled(const std::string& bundleIdentifier, bool enabled)
{
    const auto done = enabled ? _enable(bundleIdentifier) : _disable(bundleIdentifier);
    if (!done) {
        QXLog(_userFile(bundleIdentifier) + ": " + done.error());
    }
    return done.has_value();
}

std::string NPLoginItemsLinux::_userFile(const std::string& identifier) const
{
    return _folders.userConfiguration + "/autostart/" + identifier + std::string(extension);
}

// Looks before it opens: a pipe would be waited for. A file with nothing in it is as good as none.
NPLoginItemsLinux::Found NPLoginItemsLinux::_entryAt(const std::string& file)
{
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(file, error);
    if (!std::filesystem::exists(status)) {
        return status.type() == std::filesystem::file_type::not_found ? Found(std::nullopt)
                                                                      : std::unexpected(error.message());
    }
    if (!std::filesystem::is_regular_file(status)) {
        return std::unexpected("it is no file");
    }
    const auto content = NPReadFile(file, largestEntry);
    if (!content) {
        return std::unexpected(content.error());
    }
    if (isBlank(*content)) {
        return std::nullopt;
    }
    auto entry = NPDesktopEntry::parse(std::string(content->begin(), content->end()));
    return entry ? Found(std::move(entry)) : std::unexpected("it is no desktop entry");
}

NPLoginItemsLinux::Found NPLoginItemsLinux::_systemEntry(const std::string& identifier) const
{
    for (const std::string& folder : _folders.systemConfigurations) {
        Found found = _entryAt(folder + "/autostart/" + identifier + std::string(extension));
        if (!found || *found) {
            return found;
        }
    }
    return std::nullopt;
}

bool NPLoginItemsLinux::_starts(const Found& found) const
{
    if (!found || !*found) {
        return false;
    }
    const NPDesktopEntry& entry = **found;
    const std::vector<std::string> only = entry.list("OnlyShowIn");
    return !entry.flag(hiddenKey, false) && entry.flag(enabledKey, true)
           && (only.empty() || haveCommon(only, _folders.desktops))
           && !haveCommon(entry.list("NotShowIn"), _folders.desktops) && entry.isStartable(_folders.path());
}

bool NPLoginItemsLinux::_isEnabled(const std::string& identifier) const
{
    const Found own = _entryAt(_userFile(identifier));
    return own && !*own ? _starts(_systemEntry(identifier)) : _starts(own);
}

// TryExec lets desktops pass over the entry once the program has been removed.
NPDesktopEntry NPLoginItemsLinux::_newEntry(const std::string& command) const
{
    NPDesktopEntry entry = NPDesktopEntry::parse("[Desktop Entry]\nType=Application\nVersion=1.4\nName=Nightpane\n"
                                                 "Icon=nightpane\nStartupNotify=false\n")
                               .value();
    entry.setValue("TryExec", command);
    entry.setValue("Exec", NPExecWord(command));
    return entry;
}

bool NPLoginItemsLinux::_isAsWritten(const NPDesktopEntry& entry) const
{
    return entry.text() == _newEntry(entry.value("TryExec").value_or("")).text();
}

std::expected<void, std::string> NPLoginItemsLinux::_enable(const std::string& identifier) const
{
    const Found own = _entryAt(_userFile(identifier));
    if (!own) {
        return std::unexpected(own.error() + ", and is left as it is");
    }
    if (_isEnabled(identifier)) {
        return {};
    }
    if (_launcher.empty()) {
        return std::unexpected("the launcher program is missing");
    }
    NPDesktopEntry entry = own->value_or(_newEntry(_launcher));
    entry.removeValue(hiddenKey);
    if (entry.value(enabledKey)) {
        entry.setValue(enabledKey, "true");
    }
    if (!entry.isStartable(_folders.path())) { // the program has moved
        entry.setValue("TryExec", _launcher);
        entry.setValue("Exec", NPExecWord(_launcher));
    }
    if (!_starts(Found(entry))) {
        return std::unexpected("it is not for this desktop, as somebody has written into it");
    }
    return _write(identifier, entry);
}

std::expected<void, std::string> NPLoginItemsLinux::_disable(const std::string& identifier) const
{
    if (!_isEnabled(identifier)) {
        return {};
    }
    const Found own = _entryAt(_userFile(identifier));
    const bool hasOwn = own && *own;
    if (hasOwn && _isAsWritten(**own) && !_starts(_systemEntry(identifier))) {
        std::error_code error;
        std::filesystem::remove(_userFile(identifier), error);
        return error ? std::unexpected(error.message()) : std::expected<void, std::string>();
    }
    NPDesktopEntry entry = hasOwn ? **own : _newEntry(_launcher);
    entry.setValue(hiddenKey, "true");
    return _write(identifier, entry);
}

std::expected<void, std::string> NPLoginItemsLinux::_write(const std::string& identifier,
                                                           const NPDesktopEntry& entry) const
{
    if (_folders.userConfiguration.empty()) {
        return std::unexpected("there is no home folder");
    }
    std::error_code error;
    std::filesystem::create_directories(_folders.userConfiguration + "/autostart", error);
    if (error) {
        return std::unexpected(error.message());
    }
    const std::string text = entry.text();
    return NPWriteFile(_userFile(identifier), QXData(text.begin(), text.end()));
}
