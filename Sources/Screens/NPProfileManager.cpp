#include "Screens/NPProfileManager.h"

#include "Foundation/QXLog.h"
#include "Foundation/QXSharedScope.h"
#include "Foundation/QXString.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace {

constexpr double pauseBetweenDisplays = 1.0; // colour services need it to settle
constexpr std::size_t writers = 4;

// Parts of URLs.
constexpr const char* folderInCaches = "/org.nightpane.Nightpane/Color%20Profiles";
constexpr const char* fileNameStart = "/Nightpane%20Profile%20";

std::string hexadecimal(NPDisplayID screen)
{
    char digits[8];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), screen, 16).ptr;
    return {std::begin(digits), end};
}

std::expected<QXData, std::string> customProfile(const NPDisplayProfile& own, const QXGammaTable& table)
{
    if (!own.profile) {
        return std::unexpected(std::string("the display has no profile"));
    }
    QXColorProfile profile = *own.profile;
    QXColorProfileSetGammaTable(profile, table);
    return profile.copyData();
}

} // namespace

NPProfileManager::NPProfileManager(const Services& services)
    : _services(services), _sleeper(services.waits.makeSleeper()), _applyProfileQueue(1), _writeQueue(writers)
{
}

NPProfileManager::~NPProfileManager()
{
    _sleeper->wake();
}

void NPProfileManager::setApplyEnabled(bool enabled)
{
    if (_applyEnabled == enabled) {
        return;
    }
    _applyEnabled = enabled;
    if (enabled) {
        applyPendingProfiles();
    }
}

void NPProfileManager::beginUpdate()
{
    const std::lock_guard lock(_mutex);
    ++_udpateCount;
}

void NPProfileManager::endUpdate()
{
    bool isOutermost = false;
    {
        const std::lock_guard lock(_mutex);
        isOutermost = _udpateCount == 1;
        --_udpateCount;
    }
    if (isOutermost) {
        applyPendingProfiles();
    }
}

void NPProfileManager::setProfileURL(std::optional<std::string> location, NPDisplayID screen)
{
    bool isBatchOpen = false;
    {
        const std::lock_guard lock(_mutex);
        _pendingProfileURLs.insert_or_assign(screen, Pending{false, std::move(location)});
        isBatchOpen = _udpateCount != 0;
    }
    if (!isBatchOpen) {
        applyPendingProfiles();
    }
}

void NPProfileManager::waitProfileURLForScreen(NPDisplayID screen)
{
    const std::lock_guard lock(_mutex);
    _pendingProfileURLs.insert_or_assign(screen, Pending{true, std::nullopt});
}

void NPProfileManager::invalidateProfileURLForScreen(NPDisplayID screen)
{
    {
        const std::lock_guard lock(_mutex);
        _pendingProfileURLs.erase(screen);
    }
    _waitCondition.notify_all();
    applyPendingProfiles(); // the entry may have held others back
}

void NPProfileManager::applyPendingProfiles()
{
    if (!_applyEnabled) {
        return;
    }
    {
        const std::lock_guard lock(_mutex);
        if (_pendingProfileURLs.empty() || _holdsInProgressMarker()) {
            return;
        }
    }
    _applyProfileQueue.perform([this] { _applyWorker(); });
}

// A mark that is left then can only be replaced by the thread that waits here: waiting for it would never end.
void NPProfileManager::waitUntilNoPendingProfile()
{
    if (!_applyEnabled) {
        return;
    }
    applyPendingProfiles();
    std::unique_lock lock(_mutex);
    _services.waits.waitOnMain(_waitCondition, lock, [this] {
        return !_applyingScreen && (_pendingProfileURLs.empty() || _holdsInProgressMarker());
    });
    for (const auto& [screen, pending] : _pendingProfileURLs) {
        _failedScreens.insert(screen);
    }
    _logFailedScreens();
}

bool NPProfileManager::_holdsInProgressMarker() const
{
    return std::ranges::any_of(_pendingProfileURLs, [](const auto& entry) { return entry.second.isInProgress; });
}

void NPProfileManager::_applyWorker()
{
    while (_applyFirstPendingProfile()) {
        _sleeper->sleepForTimeInterval(pauseBetweenDisplays);
        if (!_hasPendingProfiles()) {
            return;
        }
    }
}

// The lock is open while the display takes its profile, which may last as long as the colour service likes:
// the main thread goes on meanwhile. What it asks for that display by then waits for the next turn.
bool NPProfileManager::_applyFirstPendingProfile()
{
    std::unique_lock lock(_mutex);
    if (_udpateCount != 0 || _pendingProfileURLs.empty() || _holdsInProgressMarker()) {
        _waitCondition.notify_all();
        return false;
    }
    const auto first = _pendingProfileURLs.begin();
    const NPDisplayID screen = first->first;
    const std::optional<std::string> location = std::move(first->second.location);
    _pendingProfileURLs.erase(first);
    _applyingScreen = screen;
    lock.unlock();
    const bool isApplied = _applyProfile(screen, location);
    lock.lock();
    _applyingScreen.reset();
    if (isApplied) {
        _failedScreens.erase(screen);
    } else {
        _failedScreens.insert(screen);
    }
    _waitCondition.notify_all();
    return true;
}

bool NPProfileManager::_hasPendingProfiles()
{
    const std::lock_guard lock(_mutex);
    return !_pendingProfileURLs.empty();
}

bool NPProfileManager::_applyProfile(NPDisplayID screen, const std::optional<std::string>& location)
{
    const bool isApplied = _services.devices.setCustomProfile(screen, location);
    if (!isApplied) {
        QXLog(QXFormat("ColorSyncDeviceSetCustomProfiles error: %@", {"(null)"})); // there never is an argument
    }
    return isApplied;
}

void NPProfileManager::_logFailedScreens()
{
    if (_failedScreens.empty()) {
        return;
    }
    std::string screens;
    for (const NPDisplayID screen : _failedScreens) {
        screens += ' ' + hexadecimal(screen);
    }
    QXLog("These displays have not been given their own colour profiles back:" + screens);
}

std::optional<std::string> NPProfileManager::_profileFolder() const
{
    const std::optional<std::string> caches = _services.files.cachesFolder();
    return caches ? std::optional(*caches + folderInCaches) : std::nullopt;
}

std::optional<std::string> NPProfileManager::_profileLocation(NPDisplayID screen) const
{
    const std::optional<std::string> folder = _profileFolder();
    return folder ? std::optional(*folder + fileNameStart + hexadecimal(screen) + ".icc") : std::nullopt;
}

void NPProfileManager::writeProfile(NPDisplayID screen, const NPDisplayProfile& own, const QXGammaTable& table,
                                    Completion completion)
{
    auto content = customProfile(own, table);
    if (!content) {
        QXLog(QXFormat("ColorSyncProfileCopyData error: %@", {content.error()}));
        completion(std::nullopt);
        return;
    }
    const std::uint64_t version = _nextFileVersion(screen);
    _writeQueue.perform(
        [this, screen, version, content = std::move(*content), completion = std::move(completion)] {
            std::optional<std::string> location;
            _changeFile(screen, version, [&] { location = _writeFile(screen, content); });
            _services.mainQueue.performOnMain([completion, location] { completion(location); });
        });
}

void NPProfileManager::removeProfileFileForScreen(NPDisplayID screen)
{
    const std::uint64_t version = _nextFileVersion(screen);
    _writeQueue.perform([this, screen, version] {
        _changeFile(screen, version, [&] {
            if (const std::optional<std::string> location = _profileLocation(screen)) {
                _services.files.removeFile(*location);
            }
        });
    });
}

// A write under way would make the folder anew.
void NPProfileManager::removeProfileFolder()
{
    _writeQueue.waitUntilIdle();
    if (const std::optional<std::string> folder = _profileFolder()) {
        _services.files.removeFolder(*folder);
    }
}

std::uint64_t NPProfileManager::_nextFileVersion(NPDisplayID screen)
{
    const std::lock_guard lock(_filesMutex);
    return ++_files[screen].newestVersion;
}

void NPProfileManager::_changeFile(NPDisplayID screen, std::uint64_t version, const std::function<void()>& change)
{
    std::unique_lock lock(_filesMutex);
    FileState& file = _files[screen]; // which stays where it is
    lock.unlock();
    const std::lock_guard fileLock(file.mutex);
    lock.lock();
    const bool isNewest = file.newestVersion == version;
    lock.unlock();
    if (isNewest) {
        change();
    }
}

std::optional<std::string> NPProfileManager::_writeFile(NPDisplayID screen, const QXData& content)
{
    const std::optional<std::string> folder = _profileFolder();
    const auto created =
        folder ? _services.files.createFolder(*folder) : std::unexpected(std::string("there is no caches folder"));
    if (!created) {
        QXLog(QXFormat("NPProfileWrite error creating directory; url=%@; error=%@",
                       {folder.value_or("(null)"), created.error()}));
        return std::nullopt;
    }
    std::optional<std::string> location = _profileLocation(screen);
    if (!_services.files.writeFile(*location, content)) {
        QXLog(QXFormat("NPProfileWrite error; url=%@", {*location}));
        return std::nullopt;
    }
    return location;
}

std::shared_ptr<NPProfileApplying> sharedProfileManager()
{
    return QXSharedScope::current().instance<NPProfileApplying>(
        [] { return std::make_shared<NPNoCustomProfiles>(); });
}
