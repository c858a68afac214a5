#include "CommandLine/NPEngine.h"

#include "CommandLine/NPInstanceLock.h"
#include "CommandLine/NPNarrator.h"
#include "CommandLine/NPSession.h"
#include "Foundation/QXLog.h"
#include "Foundation/QXSharedScope.h"
#include "Platform/Linux/NPControlBus.h"
#include "Platform/Linux/NPDisplayGuard.h"
#include "Shell/NPAppController.h"
#include "Shell/NPLocalControl.h"

#include <csignal>
#include <cstdio>
#include <sys/epoll.h>
#include <sys/signalfd.h>

namespace {

// The signals that end the engine, taken from a descriptor instead of by a handler: blocked from the start,
// so that none is lost or kills a half-started engine.
class EndSignals {
public:
    EndSignals()
    {
        sigset_t signals;
        ::sigemptyset(&signals);
        for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
            ::sigaddset(&signals, signal);
        }
        ::sigprocmask(SIG_BLOCK, &signals, nullptr);
        ::signal(SIGPIPE, SIG_IGN); // a reader of the output that goes away ends nothing
        _descriptor = NPFileDescriptor(::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
    }

    [[nodiscard]] NPWatch watch(NPMainLoopLinux& loop, std::function<void()> end) const
    {
        return loop.watchFileDescriptor(_descriptor.get(), EPOLLIN,
                                        [end = std::move(end)](std::uint32_t) { end(); });
    }

private:
    NPFileDescriptor _descriptor;
};

// The running instance's face to other programs. It is put up after the first table is on the screen.
class BusPresence {
public:
    BusPresence(NPSession& session, NPControl& control) : _session(session), _control(control) {}

    void publish()
    {
        const auto bus = NPControlBus::open();
        if (!bus) {
            if (!bus.error().empty()) {
                QXLog(bus.error());
            }
            return;
        }
        _bus = *bus;
        auto published = _bus->publish(_control, _session.loop());
        if (!published) {
            QXLog(published.error());
            return;
        }
        _export = std::move(*published);
        _observe();
    }

    const std::shared_ptr<NPControlBus>& bus() const { return _bus; } // nullptr when there is none

private:
    void _observe()
    {
        QXNotificationCenter& notifications = _session.platform().notifications;
        notifications.addObserver(_observer, std::string(NPScreenManagerEffectStateDidChange), nullptr,
                                  [this](const QXNotification&) { _stateDidChange(); });
        notifications.addObserver(_observer, std::string(NPUserDefaultsDidChangeNotification), nullptr,
                                  [this](const QXNotification&) { _defaultsDidChange(); });
        _groups = _session.platform().defaults.objectForKey(NPEffectGroupsKey);
        _active = _session.platform().defaults.boolForKey(NPEffectActiveKey);
    }

    void _stateDidChange() { _export->emitStateChanged(_active); }

    // The list and its settings are saved whenever they change, so the store tells of both.
    void _defaultsDidChange()
    {
        const NPUserDefaults& defaults = _session.platform().defaults;
        std::optional<QXValue> groups = defaults.objectForKey(NPEffectGroupsKey);
        if (groups != _groups) {
            _groups = std::move(groups);
            _export->emitEffectsChanged();
        }
        if (defaults.boolForKey(NPEffectActiveKey) != _active) {
            _active = !_active;
            _stateDidChange();
        }
    }

    NPSession& _session;
    NPControl& _control;
    std::shared_ptr<NPControlBus> _bus;
    std::unique_ptr<NPControlExport> _export;
    QXNotificationObserver _observer;
    std::optional<QXValue> _groups;
    bool _active = false;
};

// The displays first: what is on the disk can wait, what is on the screen cannot.
bool giveDisplaysBack(NPSession& session, NPAppController& controller, NPDisplayGuard* guard)
{
    controller.applicationWillTerminate();
    session.platform().displays.restoreColorSyncSettings();
    const bool restored = session.platform().displays.finishWriting();
    if (restored && guard) {
        guard->goodbye();
    }
    return restored;
}

int serve(NPSession& session, const EndSignals& signals, NPDisplayGuard* guard)
{
    QXSharedScope scope;
    NPInstallPlatform(session.platform());
    const auto controller =
        std::make_shared<NPAppController>(session.platform(), *sharedEffectManager(), *sharedScreenManager());
    controller->applicationDidFinishLaunching();

    bool displaysLost = false;
    session.onDisplaysLost([&] {
        displaysLost = true;
        session.stop();
    });
    const NPWatch watch = signals.watch(session.loop(), [&] { session.stop(); });
    const auto narrator = std::make_shared<NPNarrator>(session.platform(), *sharedScreenManager());
    narrator->start();
    NPLocalControl control(session.platform(), *sharedEffectManager(), *sharedScreenManager(), *sharedCalculator(),
                           {NPVersion(), session.platformName(), ::getpid(), true}, controller.get());
    BusPresence presence(session, control);
    if (session.isReal()) {
        session.loop().performOnMain([&] {
            presence.publish();
            session.openHotKeys(presence.bus());
        });
    }
    session.run();

    if (displaysLost) {
        NPPrintError("the display server has gone");
        session.close();
        return 1;
    }
    const bool restored = giveDisplaysBack(session, *controller, guard);
    return session.close() && restored ? 0 : 1;
}

} // namespace

int NPRunEngine(const NPArguments& arguments)
{
    const bool isReal = !arguments.platform.starts_with("simulated");
    // Before anything else, so that no moment is unguarded and the guard holds no more memory than it needs.
    const std::unique_ptr<NPDisplayGuard> guard = isReal ? NPDisplayGuard::start() : nullptr;
    const EndSignals signals;
    std::optional<NPInstanceLock> lock;
    if (isReal) {
        auto taken = NPInstanceLock::take();
        if (!taken) {
            NPPrintError(taken.error());
            if (guard) {
                guard->goodbye();
            }
            return 1;
        }
        lock = std::move(*taken);
    }
    const auto session = NPSession::open(arguments, NPDisplayNeed::required, guard.get());
    if (!session) {
        NPPrintError(session.error());
        if (guard) {
            guard->goodbye();
        }
        return 1;
    }
    return serve(**session, signals, guard.get());
}

void NPPrintError(const std::string& message)
{
    std::fputs(("nightpane-cli: " + message + '\n').c_str(), stderr);
}

const char* NPVersion()
{
    return NP_VERSION;
}
