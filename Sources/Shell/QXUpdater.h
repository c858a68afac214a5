// Checks for newer versions: by hand, and by itself at an interval. It shows what there is and leads to the download
// page; installing is the business of the system's package manager.
//
// A check reads the feed in the background, takes the newest version that runs on this system, and, where the bundle
// has a public key, has the download's signature verified before anything is offered. A check by hand ends in an offer
// or an alert; an automatic one in an offer, or in a line of the log where it failed. Main thread only.
#pragma once

#include "Effects/NPEffectTimer.h"
#include "Foundation/QXNotificationCenter.h"
#include "Platform/NPDesktop.h"
#include "Platform/NPPlatform.h"
#include "Shell/QXAppcast.h"

#include <expected>
#include <memory>
#include <optional>
#include <string>

// Settings.
inline constexpr std::string_view SUEnableAutomaticChecksKey = "SUEnableAutomaticChecks"; // absent: no
inline constexpr std::string_view SUScheduledCheckIntervalKey =
    "SUScheduledCheckInterval"; // seconds; absent: a day
inline constexpr std::string_view SULastCheckTimeKey = "SULastCheckTime"; // date of the last one of either kind
inline constexpr std::string_view SUSkippedVersionKey = "SUSkippedVersion"; // not offered by automatic checks

class QXUpdater : public std::enable_shared_from_this<QXUpdater> {
public:
    // Holds the references for its lifetime. Make it with std::make_shared.
    QXUpdater(const NPPlatform& platform, const NPDesktop& desktop);
    ~QXUpdater();

    // From now on automatic checks are made when they are due. The error, one line for people, says what of the feed's
    // address or the key makes every check useless.
    std::expected<void, std::string> startUpdater();

    // By hand. While an automatic check runs, that one becomes the one by hand.
    void checkForUpdates();

    bool checkInProgress() const { return _check != nullptr; }

    // The feed in use: the user's own, or else the bundle's. Empty when there is none.
    std::string feedURL() const;

    // Whether there can be automatic checks: feeds at addresses that are reserved for examples are never read by
    // themselves.
    bool canCheckAutomatically() const;
    bool automaticallyChecksForUpdates() const;
    void setAutomaticallyChecksForUpdates(bool automatically);

    double updateCheckInterval() const; // in seconds, at least an hour
    void setUpdateCheckInterval(double seconds);

    std::optional<QXDate> lastUpdateCheckDate() const;

private:
    struct Check;
    struct Failure;

    void _schedule();
    void _scheduledCheck(NPEffectTimer& timer);
    void _begin(bool byHand);
    void _showCheck();
    void _download(const std::string& url, std::size_t limit, void (QXUpdater::*next)(QXData data),
                   std::string reason);
    void _feedArrived(QXData data);
    void _packageArrived(QXData data);
    void _notesArrived(QXData data);
    std::optional<QXAppcastItem> _newestItem(std::vector<QXAppcastItem> items) const;
    void _considerItem();
    void _readNotes();
    void _offer();
    void _choose(NPUpdateChoice choice, const QXAppcastItem& item);
    void _nothingNew();
    void _fail(const Failure& failure);
    bool _end();

    std::string _currentVersion() const;

    NPPlatform _platform;
    NPDesktop _desktop;
    QXNotificationObserver _observer;
    std::shared_ptr<NPEffectTimer> _timer; // none while no automatic check is to come
    std::optional<QXDate> _scheduledDate;
    std::unique_ptr<Check> _check; // none while no check runs
    bool _isStarted = false;
};
