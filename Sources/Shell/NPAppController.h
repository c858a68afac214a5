// The conductor: the global switch, the activation and deactivation timers of every group, the periodic
// rewriting of the tables, the hot keys of every group, and the reactions to changed settings and displays, sleep, and
// the screen saver. It does no gamma work itself; every change goes to the screen manager.
//
// It drives the engine alone, as in the command line, or an application, which gives it an interface. Main thread only.
#pragma once

#include "Effects/NPEffectManager.h"
#include "Effects/NPEffectTimer.h"
#include "HotKey/JXHotKeyCenter.h"
#include "Screens/NPScreenManager.h"
#include "Shell/NPAppFace.h"

#include <map>
#include <memory>

// Settings keys, registered with defaults, as NPShowStatusItemKey is with 0; NPEffectActiveKey (see NPScreenManager) is
// not, and reads as false while absent.
inline constexpr std::string_view NPActivateAtLaunchKey = "ActivateAtLaunch"; // true: on at every launch
inline constexpr std::string_view NPApplyToColorProfileKey = "ApplyToColorProfile"; // true
inline constexpr std::string_view NPContinuouslyApplyKey = "ContinuouslyApply"; // true: rewrite every 6 s
inline constexpr std::string_view NPDeactivateForScreenSaverKey = "NPDeactivateForScreenSaver"; // false

class NPAppController : public JXHotKeyTarget,
                        public NPMenuTarget,
                        public std::enable_shared_from_this<NPAppController> {
public:
    // Holds the references for its lifetime. Make it with std::make_shared: its timers hold it weakly.
    NPAppController(const NPPlatform& platform, NPEffectManager& effectManager, NPScreenManager& screenManager);
    ~NPAppController() override;

    // Makes it the controller of an application: with a desktop installed, and before the launch. The desktop's services
    // outlive the shared scope, whose hot keys hold the controller.
    void setInterface(NPAppInterface interface);

    // Start-up: the switch, and with it the first tables; then hot keys, status item, timers, observers and menus. On
    // a first run the default group is activated. A last step follows from the main queue. Where the user has chosen to
    // quit instead (NPWorkspace::isTerminating), nothing has been started.
    void applicationDidFinishLaunching();

    // Gives every display back its table and its own colour profile, and waits until they have them. The saved
    // switch stays, so the next launch restores it.
    void applicationWillTerminate();

    // The global switch. The saved value is its master: whoever changes the setting switches.
    bool effectActive() const;
    void setEffectActive(bool active, bool saveState);
    void toggleGlobalEffect();
    void activateEffect() { toggleGlobalEffect(); }

    // The commands of the menus; nothing without an interface.
    void openPreferences();
    void openAboutBox();
    void visitWhatsNew();
    void visitFAQ();
    void contactSupport();
    void checkForUpdates();
    void terminate();

    // The first group at launch.
    const std::shared_ptr<NPEffectGroup>& currentEffect() const { return _globalEffect; }
    void setCurrentEffect(std::shared_ptr<NPEffectGroup> group) { _globalEffect = std::move(group); }

    // Catches up to now and arms every group's timers anew: at launch, and when the machine woke, or the
    // clock, the time zone, the location or a group has changed.
    void refreshTimerActivationDeactivation();

    void updateEffect(); // the current tables, written again

    // Registers the hot key of every group anew, with the shared centre: at launch, when any setting or what
    // the platform can register has changed.
    void updateHotKey();

    // What a group's hot key does.
    void toggleSpecificEffectByHotKey(const JXKeyEvent& hotKey, const std::shared_ptr<NPEffectGroup>& effect);

    // Why the group's hot key does not work, in a few words; none when it does, or there is none.
    std::optional<std::string> hotKeyRefusal(const NPEffectGroup& group) const;

    // What has to be pressed for it, in the desktop's own words; none where it is what the group says.
    std::optional<std::string> hotKeyTrigger(const NPEffectGroup& group) const;

    // Pending timers by group, to look at; none for a group without an upcoming date.
    std::shared_ptr<NPEffectTimer> activationTimer(const NPEffectGroup& group) const;
    std::shared_ptr<NPEffectTimer> deactivationTimer(const NPEffectGroup& group) const;

private:
    // Keyed by the group object, not by its identifier.
    using TimerTable = std::map<const NPEffectGroup*, std::shared_ptr<NPEffectTimer>>;

    void _initDefaults();
    void _deferredStart();
    void _warnIfNoEffects();
    void _screenSaverDidStart();
    void _screenSaverDidStop();
    void _observeScreenSaver(std::string_view name, void (NPAppController::*reaction)());
    void _openPage(std::string_view key);
    void _registerHotKey(const std::shared_ptr<NPEffectGroup>& group, const JXHotKey& hotKey);
    const NPEffectGroup* _groupWithSameKeysBefore(const NPEffectGroup& group, const JXHotKey& hotKey) const;
    void _setInitialSwitch();
    void _observe();
    void _observeWorkspace();
    void _refreshOn(QXNotificationCenter& center, std::string_view name);
    void _updateOn(QXNotificationCenter& center, std::string_view name);
    void _defaultsDidChange();
    void _updateApplyTimer();
    void _applyTimerFired(NPEffectTimer& timer);
    void _displayDidChange(NPDisplayID display, std::uint32_t flags);
    void _delayedUpdate(NPEffectTimer& timer);
    void _updateActivationTimerForEffectGroup(const std::shared_ptr<NPEffectGroup>& group, QXDate afterDate);
    void _updateDeactivationTimerForEffectGroup(const std::shared_ptr<NPEffectGroup>& group, QXDate afterDate);
    void _timerActivation(NPEffectTimer& timer);
    void _timerDeactivation(NPEffectTimer& timer);
    bool _isListed(const std::shared_ptr<NPEffectGroup>& group) const;
    QXDate _eventDate(const NPEffectTimer& timer) const;
    void _setTimer(TimerTable& table, const std::shared_ptr<NPEffectGroup>& group, std::optional<QXDate> date,
                   void (NPAppController::*action)(NPEffectTimer&));

    NPPlatform _platform;
    NPEffectManager& _effectManager;
    NPScreenManager& _screenManager;
    std::unique_ptr<NPAppFace> _face; // none for the engine alone
    QXNotificationObserver _observer;
    NPDisplaySubscription _displaySubscription;
    NPHotKeySubscription _hotKeySubscription;
    std::map<const NPEffectGroup*, std::string> _hotKeyRefusals;
    std::shared_ptr<NPEffectGroup> _globalEffect;
    std::shared_ptr<NPEffectTimer> _continuousApplyTimer;
    std::shared_ptr<NPEffectTimer> _delayedUpdateTimer;
    TimerTable _activationTimers;
    TimerTable _deactivationTimers;
};
