// Which effect group shows on which display.
//
// The manager keeps one controller per display, turns requests (commands, hot keys, timers) into fades,
// records the resulting state in the user defaults, and replays the timer events that were missed while the
// machine slept or the program did not run. While screen management is off, requests are still recorded but
// nothing is shown. Dates are absolute; a fade's length is in seconds. Main thread only.
#pragma once

#include "Effects/NPEffectManager.h"
#include "Effects/NPEffectTimer.h"
#include "Platform/NPPlatform.h"
#include "Screens/NPScreenController.h"
#include "Screens/NPScreenState.h"

#include <memory>
#include <optional>
#include <vector>

// Posted with the manager as object after every activation, deactivation and catch-up.
inline constexpr std::string_view NPScreenManagerEffectStateDidChange = "NPScreenManagerEffectStateDidChange";

// The global switch in the user defaults. Activating by toggle switches it on.
inline constexpr std::string_view NPEffectActiveKey = "EffectActive";

// How a change is faded. Any other number is legal and means no fade.
enum class NPTransitionKind : std::int32_t {
    none = 0,
    manual = 1, // over the group's manualTransitionDuration
    timed = 2,  // over the group's timerTransitionDuration
};

class NPScreenManager : public std::enable_shared_from_this<NPScreenManager> {
public:
    using Group = std::shared_ptr<NPEffectGroup>;

    // Holds the references for its lifetime. Make it with std::make_shared: its timer holds it weakly.
    NPScreenManager(const NPPlatform& platform, NPEffectManager& effectManager, NPProfileApplying& profiles);
    ~NPScreenManager();

    // The global switch. Off gives every display back; on catches up with a manual fade.
    bool screenManagementEnabled() const { return _screenManagementEnabled; }
    void setScreenManagementEnabled(bool enabled);

    // Whether custom colour profiles are written and applied.
    bool colorProfileManagementEnabled() const { return _colorProfileManagementEnabled; }
    void setColorProfileManagementEnabled(bool enabled);

    void activateEffectGroup(const Group& group, NPTransitionKind transition, QXDate atDate);
    void deactivateEffectGroup(const Group& group, NPTransitionKind transition, QXDate atDate);
    void toggleEffectGroup(const Group& group, NPTransitionKind transition, QXDate atDate);

    // From the recorded state, over the online displays that the group affects: 1 on everywhere, 0 nowhere,
    // −1 mixed.
    int combinedStateForEffectGroup(const NPEffectGroup& group) const;

    // Catches up on every display. The date plays no part: the current time always counts.
    void fastForwardAndUpdateEffectToDate(QXDate date, NPTransitionKind transition);

    // One step of every controller. Also writes the resting tables again.
    void updateEffect();

    // Rewrites the tables every 0.1 s for so many seconds.
    void startQuickRefreshForDuration(double seconds);

    // The interval of the running step timer in seconds, 0 when none runs.
    double transitionTimerInterval() const { return _transitionTimerInterval; }

    // One per display seen since screen management was last switched on; none while it is off.
    using ControllerList = std::vector<std::shared_ptr<NPScreenController>>;
    const std::optional<ControllerList>& screenControllers() const { return _screenControllers; }

private:
    struct Decision; // what a display is to show, and since when

    NPDisplayList _onlineDisplays() const;
    double _fadeLength(NPTransitionKind transition, const NPEffectGroup& group) const;
    void _didUpdateEffects(const QXNotification& notification);
    void _displayDidChange(NPDisplayID display, std::uint32_t flags);
    void _profileDidChange(NPDisplayID display);
    void _clockDidChange();
    void _setAllScreenControllersActive(bool active, const Group& group, double duration, QXDate targetDate);
    void _clearEffectOnScreenControllersNotInList(const NPDisplayList& screens, double duration,
                                                  QXDate targetDate);
    void _setScreenControllerActive(bool active, const Group& group, NPDisplayID screen, double duration,
                                    QXDate targetDate);
    std::shared_ptr<NPScreenController> _knownScreenController(NPDisplayID screen) const;
    std::shared_ptr<NPScreenController> _screenControllerForScreenID(NPDisplayID screen);
    void _rebuildAndFastForwardScreenControllersToDate(QXDate date, NPTransitionKind transition);
    void _fastForwardScreenController(const std::shared_ptr<NPScreenController>& controller, QXDate toDate,
                                      NPTransitionKind transition);
    Decision _decisionForScreen(NPDisplayID screen, QXDate date) const;
    static void _mergeActivationOfGroup(const Group& group, bool shouldClear, std::optional<QXDate>& mergeDate,
                                        Group& mergeGroup, bool& mergeClear, QXDate currentDate,
                                        std::optional<QXDate> lastChangeDate);
    static void _mergeDeactivationOfGroup(const Group& group, std::optional<QXDate>& mergeDate, Group& mergeGroup,
                                          QXDate currentDate, std::optional<QXDate> lastChangeDate,
                                          std::optional<QXDate> lastActivationDate);
    void _rememberEffectGroup(const NPEffectGroup& group, bool active, QXDate date, const NPDisplayList& screens);
    void _forgetSettingsForUnlistedScreenIDs(const NPDisplayList& screens);

    double _stepControllers(double interval);
    void _stopTransitionTimer();
    void _startTransitionTimer(double interval);
    void _transitionTimerFired(NPEffectTimer& timer);
    void _handOverRestingProfiles();
    void _postStateDidChange();

    NPPlatform _platform;
    NPEffectManager& _effectManager;
    NPProfileApplying& _profiles;
    QXNotificationObserver _observer;
    NPDisplaySubscription _displaySubscription;
    NPDisplaySubscription _profileSubscription;
    std::optional<ControllerList> _screenControllers;
    std::shared_ptr<NPEffectTimer> _transitionTimer;
    double _transitionTimerInterval = 0.0;
    std::optional<QXDate> _quickRefreshEndDate;
    bool _screenManagementEnabled = false;
    bool _colorProfileManagementEnabled = false;
};

std::shared_ptr<NPScreenManager> sharedScreenManager();
