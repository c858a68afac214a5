// The part of NPScreenManager that replays missed timer events.
#include "Foundation/QXAssert.h"
#include "Screens/NPScreenManager.h"

struct NPScreenManager::Decision {
    Group group; // none: leave the display as it is
    bool active = false;
    std::optional<QXDate> date;
};

void NPScreenManager::_rebuildAndFastForwardScreenControllersToDate(QXDate date, NPTransitionKind transition)
{
    for (const NPDisplayID screen : _onlineDisplays()) {
        _fastForwardScreenController(_screenControllerForScreenID(screen), date, transition);
    }
    updateEffect();
    _postStateDidChange();
}

// The fade starts now, whatever the date of the event; the event's own date is what is recorded.
void NPScreenManager::_fastForwardScreenController(const std::shared_ptr<NPScreenController>& controller,
                                                   QXDate toDate, NPTransitionKind transition)
{
    const NPDisplayID screen = controller->screenID();
    const Decision decision = _decisionForScreen(screen, toDate);
    if (!decision.group || !decision.date) {
        return;
    }
    const double duration = _fadeLength(transition, *decision.group);
    _setScreenControllerActive(decision.active, decision.group, screen, duration,
                               toDate.addingTimeInterval(duration));
    _rememberEffectGroup(*decision.group, decision.active, *decision.date, {screen});
}

NPScreenManager::Decision NPScreenManager::_decisionForScreen(NPDisplayID screen, QXDate date) const
{
    const std::optional<NPScreenStateEntry> saved = NPScreenStateForScreen(_platform.defaults, screen);
    const Group savedGroup = saved ? _effectManager.groupWithIdentifier(saved->groupIdentifier) : nullptr;
    const bool savedActive = saved && saved->active;
    // The date counts even when its group has gone: what came before it is accounted for.
    const std::optional<QXDate> savedDate = saved ? std::optional(saved->date) : std::nullopt;

    std::optional<QXDate> activationDate;
    Group activationGroup;
    bool activationClears = false;
    for (const Group& group : _effectManager.groups()) {
        const bool affected = group->affectsScreen(screen);
        if (affected || group->clearEffectOnOtherScreens()) {
            _mergeActivationOfGroup(group, !affected, activationDate, activationGroup, activationClears, date,
                                    savedDate);
        }
    }

    const Group candidate = activationGroup ? activationGroup : (savedActive ? savedGroup : nullptr);
    std::optional<QXDate> deactivationDate;
    Group deactivationGroup;
    if (candidate && candidate->affectsScreen(screen)) {
        _mergeDeactivationOfGroup(candidate, deactivationDate, deactivationGroup, date, savedDate, activationDate);
    }
    if (deactivationDate) {
        return {deactivationGroup, false, deactivationDate};
    }
    if (activationDate) {
        return {activationGroup, !activationClears, activationDate};
    }
    return {savedGroup, savedActive, savedDate};
}

// The latest activation wins; of equal dates, the group that comes first in the list.
void NPScreenManager::_mergeActivationOfGroup(const Group& group, bool shouldClear,
                                              std::optional<QXDate>& mergeDate, Group& mergeGroup,
                                              bool& mergeClear, QXDate currentDate,
                                              std::optional<QXDate> lastChangeDate)
{
    const std::optional<QXDate> date = group->pastActivationDateBeforeDate(currentDate);
    if (!date || (lastChangeDate && !(*date > *lastChangeDate))) {
        return;
    }
    QXAssert(*date < currentDate, "[date isLessThan:currentDate]");
    if (!mergeDate || *date > *mergeDate) {
        mergeDate = date;
        mergeGroup = group;
        mergeClear = shouldClear;
    }
}

// A deactivation at or before the activation does not undo it.
void NPScreenManager::_mergeDeactivationOfGroup(const Group& group, std::optional<QXDate>& mergeDate,
                                                Group& mergeGroup, QXDate currentDate,
                                                std::optional<QXDate> lastChangeDate,
                                                std::optional<QXDate> lastActivationDate)
{
    const std::optional<QXDate> date = group->pastDeactivationDateBeforeDate(currentDate);
    if (!date || (lastChangeDate && !(*date > *lastChangeDate))
        || (lastActivationDate && !(*date > *lastActivationDate))) {
        return;
    }
    QXAssert(*date < currentDate, "[date isLessThan:currentDate]");
    mergeDate = date;
    mergeGroup = group;
}

void NPScreenManager::_rememberEffectGroup(const NPEffectGroup& group, bool active, QXDate date,
                                           const NPDisplayList& screens)
{
    NPRememberScreenState(_platform.defaults, {group.identifier(), active, date}, screens);
}

void NPScreenManager::_forgetSettingsForUnlistedScreenIDs(const NPDisplayList& screens)
{
    NPForgetScreenStateOfUnlistedScreens(_platform.defaults, screens);
}
