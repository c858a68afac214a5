// The user-defaults store in a file: $XDG_CONFIG_HOME/nightpane/org.nightpane.Nightpane.plist.
//
// Changes reach the file half a second after the first one that is unsaved, together, and at synchronize()
// and destruction. The disk is waited for on a thread of its own, since flushing may take longer than a step
// of a fade; everything else happens on the main thread, and an idle store wakes nobody.
//
// Several processes may use the file at once. Each saves only what it has changed itself, key by key, over
// what the others have saved before. What they changed is taken over when the file changes, or else with the
// next saving, and announced with one notification.
//
// A file that cannot be read is given another name with the date in it, and a line in the log. A store that
// has just been made goes on with no settings; a running one keeps those it has, and saves them again. A file
// that vanishes while the store runs changes nothing: the next change brings it back with everything in it.
// What cannot be saved is kept in memory and tried again; the log has one line about it, until it works.
#pragma once

#include "Foundation/QXNotificationCenter.h"
#include "Platform/Linux/NPMainLoopLinux.h"
#include "Platform/Linux/NPSettingsFile.h"
#include "Platform/NPUserDefaults.h"

#include <chrono>
#include <future>

class NPUserDefaultsLinux final : public NPUserDefaults {
public:
    // Reads the settings. With no folder they live in memory alone. The services must outlive the store.
    NPUserDefaultsLinux(const std::optional<std::filesystem::path>& folder, NPMainLoopLinux& loop,
                        QXNotificationCenter& notifications);

    // The same from separate services, and without noticing the changes of others by itself.
    NPUserDefaultsLinux(const std::optional<std::filesystem::path>& folder, NPClock& clock,
                        NPTimerServices& timers, NPMainQueue& mainQueue, QXNotificationCenter& notifications);
    ~NPUserDefaultsLinux() override;
    NPUserDefaultsLinux(const NPUserDefaultsLinux&) = delete;
    NPUserDefaultsLinux& operator=(const NPUserDefaultsLinux&) = delete;

    std::optional<QXValue> objectForKey(std::string_view key) const override;
    void setObject(QXValue value, std::string_view key) override;
    void removeObjectForKey(std::string_view key) override;
    void registerDefaults(const QXDictionary& defaults) override;

    // Waits for the disk, and up to a second for another process that is saving. Takes over what others have
    // saved. Also false when there are changes but no folder.
    bool synchronize() override;

    // Takes over what another process has changed in the file.
    void readChanges();

private:
    using Written = std::expected<NPSettingsFile::Version, std::error_code>;

    void _readAtStart();
    void _watchFolders();
    void _takeEvents();
    void _changed();
    void _announce();
    void _announceTakenOver();

    void _scheduleSaving(std::chrono::nanoseconds delay);
    void _saveInBackground();
    bool _saveNow();
    bool _saveUnderLock();
    std::optional<QXData> _bytesToSave();
    void _startWriting(NPFileDescriptor lock, QXData bytes);
    void _finishWriting();
    void _writingEnded();
    bool _takeResult(const Written& written);

    bool _followFile();
    bool _setAside(const std::string& reason);
    void _takeOver(const NPSettingsFile::Content& content);

    void _reportUnreadable(const std::string& reason);
    void _reportUnwritable(const std::error_code& error);
    void _reportFailure(const std::string& line);

    std::optional<NPSettingsFile> _file;
    NPClock& _clock;
    NPTimerServices& _timers;
    NPMainQueue& _mainQueue;
    QXNotificationCenter& _notifications;

    QXDictionary _registered;
    QXDictionary _stored;
    QXDictionary _saved; // what the file held when it was last read or written
    std::optional<NPSettingsFile::Version> _version;
    bool _unsaved = false;
    bool _tookOver = false;        // something that has not been announced yet
    bool _failureReported = false; // cleared by the next success

    std::shared_ptr<NPTimerSource> _savingTimer;
    QXDictionary _beingSaved;
    std::future<Written> _writing;
    std::shared_ptr<void> _writingToken; // lives as long as that result is awaited

    NPFileDescriptor _inotify;
    NPWatch _watch;
};
