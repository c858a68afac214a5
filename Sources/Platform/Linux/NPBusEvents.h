// What services on the D-Bus buses announce: the login manager and the desktop's screen savers.
//
// Loads the D-Bus module (nightpane-dbus.so) and connects when it is asked for, so that nothing is loaded for those
// who want nothing of it. A service that is not there yet, goes or comes back is followed; none is started by
// this. Nobody is waited for once the connection stands. Main thread only.
#pragma once

#include "Platform/Linux/NPMainLoopLinux.h"
#include "Platform/Linux/NPModuleLinux.h"

#include <expected>
#include <functional>
#include <memory>
#include <string>
#include <vector>

// What the login manager (org.freedesktop.login1, on the system bus) tells of the machine and of the session that
// this process belongs to.
struct NPLoginManagerHandlers {
    std::function<void()> didWake;
    std::function<void()> sessionDidBecomeActive;
};

// Called with the screen saver's name when it begins and when it ends. One that goes away without a word has ended.
using NPScreenSaverHandler = std::function<void(const std::string& name, bool isActive)>;

// Keeps the handlers connected until it is destroyed, though not by a handler. When the bus goes, of which the log
// tells, it is gone back to once there is one again; what was announced meanwhile is not made up for.
class NPBusEvents {
public:
    virtual ~NPBusEvents() = default;
};

// The error is one line; an empty one when there is no such bus here, which is no reason to complain.
using NPBusEventsResult = std::expected<std::unique_ptr<NPBusEvents>, std::string>;

// The loop must outlive the result. The module is taken from the first of the folders that has it.
NPBusEventsResult NPWatchLoginManager(NPMainLoopLinux& loop, NPLoginManagerHandlers handlers,
                                      const std::vector<std::string>& folders = NPModuleFolders());
NPBusEventsResult NPWatchScreenSavers(NPMainLoopLinux& loop, NPScreenSaverHandler handler,
                                      const std::vector<std::string>& folders = NPModuleFolders());
