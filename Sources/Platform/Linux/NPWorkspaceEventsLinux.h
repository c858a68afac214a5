// What happens on a Linux machine and desktop around the program, posted on the notification centres.
//
// Wakes, which the clock tells of, new screen parameters, which the displays tell of, and new colour profiles of
// displays are posted from the start and cost nothing. The rest is watched for whoever asks for it; only then is anything connected to. A screen saver
// may be announced by the X server, by the desktop or by both: it is posted as one. What cannot be watched is one
// line in the log. Main thread only; not to be destroyed by an observer.
#pragma once

#include "Platform/Linux/NPBusEvents.h"
#include "Platform/Linux/NPMainLoopLinux.h"
#include "Platform/Linux/NPWakeAnnouncer.h"
#include "Platform/Linux/NPWorkspaceWatchX11.h"
#include "Platform/NPPlatform.h"

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

class NPWorkspaceEventsLinux {
public:
    // The name of the X display whose desktop it is ("" for the one in DISPLAY); none on other desktops. The
    // platform's services and the loop outlive the object. The D-Bus module is taken from one of the folders.
    NPWorkspaceEventsLinux(const NPPlatform& platform, NPMainLoopLinux& loop, std::optional<std::string> xDisplay,
                           std::vector<std::string> moduleFolders = NPModuleFolders());
    NPWorkspaceEventsLinux(const NPWorkspaceEventsLinux&) = delete;
    NPWorkspaceEventsLinux& operator=(const NPWorkspaceEventsLinux&) = delete;

    // The session becoming active, and wakes as the login manager tells of them.
    void watchLoginManager();

    // The screen saver, from the moment on at which this setting is true for the first time.
    void watchScreenSaverForSetting(std::string_view key);

    // Other applications that end.
    void watchApplications();

private:
    void _postInNextTurn(bool& isQueued, QXNotificationCenter& center, std::string_view name);
    void _watchScreenSaver();
    void _screenSaverDidChange(const std::string& name, bool isActive);
    NPWorkspaceWatchX11* _xWatch(); // nullptr where there is no X server to watch

    NPPlatform _platform;
    NPMainLoopLinux& _loop;
    const std::optional<std::string> _xDisplay;
    const std::vector<std::string> _moduleFolders;
    NPWakeAnnouncer _wakes;
    bool _parametersAreQueued = false;
    bool _colorSpaceIsQueued = false;
    std::set<std::string> _activeScreenSavers;
    std::string _screenSaverSetting;
    bool _watchesScreenSaver = false;
    std::unique_ptr<NPWorkspaceWatchX11> _x;
    bool _xWasTried = false;
    std::unique_ptr<NPBusEvents> _loginManager;
    std::unique_ptr<NPBusEvents> _screenSavers;
    NPDisplaySubscription _displaySubscription;
    NPDisplaySubscription _profileSubscription;
    QXNotificationObserver _observer;
    std::shared_ptr<NPWorkspaceEventsLinux*> _self; // for what is done in a later turn
};
