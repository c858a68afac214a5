// The platform that a program runs on: its services, and how time passes there.
#pragma once

#include "Platform/Linux/NPMainLoopLinux.h"
#include "Platform/NPPlatform.h"

#include <expected>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

class NPControlBus;
class NPDisplayGuard;

// What a program wants of the displays.
enum class NPDisplayNeed {
    required, // without them it cannot do its work
    wanted,   // it does what it can without them
    none,
};

// Whether it names a platform: "auto", "x11", "simulated" or "simulated:FILE".
bool NPIsPlatformName(std::string_view text);

class NPSession {
public:
    // Picks the platform by its name. The error is one line.
    static std::expected<std::unique_ptr<NPSession>, std::string> open(const std::string& platform,
                                                                       NPDisplayNeed need, NPDisplayGuard* guard);

    virtual ~NPSession() = default;

    virtual const NPPlatform& platform() const = 0;

    // Puts a profile manager into the current scope: displays can then be given custom colour profiles. To be
    // called before the first shared instance is used. Without it, or where there is no way to do so, nothing
    // is ever written.
    virtual void installProfileManager() = 0;

    // Has the platform's colour service asked, and changes of profiles noticed; `ready` is called from the main
    // loop, or at once, when it has answered or there is none.
    virtual void startColorProfiles(std::function<void()> ready) = 0;
    virtual NPMainLoopLinux& loop() = 0;
    virtual std::string platformName() const = 0; // "x11", "simulated", "none"

    // Whether the displays are the user's own: then one engine at a time drives them.
    virtual bool isReal() const = 0;

    // Why there are no displays, in one line, when they were wanted. None when there are.
    virtual std::optional<std::string> displayProblem() const = 0;

    // Whether a display shows another table than its own, left by this run or an earlier one.
    virtual bool showsEffects() const = 0;

    // Lets hot keys be registered from now on: in a Wayland session with the desktop, over the session bus, which
    // may be nullptr; otherwise with the X server. To be called again when the bus has gone and come back.
    virtual void openHotKeys(const std::shared_ptr<NPControlBus>& bus) = 0;

    // From now on the workspace tells of sleep, of the session and, when the settings ask for it, of the screen
    // saver; after the second call also of other applications that end.
    virtual void watchWorkspace() = 0;
    virtual void watchApplications() = 0;

    // Called when the displays have gone for good.
    virtual void onDisplaysLost(std::function<void()> handler) = 0;

    // From now on time passes while the loop is served. The handler is called when the world ends, which only a
    // simulated one does.
    virtual void begin(std::function<void()> worldEnds) = 0;

    // Lets so many seconds pass. Not after begin().
    virtual void wait(double seconds) = 0;

    // Writes the settings. False when that failed; one line in the log says why.
    virtual bool close() = 0;
};
