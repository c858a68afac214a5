// The engine of a session: the displays, the settings, the effects and what runs them, with its presence on the
// session bus. Two programs put a face on it: nightpane-cli run prints what happens, nightpane has windows.
//
// After NPDisplayGuard::runsAsGuard(), start() comes first in main(); launch() puts the first tables on the screens,
// serve() makes the engine known to others; then the program runs the loop of the session, by itself or from another
// loop, until it is told to end, and calls finish().
#pragma once

#include "Engine/NPInstanceLock.h"
#include "Engine/NPSession.h"
#include "Foundation/QXSharedScope.h"
#include "Shell/NPAppController.h"
#include "Shell/NPLocalControl.h"

#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>

class NPEndSignals;
class NPEnginePresence;
class NPEngineProfiles;

// Why there is no engine.
struct NPEngineFailure {
    bool isRunning = false; // another one has this session
    std::string message; // one line
};

class NPEngine {
public:
    // On the platform of that name (see NPSession). Forks the displays' guard: to be called while there is one thread
    // and little in memory. From then on SIGTERM, SIGINT and SIGHUP no longer end the process by themselves.
    // Custom colour profiles are used, when the settings say so, unless that is ruled out here.
    static std::expected<std::unique_ptr<NPEngine>, NPEngineFailure>
    start(const std::string& platform, NPDisplayNeed need, bool usesProfiles = true);

    // Without finish(), the guard gives the displays back.
    ~NPEngine();
    NPEngine(const NPEngine&) = delete;
    NPEngine& operator=(const NPEngine&) = delete;

    NPSession& session() { return *_session; }
    const std::shared_ptr<NPAppController>& controller() const { return _controller; }
    NPControl& control() { return *_control; }

    // The handler is called, from the loop, when the engine is to end: by a signal, because the displays have gone,
    // because another engine has the session bus, or because the world has ended. An alert that the launch shows may
    // run the loop before this returns.
    void launch(std::function<void()> end);

    // Time passes from now on, and requests are answered.
    void serve();

    // Gives every display back and writes the settings. False when that failed, the displays have gone or another engine has the bus; the log
    // says why.
    bool finish();

private:
    NPEngine(std::unique_ptr<NPDisplayGuard> guard, std::unique_ptr<NPEndSignals> signals,
             std::optional<NPInstanceLock> lock, std::unique_ptr<NPSession> session, bool usesProfiles);

    bool _giveDisplaysBack();

    const std::unique_ptr<NPDisplayGuard> _guard; // none on simulated displays, or when there can be none
    const std::unique_ptr<NPEndSignals> _signals;
    const std::optional<NPInstanceLock> _lock;
    const std::unique_ptr<NPSession> _session;
    QXSharedScope _scope;
    std::shared_ptr<NPAppController> _controller;
    std::unique_ptr<NPLocalControl> _control;
    std::unique_ptr<NPEngineProfiles> _profiles; // none when they are ruled out
    std::unique_ptr<NPEnginePresence> _presence;
    std::function<void()> _end;
    NPWatch _signalWatch;
    bool _displaysLost = false;
};

// The program's version.
const char* NPVersion();
