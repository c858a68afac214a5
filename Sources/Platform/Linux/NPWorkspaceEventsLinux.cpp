#include "Platform/Linux/NPWorkspaceEventsLinux.h"

#include "Foundation/QXLog.h"

#include <utility>

namespace {

// An empty line is no reason to complain.
void logRefusal(const std::string& consequence, const std::string& reason)
{
    if (!reason.empty()) {
        QXLog(consequence + ": " + reason);
    }
}

} // namespace

NPWorkspaceEventsLinux::NPWorkspaceEventsLinux(const NPPlatform& platform, NPMainLoopLinux& loop,
                                               std::optional<std::string> xDisplay,
                                               std::vector<std::string> moduleFolders)
    : _platform(platform), _loop(loop), _xDisplay(std::move(xDisplay)), _moduleFolders(std::move(moduleFolders)),
      _wakes(platform.timers, platform.notifications, platform.workspaceEvents),
      _self(std::make_shared<NPWorkspaceEventsLinux*>(this))
{
    _displaySubscription = _platform.displays.registerReconfigurationCallback([this](NPDisplayID, std::uint32_t) {
        _postInNextTurn(_parametersAreQueued, _platform.notifications,
                        NSApplicationDidChangeScreenParametersNotification);
    });
    _profileSubscription = _platform.profiles.registerProfileCallback([this](NPDisplayID) {
        _postInNextTurn(_colorSpaceIsQueued, _platform.workspaceEvents.distributed,
                        NSScreenColorSpaceDidChangeNotification);
    });
}

// Once for all displays that one change concerns, when each of them has been told of.
void NPWorkspaceEventsLinux::_postInNextTurn(bool& isQueued, QXNotificationCenter& center, std::string_view name)
{
    if (std::exchange(isQueued, true)) {
        return;
    }
    _platform.mainQueue.performOnMain([weak = std::weak_ptr(_self), &isQueued, &center, name] {
        if (const auto self = weak.lock()) {
            isQueued = false;
            center.postNotification(name, nullptr);
        }
    });
}

void NPWorkspaceEventsLinux::watchLoginManager()
{
    auto watched = NPWatchLoginManager(_loop,
                                       {[this] { _wakes.didWake(); },
                                        [this] {
                                            _platform.workspaceEvents.workspace.postNotification(
                                                NSWorkspaceSessionDidBecomeActiveNotification, nullptr);
                                        }},
                                       _moduleFolders);
    if (watched) {
        _loginManager = std::move(*watched);
    } else {
        logRefusal("Switches of users go unnoticed", watched.error());
    }
}

void NPWorkspaceEventsLinux::watchScreenSaverForSetting(std::string_view key)
{
    _screenSaverSetting = key;
    const auto look = [this] {
        if (_platform.defaults.boolForKey(_screenSaverSetting) && !std::exchange(_watchesScreenSaver, true)) {
            _watchScreenSaver();
        }
    };
    _platform.notifications.addObserver(_observer, std::string(NPUserDefaultsDidChangeNotification), nullptr,
                                        [look](const QXNotification&) { look(); });
    look();
}

void NPWorkspaceEventsLinux::_watchScreenSaver()
{
    if (NPWorkspaceWatchX11* const watch = _xWatch()) {
        const auto watched =
            watch->watchScreenSaver([this](bool isActive) { _screenSaverDidChange("X server", isActive); });
        if (!watched) {
            logRefusal("The X server's screen saver goes unnoticed", watched.error());
        }
    }
    auto watched = NPWatchScreenSavers(
        _loop, [this](const std::string& name, bool isActive) { _screenSaverDidChange(name, isActive); },
        _moduleFolders);
    if (watched) {
        _screenSavers = std::move(*watched);
    } else {
        logRefusal("The desktop's screen saver goes unnoticed", watched.error());
    }
}

void NPWorkspaceEventsLinux::_screenSaverDidChange(const std::string& name, bool isActive)
{
    const bool wasActive = !_activeScreenSavers.empty();
    if (isActive) {
        _activeScreenSavers.insert(name);
    } else {
        _activeScreenSavers.erase(name);
    }
    if (_activeScreenSavers.empty() == wasActive) {
        _platform.workspaceEvents.distributed.postNotification(
            wasActive ? NPScreenSaverDidStopNotification : NPScreenSaverDidStartNotification, nullptr);
    }
}

void NPWorkspaceEventsLinux::watchApplications()
{
    NPWorkspaceWatchX11* const watch = _xWatch();
    if (watch == nullptr) {
        return;
    }
    const auto watched = watch->watchApplications([this] {
        _platform.workspaceEvents.workspace.postNotification(NSWorkspaceDidTerminateApplicationNotification,
                                                             nullptr);
    });
    if (!watched) {
        logRefusal("The ends of other applications go unnoticed", watched.error());
    }
}

NPWorkspaceWatchX11* NPWorkspaceEventsLinux::_xWatch()
{
    if (_xDisplay && !std::exchange(_xWasTried, true)) {
        auto opened = NPWorkspaceWatchX11::open(*_xDisplay, _loop);
        if (opened) {
            _x = std::move(*opened);
        } else {
            logRefusal("The desktop is not watched", opened.error());
        }
    }
    return _x.get();
}
