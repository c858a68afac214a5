// Has displays use custom colour profiles, and keeps the files of these.
//
// Applying: what a display is to use next waits in a list until it is applied on a thread of its own, one
// display at a time and at least a second apart, never while applying is disabled, a batch is open, or a
// profile of any display is still being written. Writing: each profile is serialised by the caller's thread
// and written by another; the completion comes back on the main thread.
//
// The files lie in "<bundle identifier>/Color Profiles" in the caches folder, as "Nightpane Profile 4280a80.icc"
// (the display's identifier in hexadecimal).
//
// All operations belong to the main thread. None of them but those that say so waits for a file or a display.
#pragma once

#include "Platform/NPCustomProfileServices.h"
#include "Platform/NPMainQueue.h"
#include "Platform/NPWaitServices.h"
#include "Screens/NPProfileApplying.h"
#include "Screens/NPWorkQueue.h"

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <set>

class NPProfileManager final : public NPProfileApplying {
public:
    // What the manager uses of its surroundings; all of it outlives it.
    struct Services {
        NPDeviceProfileServices& devices;
        NPFileServices& files;
        NPWaitServices& waits;
        NPMainQueue& mainQueue;
    };

    explicit NPProfileManager(const Services& services);

    // Applies, without pauses, what the thread has begun to apply, and waits for writes.
    ~NPProfileManager() override;

    bool applyEnabled() const override { return _applyEnabled; }
    void setApplyEnabled(bool enabled) override;
    void applyPendingProfiles() override;
    void beginUpdate() override;
    void endUpdate() override;
    void setProfileURL(std::optional<std::string> location, NPDisplayID screen) override;
    void waitProfileURLForScreen(NPDisplayID screen) override;
    void writeProfile(NPDisplayID screen, const NPDisplayProfile& own, const QXGammaTable& table,
                      Completion completion) override;
    void removeProfileFileForScreen(NPDisplayID screen) override;
    void removeProfileFolder() override;
    void waitUntilNoPendingProfile() override;

    // Forgets what waits for the display, the mark included, and applies what the mark has held back.
    void invalidateProfileURLForScreen(NPDisplayID screen);

private:
    // What a display is to use: a location, or none for no custom profile, or not known yet because the
    // profile is being written.
    struct Pending {
        bool isInProgress = false;
        std::optional<std::string> location;
    };

    bool _holdsInProgressMarker() const;
    void _applyWorker();
    bool _applyFirstPendingProfile();
    bool _hasPendingProfiles();
    bool _applyProfile(NPDisplayID screen, const std::optional<std::string>& location);
    void _logFailedScreens();

    std::optional<std::string> _profileFolder() const;
    std::optional<std::string> _profileLocation(NPDisplayID screen) const;
    std::uint64_t _nextFileVersion(NPDisplayID screen);
    void _changeFile(NPDisplayID screen, std::uint64_t version, const std::function<void()>& change);
    std::optional<std::string> _writeFile(NPDisplayID screen, const QXData& content);

    Services _services;
    bool _applyEnabled = false;

    std::mutex _mutex;                      // guards what follows
    std::condition_variable _waitCondition; // the list of pending profiles is empty, or an entry invalid
    std::map<NPDisplayID, Pending> _pendingProfileURLs;
    std::optional<NPDisplayID> _applyingScreen; // taken from the list, not applied yet
    unsigned _udpateCount = 0;                  // how many batches are open; the spelling is the field's own
    std::set<NPDisplayID> _failedScreens;       // whose last application failed

    // A display's file changes in the order of the requests, and an overtaken request changes nothing.
    struct FileState {
        std::mutex mutex; // held while the file is changed
        std::uint64_t newestVersion = 0;
    };
    std::mutex _filesMutex; // guards the map and the versions in it
    std::map<NPDisplayID, FileState> _files;

    std::unique_ptr<NPSleeper> _sleeper;
    NPWorkQueue _applyProfileQueue;
    NPWorkQueue _writeQueue;
};

// The current scope's manager: the one that the composition root has put there, otherwise one that applies
// nothing.
std::shared_ptr<NPProfileApplying> sharedProfileManager();
