#include "Platform/Linux/NPUserDefaultsLinux.h"

#include "Foundation/QXLog.h"
#include "Foundation/QXPropertyList.h"

#include <sys/epoll.h>
#include <sys/inotify.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <tuple>
#include <utility>

using namespace std::chrono_literals;

namespace {

constexpr std::chrono::nanoseconds savingDelay = 500ms;
constexpr std::chrono::nanoseconds delayAfterFailure = 30s;
constexpr std::chrono::milliseconds patienceWithOthers = 1s;

std::uint64_t count(std::chrono::nanoseconds time)
{
    return static_cast<std::uint64_t>(time.count());
}

// What we changed since `base`, over what the others changed.
QXDictionary merged(const QXDictionary& base, const QXDictionary& ours, const QXDictionary& theirs)
{
    QXDictionary result = theirs;
    for (const auto& [key, value] : ours) {
        const QXValue* before = QXDictionaryValue(base, key);
        if (!before || !(*before == value)) {
            result.insert_or_assign(key, value);
        }
    }
    for (const auto& entry : base) {
        if (!ours.contains(entry.first)) {
            result.erase(entry.first);
        }
    }
    return result;
}

} // namespace

NPUserDefaultsLinux::NPUserDefaultsLinux(const std::optional<std::filesystem::path>& folder, NPMainLoopLinux& loop,
                                         QXNotificationCenter& notifications)
    : NPUserDefaultsLinux(folder, loop, loop, loop, notifications)
{
    if (!_file) {
        return;
    }
    _inotify = NPFileDescriptor(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    if (!_inotify) {
        QXLog("Changes of the settings by other programs will be noticed late: "
              + std::generic_category().message(errno));
        return;
    }
    _watch = loop.watchFileDescriptor(_inotify.get(), EPOLLIN, [this](std::uint32_t) { _takeEvents(); });
    std::ignore = _file->makeFolder(); // a folder that others make later would not be watched
    _watchFolders();
    readChanges(); // between reading and watching
}

NPUserDefaultsLinux::NPUserDefaultsLinux(const std::optional<std::filesystem::path>& folder, NPClock& clock,
                                         NPTimerServices& timers, NPMainQueue& mainQueue,
                                         QXNotificationCenter& notifications)
    : _file(folder ? std::optional(NPSettingsFile(*folder)) : std::nullopt), _clock(clock), _timers(timers),
      _mainQueue(mainQueue), _notifications(notifications)
{
    if (_file) {
        _readAtStart();
    }
}

NPUserDefaultsLinux::~NPUserDefaultsLinux()
{
    _finishWriting();
    if (!_file || !_unsaved) {
        return;
    }
    auto lock = _file->lock(patienceWithOthers);
    // Whoever holds the lock that long has stopped; our changes must not be lost with us.
    if (lock || lock.error() == std::errc::resource_unavailable_try_again) {
        _saveUnderLock();
    } else {
        _reportUnwritable(lock.error());
    }
}

void NPUserDefaultsLinux::_readAtStart()
{
    const auto content = _file->read();
    if (content) {
        _takeOver(*content);
    } else if (!content.error().isBroken) {
        _reportUnreadable(content.error().reason);
    } else if (const auto lock = _file->lock(patienceWithOthers)) {
        _followFile();
    } else {
        _reportUnreadable(content.error().reason + "; and not set aside: " + lock.error().message());
    }
    _tookOver = false;
}

void NPUserDefaultsLinux::_watchFolders()
{
    for (const std::filesystem::path& path : {_file->path(), _file->target()}) {
        ::inotify_add_watch(_inotify.get(), path.parent_path().c_str(), IN_MOVED_TO | IN_CLOSE_WRITE | IN_ONLYDIR);
    }
}

// What has happened is told by the file itself. Other files say nothing about it: somebody may be writing it just now.
void NPUserDefaultsLinux::_takeEvents()
{
    const std::array names{_file->path().filename().string(), _file->target().filename().string()};
    bool isAboutFile = false;
    std::array<char, 4096> buffer;
    for (ssize_t size = 0; (size = ::read(_inotify.get(), buffer.data(), buffer.size())) > 0;) {
        for (const char* next = buffer.data(); next < buffer.data() + size;) {
            inotify_event event{};
            std::memcpy(&event, next, sizeof event);
            const std::string name = event.len > 0 ? next + sizeof event : ""; // none: events have been lost
            isAboutFile = isAboutFile || name.empty() || std::ranges::find(names, name) != names.end();
            next += sizeof event + event.len;
        }
    }
    if (isAboutFile) {
        readChanges();
    }
}

std::optional<QXValue> NPUserDefaultsLinux::objectForKey(std::string_view key) const
{
    const QXValue* stored = QXDictionaryValue(_stored, key);
    const QXValue* value = stored ? stored : QXDictionaryValue(_registered, key);
    return value ? std::optional(*value) : std::nullopt;
}

void NPUserDefaultsLinux::setObject(QXValue value, std::string_view key)
{
    const QXValue* stored = QXDictionaryValue(_stored, key);
    if (stored && *stored == value) {
        return;
    }
    _stored.insert_or_assign(std::string(key), std::move(value));
    _changed();
}

void NPUserDefaultsLinux::removeObjectForKey(std::string_view key)
{
    const auto found = _stored.find(key);
    if (found == _stored.end()) {
        return;
    }
    _stored.erase(found);
    _changed();
}

void NPUserDefaultsLinux::registerDefaults(const QXDictionary& defaults)
{
    for (const auto& [key, value] : defaults) {
        _registered.insert_or_assign(key, value);
    }
}

void NPUserDefaultsLinux::_changed()
{
    _unsaved = true;
    _scheduleSaving(savingDelay);
    _announce();
}

void NPUserDefaultsLinux::_announce()
{
    const NPUserDefaults* const sender = this;
    _notifications.postNotification(NPUserDefaultsDidChangeNotification, sender);
}

bool NPUserDefaultsLinux::synchronize()
{
    _finishWriting();
    const bool saved = !_unsaved || _saveNow();
    _announceTakenOver(); // not before the lock is free: an observer may synchronize
    readChanges();
    return saved;
}

bool NPUserDefaultsLinux::_saveNow()
{
    if (!_file) {
        return false;
    }
    const auto lock = _file->lock(patienceWithOthers);
    if (!lock) {
        _reportUnwritable(lock.error());
        return false;
    }
    return _saveUnderLock();
}

void NPUserDefaultsLinux::readChanges()
{
    if (!_file || _writing.valid()) {
        return; // the end of the writing looks again
    }
    const auto version = _file->version();
    if (version == _version) {
        return;
    }
    const auto content = _file->read();
    if (content) {
        _takeOver(*content);
        _announceTakenOver();
        return;
    }
    if (content.error().isBroken) {
        _saved.clear(); // ours is the only good copy now, whatever somebody puts in its place
    }
    _unsaved = true; // the saving looks at it under the lock
    _scheduleSaving(savingDelay);
}

void NPUserDefaultsLinux::_scheduleSaving(std::chrono::nanoseconds delay)
{
    if (!_file || _savingTimer) {
        return;
    }
    _savingTimer = _timers.makeMonotonicTimer(count(delay), count(delay), count(delay) / 5);
    _savingTimer->setEventHandler([this] {
        const std::shared_ptr<NPTimerSource> timer = std::exchange(_savingTimer, nullptr);
        timer->cancel();
        _saveInBackground();
    });
    _savingTimer->resume();
}

void NPUserDefaultsLinux::_saveInBackground()
{
    if (_writing.valid() || !_unsaved) {
        return;
    }
    auto lock = _file->lock(0ms);
    if (!lock) {
        const bool isBusy = lock.error() == std::errc::resource_unavailable_try_again;
        if (!isBusy) {
            _reportUnwritable(lock.error());
        }
        _scheduleSaving(isBusy ? savingDelay : delayAfterFailure);
        return;
    }
    std::optional<QXData> bytes = _followFile() ? _bytesToSave() : std::nullopt;
    if (bytes) {
        _startWriting(*std::move(lock), *std::move(bytes));
    } else {
        lock->reset();
        _scheduleSaving(delayAfterFailure);
    }
    _announceTakenOver();
}

bool NPUserDefaultsLinux::_saveUnderLock()
{
    const std::optional<QXData> bytes = _followFile() ? _bytesToSave() : std::nullopt;
    if (!bytes) {
        return false;
    }
    _beingSaved = _stored;
    _unsaved = false;
    return _takeResult(_file->replace(*bytes));
}

// Under the lock: takes over what others have saved, and clears away what nobody can read. False when the
// file must not be replaced.
bool NPUserDefaultsLinux::_followFile()
{
    const auto version = _file->version();
    if (version && version == _version) {
        return true;
    }
    const auto content = _file->read();
    if (content) {
        _takeOver(*content);
        return true;
    }
    if (content.error().isBroken) {
        return _setAside(content.error().reason);
    }
    _reportUnreadable(content.error().reason);
    return false;
}

bool NPUserDefaultsLinux::_setAside(const std::string& reason)
{
    const auto name = _file->setAside(_clock.now());
    if (!name) {
        _reportUnreadable(reason + "; and not set aside: " + name.error().message());
        return false;
    }
    QXLog("Unreadable settings were set aside as " + name->string() + ": " + reason);
    _version.reset();
    _saved.clear();
    return true;
}

void NPUserDefaultsLinux::_takeOver(const NPSettingsFile::Content& content)
{
    _version = content.version;
    if (!content.version) {
        return; // a vanished file takes nothing away
    }
    QXDictionary settings = merged(_saved, _stored, content.settings);
    _tookOver = _tookOver || settings != _stored;
    _stored = std::move(settings);
    _saved = content.settings;
}

void NPUserDefaultsLinux::_announceTakenOver()
{
    if (std::exchange(_tookOver, false)) {
        _announce();
    }
}

std::optional<QXData> NPUserDefaultsLinux::_bytesToSave()
{
    std::expected<QXData, std::string> bytes = QXPropertyListBinaryData(_stored);
    if (!bytes) {
        _reportFailure("Settings cannot be saved: they are " + bytes.error());
        return std::nullopt;
    }
    return *std::move(bytes);
}

void NPUserDefaultsLinux::_startWriting(NPFileDescriptor lock, QXData bytes)
{
    _beingSaved = _stored;
    _unsaved = false;
    _writingToken = std::make_shared<int>();
    auto finish = [this, token = std::weak_ptr(_writingToken)] {
        if (!token.expired()) {
            _writingEnded();
        }
    };
    auto write = [file = *_file, held = std::move(lock), content = std::move(bytes), &queue = _mainQueue,
                  finish]() mutable {
        Written written = file.replace(content);
        held.reset();
        queue.performOnMain(finish);
        return written;
    };
    try {
        _writing = std::async(std::launch::async, std::move(write));
    } catch (const std::system_error& error) { // no thread to be had
        _takeResult(std::unexpected(error.code()));
    }
}

// Waits for the thread. Announces nothing.
void NPUserDefaultsLinux::_finishWriting()
{
    if (_writing.valid()) {
        _takeResult(_writing.get());
        _writingToken.reset();
    }
}

void NPUserDefaultsLinux::_writingEnded()
{
    _finishWriting();
    if (_unsaved) {
        _scheduleSaving(savingDelay);
    }
    readChanges();
}

bool NPUserDefaultsLinux::_takeResult(const Written& written)
{
    if (!written) {
        _unsaved = true;
        _reportUnwritable(written.error());
        _scheduleSaving(delayAfterFailure);
        return false;
    }
    _saved = std::move(_beingSaved);
    _version = *written;
    _failureReported = false;
    if (!_unsaved) {
        _savingTimer.reset();
    }
    if (_watch) {
        _watchFolders(); // the link may lead elsewhere by now, and the folder may be a new one
    }
    return true;
}

void NPUserDefaultsLinux::_reportUnreadable(const std::string& reason)
{
    _reportFailure("Settings in " + _file->path().string() + " cannot be read: " + reason);
}

void NPUserDefaultsLinux::_reportUnwritable(const std::error_code& error)
{
    const bool isBusy = error == std::errc::resource_unavailable_try_again;
    const std::string reason = isBusy ? "another process is saving them" : error.message();
    _reportFailure("Settings cannot be saved in " + _file->path().string() + ": " + reason);
}

void NPUserDefaultsLinux::_reportFailure(const std::string& line)
{
    if (!std::exchange(_failureReported, true)) {
        QXLog(line);
    }
}
