#include "Screens/NPScreenManager.h"

#include "Foundation/QXSharedScope.h"
#include "Foundation/QXWeakTarget.h"
#include "Screens/NPProfileManager.h"

#include <algorithm>

namespace {

constexpr double noStep = 1e9; // the step interval while nothing is to be stepped
constexpr double quickRefreshInterval = 0.1;
constexpr double profileRewriteDelay = 5.0;

} // namespace

NPScreenManager::NPScreenManager(const NPPlatform& platform, NPEffectManager& effectManager,
                                 NPProfileApplying& profiles)
    : _platform(platform), _effectManager(effectManager), _profiles(profiles)
{
    platform.notifications.addObserver(
        _observer, std::string(NPEffectGroupDidChangeNotification), nullptr,
        [this](const QXNotification& notification) { _didUpdateEffects(notification); });
    platform.notifications.addObserver(_observer, std::string(NPSystemClockDidChangeNotification), nullptr,
                                       [this](const QXNotification&) { _clockDidChange(); });
    _displaySubscription = platform.displays.registerReconfigurationCallback(
        [this](NPDisplayID display, std::uint32_t flags) { _displayDidChange(display, flags); });
    _profileSubscription =
        platform.profiles.registerProfileCallback([this](NPDisplayID display) { _profileDidChange(display); });
}

NPScreenManager::~NPScreenManager()
{
    _stopTransitionTimer();
}

void NPScreenManager::setScreenManagementEnabled(bool enabled)
{
    if (_screenManagementEnabled == enabled) {
        return;
    }
    _screenManagementEnabled = enabled; // first: the catch-up below announces, and listeners ask for it
    if (enabled) {
        if (!_screenControllers) {
            _screenControllers.emplace();
        }
        _rebuildAndFastForwardScreenControllersToDate(_platform.clock.now(), NPTransitionKind::manual);
        return;
    }
    const ControllerList controllers = _screenControllers.value_or(ControllerList());
    _profiles.beginUpdate();
    for (const std::shared_ptr<NPScreenController>& controller : controllers) {
        controller->restoreGamma();
    }
    _platform.displays.restoreOfflineDisplays();
    _profiles.endUpdate();
    _screenControllers.reset();
    _stopTransitionTimer();
    // A fade that was cut short had held applying back; the displays' own profiles are waiting for it.
    _profiles.setApplyEnabled(_colorProfileManagementEnabled);
}

void NPScreenManager::setColorProfileManagementEnabled(bool enabled)
{
    if (_colorProfileManagementEnabled == enabled) {
        return;
    }
    _colorProfileManagementEnabled = enabled;
    const ControllerList controllers = _screenControllers.value_or(ControllerList());
    if (enabled) {
        for (const std::shared_ptr<NPScreenController>& controller : controllers) {
            controller->invalidateProfileAfterTimeInterval(0.0);
        }
        _profiles.setApplyEnabled(true);
        updateEffect();
        return;
    }
    _profiles.beginUpdate();
    if (!_profiles.applyEnabled()) {
        _profiles.setApplyEnabled(true); // held back by a fade; the displays' own profiles must not be
    }
    for (const std::shared_ptr<NPScreenController>& controller : controllers) {
        controller->restoreProfile();
    }
    _profiles.endUpdate();
    _profiles.setApplyEnabled(false);
    // The displays go back to their own profiles one by one, and each resets the table that it shows.
    startQuickRefreshForDuration(static_cast<double>(controllers.size() + 1));
}

void NPScreenManager::activateEffectGroup(const Group& group, NPTransitionKind transition, QXDate atDate)
{
    const double duration = _fadeLength(transition, *group);
    const QXDate targetDate = atDate.addingTimeInterval(duration);
    const NPDisplayList screens = group->affectedScreenSet();
    _rememberEffectGroup(*group, true, atDate, screens);
    // "Active" is the switch, not a constant: while it is off the state is recorded and nothing is shown.
    if (screens.empty()) {
        _setAllScreenControllersActive(_screenManagementEnabled, group, duration, targetDate);
    } else {
        if (group->clearEffectOnOtherScreens()) {
            _forgetSettingsForUnlistedScreenIDs(screens);
            _clearEffectOnScreenControllersNotInList(screens, duration, targetDate);
        }
        for (const NPDisplayID screen : screens) {
            _setScreenControllerActive(_screenManagementEnabled, group, screen, duration, targetDate);
        }
    }
    updateEffect();
    _postStateDidChange();
}

void NPScreenManager::deactivateEffectGroup(const Group& group, NPTransitionKind transition, QXDate atDate)
{
    const double duration = _fadeLength(transition, *group);
    const QXDate targetDate = atDate.addingTimeInterval(duration);
    const NPDisplayList screens = group->affectedScreenSet();
    _rememberEffectGroup(*group, false, atDate, screens);
    if (screens.empty()) {
        _setAllScreenControllersActive(false, group, duration, targetDate);
    }
    for (const NPDisplayID screen : screens) {
        _setScreenControllerActive(false, group, screen, duration, targetDate);
    }
    updateEffect();
    _postStateDidChange();
}

void NPScreenManager::toggleEffectGroup(const Group& group, NPTransitionKind transition, QXDate atDate)
{
    if (combinedStateForEffectGroup(*group) == 1) {
        deactivateEffectGroup(group, transition, atDate);
        return;
    }
    activateEffectGroup(group, transition, atDate);
    if (!_platform.defaults.boolForKey(NPEffectActiveKey)) {
        _platform.defaults.setObject(true, NPEffectActiveKey);
    }
}

int NPScreenManager::combinedStateForEffectGroup(const NPEffectGroup& group) const
{
    bool onSomewhere = false;
    bool offSomewhere = false;
    for (const NPDisplayID screen : _onlineDisplays()) {
        if (group.affectsScreen(screen)) {
            const auto entry = NPScreenStateForScreen(_platform.defaults, screen);
            const bool isOn = entry && entry->active && entry->groupIdentifier == group.identifier();
            (isOn ? onSomewhere : offSomewhere) = true;
        }
    }
    if (!onSomewhere) {
        return 0;
    }
    return offSomewhere ? -1 : 1;
}

void NPScreenManager::fastForwardAndUpdateEffectToDate(QXDate, NPTransitionKind transition)
{
    _rebuildAndFastForwardScreenControllersToDate(_platform.clock.now(), transition);
}

void NPScreenManager::updateEffect()
{
    double interval = noStep;
    if (_quickRefreshEndDate) {
        if (*_quickRefreshEndDate < _platform.clock.now()) {
            _quickRefreshEndDate.reset();
        } else {
            interval = quickRefreshInterval;
        }
    }
    interval = _stepControllers(interval);
    if (interval == noStep) {
        _stopTransitionTimer();
        _handOverRestingProfiles();
    } else if (!_transitionTimer || _transitionTimerInterval != interval) {
        _startTransitionTimer(interval);
        _profiles.setApplyEnabled(false); // no profile is applied while a fade runs
    }
}

void NPScreenManager::startQuickRefreshForDuration(double seconds)
{
    _quickRefreshEndDate = _platform.clock.now().addingTimeInterval(seconds);
    updateEffect();
}

// The smallest interval that a controller or the caller asks for.
double NPScreenManager::_stepControllers(double interval)
{
    const QXDate now = _platform.clock.now();
    const ControllerList controllers = _screenControllers.value_or(ControllerList());
    for (const std::shared_ptr<NPScreenController>& controller : controllers) {
        const double requested = controller->updateEffectForDate(now);
        if (requested > 0.0) {
            interval = std::min(interval, requested);
        }
    }
    return interval;
}

// The step that ended the fade still found applying disabled, so what it left waiting is taken up by one
// further step; with the periodic rewriting off no other would come.
void NPScreenManager::_handOverRestingProfiles()
{
    const bool wasEnabled = _profiles.applyEnabled();
    _profiles.setApplyEnabled(_colorProfileManagementEnabled);
    const ControllerList controllers = _screenControllers.value_or(ControllerList());
    if (!wasEnabled && _profiles.applyEnabled()
        && std::ranges::any_of(controllers, &NPScreenController::profileNeedsUpdate)) {
        _stepControllers(noStep);
    }
    _profiles.applyPendingProfiles();
}

void NPScreenManager::_stopTransitionTimer()
{
    if (_transitionTimer) {
        _transitionTimer->invalidate();
        _transitionTimer.reset();
    }
    _transitionTimerInterval = 0.0;
}

void NPScreenManager::_startTransitionTimer(double interval)
{
    _stopTransitionTimer();
    _transitionTimer = NPEffectTimer::scheduledEffectTimerWithTimeInterval(
        _platform.timers, interval, weakTarget(weak_from_this(), &NPScreenManager::_transitionTimerFired), {},
        true, interval * 0.5);
    _transitionTimerInterval = interval;
}

void NPScreenManager::_transitionTimerFired(NPEffectTimer&)
{
    updateEffect();
}

void NPScreenManager::_didUpdateEffects(const QXNotification& notification)
{
    updateEffect();
    const ControllerList controllers = _screenControllers.value_or(ControllerList());
    for (const std::shared_ptr<NPScreenController>& controller : controllers) {
        if (controller->isActive() && controller->effect().get() == notification.object) {
            controller->invalidateProfileAfterTimeInterval(profileRewriteDelay);
        }
    }
}

// A display that comes online, for the first time or again, shows what it should at once. It may have been
// given another table meanwhile, so an old controller reads its base table again before it writes. One beyond
// the end of the list is left alone, as it is everywhere.
void NPScreenManager::_displayDidChange(NPDisplayID display, std::uint32_t flags)
{
    if (!_screenManagementEnabled || (flags & NPDisplayChangeAdd) == 0) {
        return;
    }
    if (const std::shared_ptr<NPScreenController> known = _knownScreenController(display)) {
        known->retriveGammaCurve();
        // A group that was removed while the display was away can be asked for by nobody.
        if (known->effect() && !_effectManager.groupWithIdentifier(known->effect()->identifier())) {
            known->setActivation(false, nullptr, 0.0, _platform.clock.now());
        }
    }
    const NPDisplayList online = _onlineDisplays();
    if (std::ranges::find(online, display) != online.end()) {
        _fastForwardScreenController(_screenControllerForScreenID(display), _platform.clock.now(),
                                     NPTransitionKind::none);
    }
    updateEffect();
    _postStateDidChange();
}

// Whoever gave the display the profile may have had it show the profile's table: it is written again at once.
void NPScreenManager::_profileDidChange(NPDisplayID display)
{
    if (const std::shared_ptr<NPScreenController> known = _knownScreenController(display)) {
        known->displayProfileDidChange();
        updateEffect();
    }
}

// Fades end at dates on the wall clock. Set back, it would take every display back to the start of its last
// fade, to wait there until the date comes again.
void NPScreenManager::_clockDidChange()
{
    const ControllerList controllers = _screenControllers.value_or(ControllerList());
    for (const std::shared_ptr<NPScreenController>& controller : controllers) {
        controller->finishTransition();
    }
}

NPDisplayList NPScreenManager::_onlineDisplays() const
{
    return _platform.displays.onlineDisplayList(NPDisplayListCapacity).value_or(NPDisplayList());
}

double NPScreenManager::_fadeLength(NPTransitionKind transition, const NPEffectGroup& group) const
{
    switch (transition) {
    case NPTransitionKind::manual:
        return group.manualTransitionDuration();
    case NPTransitionKind::timed:
        return group.timerTransitionDuration();
    case NPTransitionKind::none:
        break;
    }
    return 0.0;
}

void NPScreenManager::_setAllScreenControllersActive(bool active, const Group& group, double duration,
                                                     QXDate targetDate)
{
    for (const NPDisplayID screen : _onlineDisplays()) {
        _setScreenControllerActive(active, group, screen, duration, targetDate);
    }
}

void NPScreenManager::_clearEffectOnScreenControllersNotInList(const NPDisplayList& screens, double duration,
                                                               QXDate targetDate)
{
    for (const NPDisplayID screen : _onlineDisplays()) {
        if (std::ranges::find(screens, screen) == screens.end()) {
            _setScreenControllerActive(false, nullptr, screen, duration, targetDate);
        }
    }
}

void NPScreenManager::_setScreenControllerActive(bool active, const Group& group, NPDisplayID screen,
                                                 double duration, QXDate targetDate)
{
    _screenControllerForScreenID(screen)->setActivation(active, group, duration, targetDate);
}

std::shared_ptr<NPScreenController> NPScreenManager::_knownScreenController(NPDisplayID screen) const
{
    if (!_screenControllers) {
        return nullptr;
    }
    const auto found = std::ranges::find(*_screenControllers, screen, &NPScreenController::screenID);
    return found == _screenControllers->end() ? nullptr : *found;
}

// While screen management is off a controller is made for the call and kept nowhere.
std::shared_ptr<NPScreenController> NPScreenManager::_screenControllerForScreenID(NPDisplayID screen)
{
    std::shared_ptr<NPScreenController> controller = _knownScreenController(screen);
    if (!controller) {
        controller = NPScreenController::screenControllerForScreen(
            screen, {_platform.displays, _platform.profiles, _profiles, _platform.clock});
        if (_screenControllers) {
            _screenControllers->push_back(controller);
        }
    }
    return controller;
}

void NPScreenManager::_postStateDidChange()
{
    _platform.notifications.postNotification(NPScreenManagerEffectStateDidChange, this);
}

std::shared_ptr<NPScreenManager> sharedScreenManager()
{
    return QXSharedScope::current().instance<NPScreenManager>([] {
        return std::make_shared<NPScreenManager>(NPCurrentPlatform(), *sharedEffectManager(),
                                                 *sharedProfileManager());
    });
}
