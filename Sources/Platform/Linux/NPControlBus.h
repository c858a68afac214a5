// What the program does on the session bus: the interface org.nightpane.Nightpane1 between its processes, and
// the hot keys of desktops that have them to themselves.
//
// It lives in a module of its own (nightpane-dbus.so) that is loaded only where there is a session bus, and
// by the engine only after its first table is on the screen: the D-Bus libraries would otherwise cost every
// start more time and memory than the rest of the program.
#pragma once

#include "Platform/Linux/NPMainLoopLinux.h"
#include "Platform/NPControl.h"
#include "Platform/NPHotKeyServices.h"

#include <expected>
#include <functional>
#include <memory>
#include <string>

// An instance's presence on the bus. It serves requests from the main loop until it is destroyed, which gives
// the name back, or until the bus goes, of which the log tells. Not to be destroyed from within a request, nor when
// it says that the bus has gone.
class NPControlExport {
public:
    virtual ~NPControlExport() = default;

    // Announce to whoever listens that the list or the settings of effects, or what is on, has changed.
    virtual void emitEffectsChanged() = 0;
    virtual void emitStateChanged(bool effectActive) = 0;
};

class NPControlBus {
public:
    virtual ~NPControlBus() = default;

    // Loads the module and connects to the session bus. None, with a line that says why, when there is no
    // bus (an empty line: none is expected here) or it cannot be reached.
    static std::expected<std::shared_ptr<NPControlBus>, std::string> open();

    // The instance that runs, or nullptr; when the bus does not say, the log tells. Each operation waits up to
    // five seconds for its answer.
    virtual std::unique_ptr<NPControl> runningInstance() = 0;

    // Takes the well-known name and serves the control there. `lost` is called once, when the bus goes: another
    // NPControlBus has to be opened then. The error is one line ("the name is taken").
    virtual std::expected<std::unique_ptr<NPControlExport>, std::string>
    publish(NPControl& control, NPMainLoopLinux& loop, std::function<void()> lost) = 0;

    // Hot keys by the desktop portal. The error is one line.
    virtual std::expected<std::unique_ptr<NPHotKeyServices>, std::string> openHotKeys(NPMainLoopLinux& loop) = 0;
};
