#include "Platform/Linux/NPTimeZoneServicesLinux.h"

#include "Foundation/QXLog.h"

#include <sys/epoll.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <time.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

namespace {

// What puts another file in the place of a folder's entry.
constexpr std::uint32_t entryChanges = IN_CREATE | IN_MOVED_TO | IN_CLOSE_WRITE;

// Tells one state of a file from another. Empty when there is none, or when somebody has just begun to write.
std::string fileIdentity(const std::string& path)
{
    struct stat status{};
    if (stat(path.c_str(), &status) != 0 || status.st_size == 0) {
        return {};
    }
    return std::to_string(status.st_dev) + ' ' + std::to_string(status.st_ino) + ' '
           + std::to_string(status.st_mtim.tv_sec) + ' ' + std::to_string(status.st_mtim.tv_nsec);
}

int watchFolder(const NPFileDescriptor& inotify, const std::filesystem::path& file)
{
    return inotify_add_watch(inotify.get(), file.parent_path().c_str(), entryChanges);
}

} // namespace

std::string NPTimeZoneServicesLinux::systemZoneFile()
{
    return std::getenv("TZ") == nullptr ? "/etc/localtime" : "";
}

NPTimeZoneServicesLinux::NPTimeZoneServicesLinux(NPMainLoopLinux& loop, QXNotificationCenter& notifications,
                                                 std::string zoneFile, std::function<void()> readZoneAgain)
    : _notifications(notifications), _zoneFile(std::move(zoneFile)),
      _readZoneAgain(readZoneAgain ? std::move(readZoneAgain) : tzset)
{
    if (!_zoneFile.empty()) {
        _inotify = NPFileDescriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
        _entryWatch = watchFolder(_inotify, _zoneFile);
        if (_entryWatch < 0) {
            const std::string reason = std::error_code(errno, std::generic_category()).message();
            QXLog("Time zone changes will not be noticed; path=" + _zoneFile + "; " + reason);
        } else {
            _watch =
                loop.watchFileDescriptor(_inotify.get(), EPOLLIN, [this](std::uint32_t) { _foldersChanged(); });
        }
        _watchTarget();
        _identity = fileIdentity(_zoneFile);
    }
    _readZoneAgain();
}

// Before the file's identity is taken, so that no change falls between the two.
void NPTimeZoneServicesLinux::_watchTarget()
{
    std::error_code error;
    const std::filesystem::path target = std::filesystem::canonical(_zoneFile, error);
    if (error) {
        return;
    }
    const int former = std::exchange(_targetWatch, watchFolder(_inotify, target));
    // The number is that of the file's own folder when the target lies there too.
    if (former != _targetWatch && former != _entryWatch) {
        inotify_rm_watch(_inotify.get(), former);
    }
}

// Whatever happened there: only the file's identity counts.
void NPTimeZoneServicesLinux::_foldersChanged()
{
    std::array<char, 4096> events;
    while (read(_inotify.get(), events.data(), events.size()) > 0) {
    }
    _watchTarget();
    const std::string identity = fileIdentity(_zoneFile);
    if (identity.empty() || identity == _identity) {
        return;
    }
    _identity = identity;
    _readZoneAgain();
    _zone.forgetAnswers();
    _notifications.postNotification(NPSystemTimeZoneDidChangeNotification, nullptr);
}
