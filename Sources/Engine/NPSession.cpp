#include "Engine/NPSession.h"

#include "Effects/NPEffectTimer.h"
#include "Engine/NPSimulatedSession.h"
#include "Foundation/QXSharedScope.h"
#include "Platform/Linux/NPColorProfilesLinux.h"
#include "Platform/Linux/NPControlBus.h"
#include "Platform/Linux/NPDisplayServicesX11.h"
#include "Platform/Linux/NPFileServicesLinux.h"
#include "Platform/Linux/NPHotKeyServicesLinux.h"
#include "Platform/Linux/NPHotKeyServicesX11.h"
#include "Platform/Linux/NPKeyboardLayoutLinux.h"
#include "Platform/Linux/NPSettingsFolder.h"
#include "Platform/Linux/NPTimeZoneServicesLinux.h"
#include "Platform/Linux/NPUserDefaultsLinux.h"
#include "Platform/Linux/NPWaitServicesLinux.h"
#include "Platform/Linux/NPWorkspaceEventsLinux.h"
#include "Platform/Simulated/NPSimulatedDisplays.h"
#include "Screens/NPProfileManager.h"
#include "Shell/NPAppController.h"

#include <cstdlib>
#include <utility>

namespace {

// The machine itself: its clocks and settings, and the displays of its X server, or none.
class LinuxSession final : public NPSession {
public:
    explicit LinuxSession(bool isX11Asked)
        : _isX11Asked(isX11Asked), _loop(_notifications),
          _defaults(NPSettingsFolderOfProcess(), _loop, _notifications), _timeZones(_loop, _notifications)
    {
    }

    std::expected<void, std::string> openDisplays(NPDisplayGuard* guard)
    {
        auto displays = NPDisplayServicesX11::open("", _loop, guard);
        if (!displays) {
            _displayProblem = displays.error();
            return std::unexpected(displays.error());
        }
        _displays = std::move(*displays);
        _profiles = std::make_shared<NPColorProfilesLinux>(*_displays, _loop);
        return {};
    }

    // To be called once, when it is decided which displays there are.
    void assemble()
    {
        NPDisplayServices& displays = _displays ? static_cast<NPDisplayServices&>(*_displays) : _noDisplays;
        NPColorProfileServices& profiles =
            _profiles ? static_cast<NPColorProfileServices&>(*_profiles) : _noDisplays;
        _platform =
            std::make_unique<NPPlatform>(NPPlatform{_loop, _loop, _loop, _timeZones, _defaults, displays, profiles,
                                                    _hotKeys, _keyboardLayout, _notifications, _workspaceEvents});
    }

    const NPPlatform& platform() const override { return *_platform; }
    NPMainLoopLinux& loop() override { return _loop; }

    void installProfileManager() override
    {
        if (_profiles) {
            QXSharedScope::current().instance<NPProfileApplying>([this] {
                return std::make_shared<NPProfileManager>(
                    NPProfileManager::Services{*_profiles, _files, _waits, _loop});
            });
        }
    }

    void startColorProfiles(std::function<void()> ready) override
    {
        if (_profiles) {
            _profiles->start(std::move(ready));
        } else {
            ready();
        }
    }

    std::string platformName() const override { return _displays ? "x11" : "none"; }
    bool isReal() const override { return true; }
    std::optional<std::string> displayProblem() const override { return _displayProblem; }
    bool showsEffects() const override { return _displays && _displays->isChanged(); }
    void begin(std::function<void()>) override {} // it always passes, and the world stays

    void openHotKeys(const std::shared_ptr<NPControlBus>& bus) override
    {
        // X programs of a Wayland session see the keys of X programs only.
        const char* const wayland = std::getenv("WAYLAND_DISPLAY");
        const bool isWaylandSession = !_isX11Asked && wayland != nullptr && *wayland != '\0';
        if (std::exchange(_hotKeysAreOpen, true) && !isWaylandSession) {
            return; // they do not depend on the bus
        }
        _hotKeys.open([this, bus, isWaylandSession]() -> NPHotKeyServicesLinux::Adapter {
            if (!isWaylandSession) {
                return NPHotKeyServicesX11::open("", _loop);
            }
            if (!bus) {
                return std::unexpected("there is no session bus to ask the desktop for them");
            }
            return bus->openHotKeys(_loop);
        });
    }

    void watchWorkspace() override
    {
        _workspace().watchLoginManager();
        _workspace().watchScreenSaverForSetting(NPDeactivateForScreenSaverKey);
    }

    void watchApplications() override { _workspace().watchApplications(); }

    void onDisplaysLost(std::function<void()> handler) override
    {
        if (_displays) {
            _displays->onConnectionLost(std::move(handler));
        }
    }

    void wait(double seconds) override
    {
        const auto timer = NPEffectTimer::scheduledEffectTimerWithTimeInterval(
            _loop, seconds, [this](NPEffectTimer&) { _loop.stop(); }, {}, false, 0.0);
        _loop.run();
        timer->invalidate();
    }

    bool close() override
    {
        const bool written = !_displays || _displays->finishWriting();
        return _defaults.synchronize() && written;
    }

private:
    NPWorkspaceEventsLinux& _workspace()
    {
        if (!_workspaceWatch) {
            _workspaceWatch = std::make_unique<NPWorkspaceEventsLinux>(
                *_platform, _loop, _displays ? std::optional<std::string>("") : std::nullopt);
        }
        return *_workspaceWatch;
    }

    bool _isX11Asked; // by the user, whatever the session looks like
    QXNotificationCenter _notifications;
    NPWorkspaceEvents _workspaceEvents;
    NPMainLoopLinux _loop;
    NPUserDefaultsLinux _defaults;
    NPTimeZoneServicesLinux _timeZones;
    NPActionLog _log;
    NPSimulatedDisplays _noDisplays{_log}; // a set without any display: harmless, the last choice
    NPHotKeyServicesLinux _hotKeys;
    bool _hotKeysAreOpen = false;
    NPKeyboardLayoutLinux _keyboardLayout;
    NPFileServicesLinux _files{std::getenv("XDG_CACHE_HOME"), std::getenv("HOME")};
    NPWaitServicesLinux _waits;
    std::unique_ptr<NPDisplayServicesX11> _displays;
    std::optional<std::string> _displayProblem;
    std::shared_ptr<NPColorProfilesLinux> _profiles;
    std::unique_ptr<NPPlatform> _platform;
    std::unique_ptr<NPWorkspaceEventsLinux> _workspaceWatch; // none for those who do not ask for it
};

} // namespace

bool NPIsPlatformName(std::string_view text)
{
    return text == "auto" || text == "x11" || text == "simulated"
           || (text.starts_with("simulated:") && text.size() > std::string_view("simulated:").size());
}

std::expected<std::unique_ptr<NPSession>, std::string> NPSession::open(const std::string& platform,
                                                                       NPDisplayNeed need, NPDisplayGuard* guard)
{
    if (platform.starts_with("simulated")) {
        return NPOpenSimulatedSession(platform);
    }
    auto session = std::make_unique<LinuxSession>(platform == "x11");
    if (need != NPDisplayNeed::none) {
        const auto opened = session->openDisplays(guard);
        if (!opened && (need == NPDisplayNeed::required || platform == "x11")) {
            return std::unexpected(opened.error());
        }
    }
    session->assemble();
    return session;
}
