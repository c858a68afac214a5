#include "Platform/Simulated/NPSimulatedProfiles.h"

#include "ScreenGamma/QXColorProfile.h"

namespace {

std::string outcome(std::string action, bool isDone)
{
    return isDone ? action : action + " failed";
}

} // namespace

bool NPSimulatedProfiles::setCustomProfile(NPDisplayID display, const std::optional<std::string>& location)
{
    const std::lock_guard gate(_deviceGate);
    const bool isAccepted = devicesAccept;
    _log.add(outcome("use " + std::to_string(display) + ' ' + location.value_or("none"), isAccepted));
    if (isAccepted) {
        const std::lock_guard lock(_mutex);
        _customProfiles.erase(display);
        if (location && _isCustomProfile(*location)) {
            _customProfiles.emplace(display, *location);
        }
    }
    return isAccepted;
}

// One that shows the display's own table is the same as none.
bool NPSimulatedProfiles::_isCustomProfile(const std::string& url) const
{
    const auto found = _files.find(url);
    const auto profile = QXColorProfile::profileWithData(found == _files.end() ? QXData() : found->second);
    return profile && QXColorProfileIsCustom(*profile) && !QXColorProfileShowsBaseTable(*profile);
}

std::optional<std::string> NPSimulatedProfiles::customProfile(NPDisplayID display) const
{
    const std::lock_guard lock(_mutex);
    const auto found = _customProfiles.find(display);
    return found == _customProfiles.end() ? std::nullopt : std::optional(found->second);
}

void NPSimulatedProfiles::forgetCustomProfile(NPDisplayID display)
{
    const std::lock_guard lock(_mutex);
    _customProfiles.erase(display);
}

std::optional<std::string> NPSimulatedProfiles::cachesFolder() const
{
    return hasCachesFolder ? std::optional<std::string>("file:///caches") : std::nullopt;
}

std::expected<void, std::string> NPSimulatedProfiles::createFolder(const std::string& url)
{
    const bool isMade = foldersCanBeMade;
    _log.add(outcome("folder " + url, isMade));
    return isMade ? std::expected<void, std::string>() : std::unexpected(std::string("simulated"));
}

bool NPSimulatedProfiles::writeFile(const std::string& url, const QXData& content)
{
    const bool isWritten = filesCanBeWritten;
    _log.add(outcome("file " + url, isWritten));
    if (isWritten) {
        const std::lock_guard lock(_mutex);
        _files[url] = content;
    }
    return isWritten;
}

void NPSimulatedProfiles::removeFile(const std::string& url)
{
    _log.add("remove " + url);
    const std::lock_guard lock(_mutex);
    _files.erase(url);
}

void NPSimulatedProfiles::removeFolder(const std::string& url)
{
    _log.add("remove folder " + url);
    const std::lock_guard lock(_mutex);
    std::erase_if(_files, [&](const auto& entry) { return entry.first.starts_with(url + '/'); });
}

std::optional<QXData> NPSimulatedProfiles::file(const std::string& url) const
{
    const std::lock_guard lock(_mutex);
    const auto found = _files.find(url);
    return found == _files.end() ? std::nullopt : std::optional(found->second);
}
