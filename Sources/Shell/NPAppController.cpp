#include "Shell/NPAppController.h"

#include "Foundation/QXString.h"
#include "Foundation/QXWeakTarget.h"
#include "HotKey/JXKeyNames.h"
#include "Platform/NPDesktop.h"
#include "Screens/NPProfileManager.h"
#include "Shell/QXAboutBoxText.h"
#include "Shell/QXFluxCheck.h"
#include "Shell/QXWebStoreUpdateManager.h"
#include "Sunset & Sunrise/NPSunriseSunsetCalculator.h"

#include <algorithm>

namespace {

constexpr double applyInterval = 6.0;
constexpr double applyTolerance = 1.5;

// Added to a deactivation's date, so that of two timers at the same instant the activation fires first.
constexpr double deactivationOffset = 0.00001;

// After a change of mode the display may take its table back once more a moment later.
constexpr double delayedUpdateInterval = 0.05;

constexpr QXColor aboutBoxTint{0.81, 0.81, 0.84, 1.0};

std::shared_ptr<NPEffectTimer> timerOfGroup(const auto& table, const NPEffectGroup& group)
{
    const auto found = table.find(&group);
    return found == table.end() ? nullptr : found->second;
}

} // namespace

NPAppController::NPAppController(const NPPlatform& platform, NPEffectManager& effectManager,
                                 NPScreenManager& screenManager)
    : _platform(platform), _effectManager(effectManager), _screenManager(screenManager)
{
}

NPAppController::~NPAppController()
{
    for (const TimerTable* table : {&_activationTimers, &_deactivationTimers}) {
        for (const auto& [group, timer] : *table) {
            timer->invalidate();
        }
    }
    for (const std::shared_ptr<NPEffectTimer>& timer : {_continuousApplyTimer, _delayedUpdateTimer}) {
        if (timer) {
            timer->invalidate();
        }
    }
}

void NPAppController::setInterface(NPAppInterface interface)
{
    _face = std::make_unique<NPAppFace>(std::move(interface));
}

// The order is fixed: each step may find what an earlier one has left.
void NPAppController::applicationDidFinishLaunching()
{
    if (_face) {
        QXAboutBoxSetBackgroundTint(aboutBoxTint);
        QXFluxCheckAtLaunch();
        if (NPCurrentDesktop().workspace.isTerminating()) {
            return;
        }
        _face->insertUpdateItems();
        _face->setSuspendWraningAboutNoEffects(true);
        _platform.mainQueue.performOnMain(weakTarget(weak_from_this(), &NPAppController::_deferredStart));
    }
    _initDefaults();
    _screenManager.setColorProfileManagementEnabled(_platform.defaults.boolForKey(NPApplyToColorProfileKey));
    _globalEffect = _effectManager.groups().front();
    _setInitialSwitch();
    _warnIfNoEffects();
    if (_face) {
        _face->setStatusItemReady();
    }
    updateHotKey();
    if (_face) {
        _face->updateStatusItem(_platform.defaults, effectActive());
    }
    refreshTimerActivationDeactivation();
    _observe();
    if (_face) {
        _face->makeEffectLists(_platform, _effectManager, _screenManager);
    }
    _observeWorkspace();
    _displaySubscription = _platform.displays.registerReconfigurationCallback(
        [this](NPDisplayID display, std::uint32_t flags) { _displayDidChange(display, flags); });
    if (_effectManager.createdFirstEffectOnInitialization()) {
        _screenManager.activateEffectGroup(_effectManager.groups().front(), NPTransitionKind::none,
                                           _platform.clock.now());
    }
}

void NPAppController::_deferredStart()
{
    _face->setSuspendWraningAboutNoEffects(false);
    _warnIfNoEffects();
    if (const auto started = sharedUpdateManager()->startUpdater(); !started) {
        NPCurrentDesktop().alerts.runModal({.messageText = started.error()});
    }
}

void NPAppController::_warnIfNoEffects()
{
    if (_face && _globalEffect) {
        _face->warnIfNoEffects(_effectManager);
    }
}

void NPAppController::applicationWillTerminate()
{
    _screenManager.setScreenManagementEnabled(false);
    sharedProfileManager()->removeProfileFolder();
    sharedProfileManager()->waitUntilNoPendingProfile();
}

void NPAppController::_initDefaults()
{
    _platform.defaults.registerDefaults({{std::string(NPActivateAtLaunchKey), true},
                                         {std::string(NPApplyToColorProfileKey), true},
                                         {std::string(NPContinuouslyApplyKey), true},
                                         {std::string(NPDeactivateForScreenSaverKey), false},
                                         {std::string(NPShowStatusItemKey), 0}});
    const std::string name(NPUserDefaultsDidChangeNotification);
    _platform.notifications.addObserver(_observer, name, nullptr,
                                        [this](const QXNotification&) { _defaultsDidChange(); });
    _platform.notifications.addObserver(_observer, name, nullptr,
                                        [this](const QXNotification&) { _updateApplyTimer(); });
    _platform.notifications.addObserver(_observer, std::string(NSApplicationDidChangeScreenParametersNotification),
                                        nullptr, [this](const QXNotification&) { _defaultsDidChange(); });
}

void NPAppController::_setInitialSwitch()
{
    const bool saved = _platform.defaults.boolForKey(NPEffectActiveKey);
    if (_platform.defaults.boolForKey(NPActivateAtLaunchKey) && !saved) {
        setEffectActive(true, true);
    } else {
        setEffectActive(saved, false);
    }
}

void NPAppController::_observe()
{
    for (const std::string_view name :
         {NPEffectGroupDidChangeNotification, NPEffectManagerGroupsDidChangeNotification,
          NPSunriseSunsetCalculatorLocationChanged, NPSystemTimeZoneDidChangeNotification,
          NPSystemClockDidChangeNotification}) {
        _refreshOn(_platform.notifications, name);
    }
    _hotKeySubscription = _platform.hotKeys.installHandlers({{}, {}, [this] { updateHotKey(); }});
}

void NPAppController::_observeWorkspace()
{
    NPWorkspaceEvents& events = _platform.workspaceEvents;
    _refreshOn(events.workspace, NSWorkspaceDidWakeNotification);
    _refreshOn(events.workspace, NSWorkspaceSessionDidBecomeActiveNotification);
    _updateOn(events.workspace, NSWorkspaceDidTerminateApplicationNotification);
    _updateOn(events.distributed, NSScreenColorSpaceDidChangeNotification);
}

void NPAppController::_refreshOn(QXNotificationCenter& center, std::string_view name)
{
    center.addObserver(_observer, std::string(name), nullptr,
                       [this](const QXNotification&) { refreshTimerActivationDeactivation(); });
}

void NPAppController::_updateOn(QXNotificationCenter& center, std::string_view name)
{
    center.addObserver(_observer, std::string(name), nullptr, [this](const QXNotification&) { updateEffect(); });
}

void NPAppController::_defaultsDidChange()
{
    updateHotKey();
    if (_face) {
        _face->updateStatusItem(_platform.defaults, effectActive());
    }
    setEffectActive(_platform.defaults.boolForKey(NPEffectActiveKey), false);
    _screenManager.setColorProfileManagementEnabled(_platform.defaults.boolForKey(NPApplyToColorProfileKey));
}

bool NPAppController::effectActive() const
{
    return _screenManager.screenManagementEnabled();
}

// An unchanged value is not written, so that it causes no announcement.
void NPAppController::setEffectActive(bool active, bool saveState)
{
    if (saveState && _platform.defaults.boolForKey(NPEffectActiveKey) != active) {
        _platform.defaults.setObject(active, NPEffectActiveKey);
    }
    _screenManager.setScreenManagementEnabled(active);
    if (_face) {
        _face->setActivateTitles(active);
    }
    if (active) {
        _observeScreenSaver(NPScreenSaverDidStartNotification, &NPAppController::_screenSaverDidStart);
    } else {
        // On purpose the changes of colour space go with the rest, until the next launch.
        _platform.workspaceEvents.distributed.removeObserver(_observer);
    }
    _updateApplyTimer();
    if (_face) {
        _face->updateStatusItemImage(active);
    }
}

// Anew on every call, in the place of an older one: once is enough, and the switch is set with every setting.
void NPAppController::_observeScreenSaver(std::string_view name, void (NPAppController::*reaction)())
{
    QXNotificationCenter& distributed = _platform.workspaceEvents.distributed;
    distributed.removeObserver(_observer, name, nullptr);
    distributed.addObserver(_observer, std::string(name), nullptr,
                            [this, reaction](const QXNotification&) { (this->*reaction)(); });
}

// The saved switch stays on throughout, so that an end during the screen saver does not outlast it.
void NPAppController::_screenSaverDidStart()
{
    if (_platform.defaults.boolForKey(NPDeactivateForScreenSaverKey)) {
        setEffectActive(false, false);
        _observeScreenSaver(NPScreenSaverDidStopNotification, &NPAppController::_screenSaverDidStop);
    }
}

void NPAppController::_screenSaverDidStop()
{
    setEffectActive(true, false);
}

void NPAppController::toggleGlobalEffect()
{
    setEffectActive(!effectActive(), true);
}

void NPAppController::openPreferences()
{
    if (_face) {
        _face->openPreferences();
    }
}

void NPAppController::openAboutBox()
{
    if (_face) {
        _face->openAboutBox();
    }
}

void NPAppController::visitWhatsNew()
{
    _openPage(NPReleaseNotesURLKey);
}

void NPAppController::visitFAQ()
{
    _openPage(NPFAQURLKey);
}

// The address is its own key, so that a translation can lead to another page.
void NPAppController::_openPage(std::string_view key)
{
    if (_face) {
        NPCurrentDesktop().workspace.openURL(QXLocalizedString(NPBundleText(NPCurrentDesktop().bundle, key)));
    }
}

void NPAppController::contactSupport()
{
    if (_face) {
        NPCurrentDesktop().workspace.openURL(NPBundleText(NPCurrentDesktop().bundle, NPSupportURLKey));
    }
}

void NPAppController::checkForUpdates()
{
    if (_face) {
        sharedUpdateManager()->checkForUpdates();
    }
}

void NPAppController::terminate()
{
    if (_face) {
        NPCurrentDesktop().workspace.terminate();
    }
}

// A running timer is kept, so that its phase is not reset by every change of settings.
void NPAppController::_updateApplyTimer()
{
    const bool shouldRun = effectActive() && _platform.defaults.boolForKey(NPContinuouslyApplyKey);
    if (shouldRun && !_continuousApplyTimer) {
        _continuousApplyTimer = NPEffectTimer::scheduledEffectTimerWithTimeInterval(
            _platform.timers, applyInterval, weakTarget(weak_from_this(), &NPAppController::_applyTimerFired), {},
            true, applyTolerance);
    } else if (!shouldRun && _continuousApplyTimer) {
        _continuousApplyTimer->invalidate();
        _continuousApplyTimer.reset();
    }
}

void NPAppController::_applyTimerFired(NPEffectTimer&)
{
    updateEffect();
}

void NPAppController::updateEffect()
{
    _screenManager.updateEffect();
}

// The registered hot keys keep the controller, and hold the groups that they are for.
void NPAppController::updateHotKey()
{
    const std::shared_ptr<NPAppController> held = shared_from_this(); // nobody but the hot keys may have it
    sharedHotKeyCenter()->unregisterAllHotKeys();
    _hotKeyRefusals.clear();
    const NPEffectGroupList groups = _effectManager.groups();
    for (const std::shared_ptr<NPEffectGroup>& group : groups) {
        if (const std::optional<JXHotKey> hotKey = group->hotKey()) {
            _registerHotKey(group, *hotKey);
        }
    }
}

void NPAppController::_registerHotKey(const std::shared_ptr<NPEffectGroup>& group, const JXHotKey& hotKey)
{
    static const JXHotKeyAction toggle("toggleSpecificEffectByHotKey:effect:",
                                       &NPAppController::toggleSpecificEffectByHotKey);
    const JXHotKeyRegistered registered = sharedHotKeyCenter()->registerHotKeyWithKeyCode(
        hotKey.keyCode(), hotKey.modifierFlags(), shared_from_this(), toggle, group,
        NPHotKeyLabel{group->identifier(), group->name()});
    if (registered) {
        return;
    }
    const NPEffectGroup* other = _groupWithSameKeysBefore(*group, hotKey);
    _hotKeyRefusals[group.get()] = other ? "effect '" + other->name() + "' has it" : registered.error();
}

// The one earlier in the list that has been registered for the same keys; nullptr for none.
const NPEffectGroup* NPAppController::_groupWithSameKeysBefore(const NPEffectGroup& group,
                                                               const JXHotKey& hotKey) const
{
    const auto keys = [](const JXHotKey& of) {
        return std::pair(of.keyCode(), JXCarbonModifierFlags(of.modifierFlags()) & ~JXCarbonCapsLockMask);
    };
    for (const std::shared_ptr<NPEffectGroup>& other : _effectManager.groups()) {
        if (other.get() == &group) {
            break;
        }
        const std::optional<JXHotKey> others = other->hotKey();
        if (others && keys(*others) == keys(hotKey) && !hotKeyRefusal(*other)) {
            return other.get();
        }
    }
    return nullptr;
}

void NPAppController::toggleSpecificEffectByHotKey(const JXKeyEvent&, const std::shared_ptr<NPEffectGroup>& effect)
{
    _screenManager.toggleEffectGroup(effect, NPTransitionKind::manual, _platform.clock.now());
}

std::optional<std::string> NPAppController::hotKeyRefusal(const NPEffectGroup& group) const
{
    const auto found = _hotKeyRefusals.find(&group);
    return found == _hotKeyRefusals.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::string> NPAppController::hotKeyTrigger(const NPEffectGroup& group) const
{
    const JXHotKeySet registered = sharedHotKeyCenter()->hotKeysMatchingPredicate(
        [&](const JXHotKey& hotKey) { return hotKey.object().get() == &group; });
    return registered.empty() ? std::nullopt : _platform.hotKeys.trigger({.id = registered.front()->hotKeyID()});
}

void NPAppController::_displayDidChange(NPDisplayID, std::uint32_t flags)
{
    if ((flags & NPDisplayChangeSetMode) == 0) {
        return;
    }
    updateEffect();
    if (_delayedUpdateTimer) {
        _delayedUpdateTimer->invalidate();
    }
    _delayedUpdateTimer = NPEffectTimer::scheduledEffectTimerWithTimeInterval(
        _platform.timers, delayedUpdateInterval, weakTarget(weak_from_this(), &NPAppController::_delayedUpdate),
        {}, false, 0.0);
}

void NPAppController::_delayedUpdate(NPEffectTimer&)
{
    updateEffect();
}

void NPAppController::refreshTimerActivationDeactivation()
{
    for (TimerTable* table : {&_activationTimers, &_deactivationTimers}) {
        for (const auto& [group, timer] : *table) {
            timer->invalidate();
        }
        table->clear();
    }
    const QXDate now = _platform.clock.now();
    _screenManager.fastForwardAndUpdateEffectToDate(now, NPTransitionKind::manual);
    const NPEffectGroupList groups = _effectManager.groups();
    for (const std::shared_ptr<NPEffectGroup>& group : groups) {
        _updateActivationTimerForEffectGroup(group, now);
        _updateDeactivationTimerForEffectGroup(group, now);
    }
}

void NPAppController::_updateActivationTimerForEffectGroup(const std::shared_ptr<NPEffectGroup>& group,
                                                           QXDate afterDate)
{
    _setTimer(_activationTimers, group, group->upcommingActivationDateAfterDate(afterDate),
              &NPAppController::_timerActivation);
}

void NPAppController::_updateDeactivationTimerForEffectGroup(const std::shared_ptr<NPEffectGroup>& group,
                                                             QXDate afterDate)
{
    std::optional<QXDate> date = group->upcommingDeactivationDateAfterDate(afterDate);
    if (date) {
        date = date->addingTimeInterval(deactivationOffset);
    }
    _setTimer(_deactivationTimers, group, date, &NPAppController::_timerDeactivation);
}

void NPAppController::_setTimer(TimerTable& table, const std::shared_ptr<NPEffectGroup>& group,
                                std::optional<QXDate> date, void (NPAppController::*action)(NPEffectTimer&))
{
    if (const std::shared_ptr<NPEffectTimer> former = timerOfGroup(table, *group)) {
        former->invalidate();
    }
    if (date) {
        table[group.get()] = NPEffectTimer::scheduledEffectTransitionTimerWithFireDate(
            _platform.timers, *date, weakTarget(weak_from_this(), action), group);
    } else {
        table.erase(group.get());
    }
}

void NPAppController::_timerActivation(NPEffectTimer& timer)
{
    const auto group = std::any_cast<std::shared_ptr<NPEffectGroup>>(timer.userInfo());
    const QXDate date = _eventDate(timer);
    _screenManager.activateEffectGroup(group, NPTransitionKind::timed, date);
    if (_isListed(group)) {
        _updateActivationTimerForEffectGroup(group, date);
    }
}

void NPAppController::_timerDeactivation(NPEffectTimer& timer)
{
    const auto group = std::any_cast<std::shared_ptr<NPEffectGroup>>(timer.userInfo());
    const QXDate date = _eventDate(timer);
    _screenManager.deactivateEffectGroup(group, NPTransitionKind::timed, date);
    if (_isListed(group)) {
        _updateDeactivationTimerForEffectGroup(group, date);
    }
}

// Whoever is told of the change may remove the group: nobody would stop another timer of it.
bool NPAppController::_isListed(const std::shared_ptr<NPEffectGroup>& group) const
{
    return std::ranges::find(_effectManager.groups(), group) != _effectManager.groups().end();
}

// A timer that fires late counts from now, for the change as for the next date.
QXDate NPAppController::_eventDate(const NPEffectTimer& timer) const
{
    return std::max(_platform.clock.now(), timer.fireDate().value_or(_platform.clock.now()));
}

std::shared_ptr<NPEffectTimer> NPAppController::activationTimer(const NPEffectGroup& group) const
{
    return timerOfGroup(_activationTimers, group);
}

std::shared_ptr<NPEffectTimer> NPAppController::deactivationTimer(const NPEffectGroup& group) const
{
    return timerOfGroup(_deactivationTimers, group);
}
