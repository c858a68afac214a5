#include "Engine/NPEngine.h"

#include "Engine/NPChangeLock.h"
#include "Engine/NPEndSignals.h"
#include "Engine/NPEngineProfiles.h"
#include "Foundation/QXLog.h"
#include "Platform/Linux/NPBusRetry.h"
#include "Platform/Linux/NPControlBus.h"
#include "Platform/Linux/NPDisplayGuard.h"
#include "Platform/Linux/NPDisplayOwnerX11.h"

#include <unistd.h>

// The running instance's face to other programs. It is put up after the first table is on the screen, and again when
// the bus has gone and come back.
class NPEnginePresence {
public:
    // The handler is called when the bus has come back.
    NPEnginePresence(NPSession& session, NPControl& control, std::function<void()> busDidReturn)
        : _session(session), _control(control), _busDidReturn(std::move(busDidReturn)),
          _retry(session.loop(), [this] { return _publishAgain(); })
    {
    }

    void publish()
    {
        const auto published = _publish();
        if (published) {
            _observe();
            return;
        }
        _isSecond = _bus && _bus->runningInstance() != nullptr;
        if (!published.error().empty()) {
            QXLog((_isSecond ? "Nightpane is already running: " : "") + published.error());
        }
    }

    const std::shared_ptr<NPControlBus>& bus() const { return _bus; } // nullptr when there is none

    // Whether another engine has this bus, with other displays: no command could tell which of the two it is for.
    bool isSecond() const { return _isSecond; }

private:
    std::expected<void, std::string> _publish()
    {
        _export.reset();
        _bus.reset();
        auto bus = NPControlBus::open();
        if (!bus) {
            return std::unexpected(bus.error());
        }
        _bus = std::move(*bus);
        auto published = _bus->publish(_control, _session.loop(), [this] { _retry.begin(); });
        if (!published) {
            return std::unexpected(published.error());
        }
        _export = std::move(*published);
        _noteState();
        return {};
    }

    bool _publishAgain()
    {
        const bool isBack = _publish().has_value();
        if (isBack) {
            QXLog("The session bus is back; commands reach this instance again");
            _busDidReturn();
        }
        return isBack;
    }

    void _observe()
    {
        QXNotificationCenter& notifications = _session.platform().notifications;
        notifications.addObserver(_observer, std::string(NPScreenManagerEffectStateDidChange), nullptr,
                                  [this](const QXNotification&) { _stateDidChange(); });
        notifications.addObserver(_observer, std::string(NPUserDefaultsDidChangeNotification), nullptr,
                                  [this](const QXNotification&) { _defaultsDidChange(); });
    }

    void _noteState()
    {
        _groups = _session.platform().defaults.objectForKey(NPEffectGroupsKey);
        _active = _session.platform().defaults.boolForKey(NPEffectActiveKey);
    }

    void _stateDidChange()
    {
        if (_export) {
            _export->emitStateChanged(_active);
        }
    }

    // The list and its settings are saved whenever they change, so the store tells of both.
    void _defaultsDidChange()
    {
        const NPUserDefaults& defaults = _session.platform().defaults;
        std::optional<QXValue> groups = defaults.objectForKey(NPEffectGroupsKey);
        if (groups != _groups) {
            _groups = std::move(groups);
            if (_export) {
                _export->emitEffectsChanged();
            }
        }
        if (defaults.boolForKey(NPEffectActiveKey) != _active) {
            _active = !_active;
            _stateDidChange();
        }
    }

    NPSession& _session;
    NPControl& _control;
    const std::function<void()> _busDidReturn;
    NPBusRetry _retry;
    std::shared_ptr<NPControlBus> _bus;
    std::unique_ptr<NPControlExport> _export; // none while there is no bus
    QXNotificationObserver _observer;
    std::optional<QXValue> _groups;
    bool _active = false;
    bool _isSecond = false;
};

NPEngine::NPEngine(std::unique_ptr<NPDisplayGuard> guard, std::unique_ptr<NPEndSignals> signals,
                   std::optional<NPInstanceLock> lock, std::unique_ptr<NPSession> session, bool usesProfiles)
    : _guard(std::move(guard)), _signals(std::move(signals)), _lock(std::move(lock)), _session(std::move(session))
{
    if (_guard) {
        _guard->watchProcess(_session->loop());
    }
    const NPPlatform& platform = _session->platform();
    NPInstallPlatform(platform);
    if (usesProfiles) {
        _session->installProfileManager();
        _profiles = std::make_unique<NPEngineProfiles>(*_session);
    }
    _controller = std::make_shared<NPAppController>(platform, *sharedEffectManager(), *sharedScreenManager());
    _control = std::make_unique<NPLocalControl>(
        platform, *sharedEffectManager(), *sharedScreenManager(), *sharedCalculator(),
        NPProcessDescription{NPVersion(), _session->platformName(), ::getpid(), true}, _controller.get());
}

NPEngine::~NPEngine() = default;

std::expected<std::unique_ptr<NPEngine>, NPEngineFailure> NPEngine::start(const std::string& platform,
                                                                          NPDisplayNeed need, bool usesProfiles)
{
    const bool isReal = !platform.starts_with("simulated");
    // Before anything else, so that no moment is unguarded and the guard holds no more memory than it needs.
    std::unique_ptr<NPDisplayGuard> guard = isReal ? NPDisplayGuard::start() : nullptr;
    const auto failed = [&](bool isRunning, std::string message) {
        if (guard) {
            guard->goodbye();
        }
        return std::unexpected(NPEngineFailure{isRunning, std::move(message)});
    };
    auto signals = std::make_unique<NPEndSignals>();
    std::optional<NPInstanceLock> lock;
    // A command that is at work ends before the settings are read; later ones will see that we run, by the lock in our
    // session, by the displays in others.
    std::unique_ptr<NPChangeLock> change;
    if (isReal) {
        auto mayChange = NPChangeLock::take();
        if (!mayChange) {
            return failed(false, mayChange.error());
        }
        change = std::make_unique<NPChangeLock>(std::move(*mayChange));
        auto taken = NPInstanceLock::take();
        if (!taken) {
            return failed(NPInstanceLock::holder().has_value(), taken.error());
        }
        lock = std::move(*taken);
    }
    auto session = NPSession::open(platform, need, guard.get());
    const bool hasDisplays = session && (*session)->platformName() != "none";
    if (const auto owner = hasDisplays || !isReal ? std::nullopt : NPFindDisplayOwnerX11("")) {
        return failed(true, "Nightpane is already running" + NPDisplayOwnerText(*owner));
    }
    if (!session) {
        return failed(false, session.error());
    }
    return std::unique_ptr<NPEngine>(
        new NPEngine(std::move(guard), std::move(signals), std::move(lock), std::move(*session), usesProfiles));
}

void NPEngine::launch(std::function<void()> end)
{
    _end = std::move(end);
    _session->onDisplaysLost([this] {
        _displaysLost = true;
        _end();
    });
    _signalWatch = _signals->watch(_session->loop(), _end);
    _controller->applicationDidFinishLaunching();
}

void NPEngine::serve()
{
    _presence = std::make_unique<NPEnginePresence>(*_session, *_control,
                                                   [this] { _session->openHotKeys(_presence->bus()); });
    if (_session->isReal()) {
        _session->loop().performOnMain([this] {
            _presence->publish();
            if (_presence->isSecond()) {
                _end();
                return;
            }
            _session->openHotKeys(_presence->bus());
            _session->watchWorkspace();
            if (_profiles) {
                _profiles->start();
            }
        });
    }
    _session->begin(_end);
}

bool NPEngine::finish()
{
    bool restored = false;
    if (_displaysLost) {
        QXLog("the display server has gone");
    } else {
        restored = _giveDisplaysBack();
    }
    const bool isRefused = _presence && _presence->isSecond();
    return _session->close() && restored && !isRefused;
}

// The displays first: what is on the disk can wait, what is on the screen cannot.
bool NPEngine::_giveDisplaysBack()
{
    if (_profiles) {
        _profiles->release();
    }
    _controller->applicationWillTerminate();
    NPDisplayServices& displays = _session->platform().displays;
    displays.restoreColorSyncSettings();
    const bool restored = displays.finishWriting();
    if (restored && _guard) {
        _guard->goodbye();
    }
    return restored;
}

const char* NPVersion()
{
    return NP_VERSION;
}
