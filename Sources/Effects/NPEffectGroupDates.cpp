// The part of NPEffectGroup that tells when its timers fire.
#include "Effects/NPEffectGroup.h"
#include "Foundation/QXAssert.h"
#include "Platform/NPPlatform.h"
#include "Sunset & Sunrise/NPSunriseSunsetCalculator.h"

namespace {

constexpr int defaultActivationHour = 22;
constexpr int defaultDeactivationHour = 7;

QXDateComponents wallClockFields(QXDate reference, const QXDateComponents& time, const QXTimeZone& zone)
{
    QXDateComponents fields = QXCalendarComponentsFromDate(reference, zone);
    fields.hour = time.hour;
    fields.minute = time.minute;
    fields.second = 0;
    fields.nanosecond = 0;
    return fields;
}

} // namespace

NPEffectEnvironment NPEffectEnvironment::current()
{
    const NPPlatform& platform = NPCurrentPlatform();
    return {platform.notifications, platform.timeZones.systemTimeZone(), platform.clock, *sharedCalculator()};
}

QXDateComponents NPEffectGroup::activationTime() const
{
    return _timeForKeys(NPTimerActivationHourKey, defaultActivationHour, NPTimerActivationMinuteKey);
}

QXDateComponents NPEffectGroup::deactivationTime() const
{
    return _timeForKeys(NPTimerDeactivationHourKey, defaultDeactivationHour, NPTimerDeactivationMinuteKey);
}

// A stored hour of 25 could make the search for the previous date stop the program, so what no clock shows
// counts as not stored.
QXDateComponents NPEffectGroup::_timeForKeys(std::string_view hourKey, int defaultHour,
                                             std::string_view minuteKey) const
{
    const auto within = [this](std::string_view key, std::int64_t defaultValue, std::int64_t limit) {
        const std::int64_t value = integerForKey(key, defaultValue);
        return value >= 0 && value < limit ? value : defaultValue;
    };
    QXDateComponents time;
    time.hour = within(hourKey, defaultHour, 24);
    time.minute = within(minuteKey, 0, 60);
    return time;
}

void NPEffectGroup::setActivationTime(const QXDateComponents& time)
{
    _setTime(time, NPTimerActivationHourKey, NPTimerActivationMinuteKey);
}

void NPEffectGroup::setDeactivationTime(const QXDateComponents& time)
{
    _setTime(time, NPTimerDeactivationHourKey, NPTimerDeactivationMinuteKey);
}

void NPEffectGroup::_setTime(const QXDateComponents& time, std::string_view hourKey, std::string_view minuteKey)
{
    setInteger(time.hour, hourKey);
    setInteger(time.minute, minuteKey);
}

NPEffectTimerKind NPEffectGroup::activationTimerKind() const
{
    return _timerKindForKey(NPTimerActivationKindKey);
}

NPEffectTimerKind NPEffectGroup::deactivationTimerKind() const
{
    return _timerKindForKey(NPTimerDeactivationKindKey);
}

NPEffectTimerKind NPEffectGroup::_timerKindForKey(std::string_view key) const
{
    const std::uint32_t stored = static_cast<std::uint32_t>(integerForKey(key)); // the low 32 bits
    return stored < 4 ? static_cast<NPEffectTimerKind>(stored) : NPEffectTimerKind::NPEffectTimerKindNone;
}

void NPEffectGroup::setActivationTimerKind(NPEffectTimerKind kind)
{
    setInteger(static_cast<std::int32_t>(kind), NPTimerActivationKindKey);
}

void NPEffectGroup::setDeactivationTimerKind(NPEffectTimerKind kind)
{
    setInteger(static_cast<std::int32_t>(kind), NPTimerDeactivationKindKey);
}

std::optional<QXDate> NPEffectGroup::upcommingActivationDateAfterDate(QXDate date) const
{
    return _nextDate(activationTimerKind(), activationTime(), date);
}

std::optional<QXDate> NPEffectGroup::upcommingDeactivationDateAfterDate(QXDate date) const
{
    return _nextDate(deactivationTimerKind(), deactivationTime(), date);
}

std::optional<QXDate> NPEffectGroup::pastActivationDateBeforeDate(QXDate date) const
{
    return _previousDate(activationTimerKind(), activationTime(), date);
}

std::optional<QXDate> NPEffectGroup::pastDeactivationDateBeforeDate(QXDate date) const
{
    return _previousDate(deactivationTimerKind(), deactivationTime(), date);
}

std::optional<QXDate> NPEffectGroup::_nextDate(NPEffectTimerKind kind, const QXDateComponents& time,
                                               QXDate after) const
{
    switch (kind) {
    case NPEffectTimerKind::NPEffectTimerKindTime:
        return _nextDateWithCompoments(time, after);
    case NPEffectTimerKind::NPEffectTimerKindSunrise:
        return _environment.calculator.nextSunriseAfterDate(after);
    case NPEffectTimerKind::NPEffectTimerKindSunset:
        return _environment.calculator.nextSunsetAfterDate(after);
    case NPEffectTimerKind::NPEffectTimerKindNone:
        break;
    }
    return std::nullopt;
}

std::optional<QXDate> NPEffectGroup::_previousDate(NPEffectTimerKind kind, const QXDateComponents& time,
                                                   QXDate before) const
{
    switch (kind) {
    case NPEffectTimerKind::NPEffectTimerKindTime:
        return _previousDateWithCompoments(time, before);
    case NPEffectTimerKind::NPEffectTimerKindSunrise:
        return _environment.calculator.previousSunriseBeforeDate(before);
    case NPEffectTimerKind::NPEffectTimerKindSunset:
        return _environment.calculator.previousSunsetBeforeDate(before);
    case NPEffectTimerKind::NPEffectTimerKindNone:
        break;
    }
    return std::nullopt;
}

QXDate NPEffectGroup::_nextDateWithCompoments(const QXDateComponents& components, QXDate afterDate) const
{
    QXDateComponents fields = wallClockFields(afterDate, components, _environment.timeZone);
    QXDate nextDate = QXCalendarDateFromComponents(fields, _environment.timeZone);
    if (!(nextDate > afterDate)) {
        fields.day += 1; // a calendar day, which need not have 86,400 seconds
        nextDate = QXCalendarDateFromComponents(fields, _environment.timeZone);
    }
    QXAssert(nextDate > afterDate, "[nextDate isGreaterThan:currentDate]");
    return nextDate;
}

QXDate NPEffectGroup::_previousDateWithCompoments(const QXDateComponents& components, QXDate beforeDate) const
{
    QXDateComponents fields = wallClockFields(beforeDate, components, _environment.timeZone);
    QXDate previousDate = QXCalendarDateFromComponents(fields, _environment.timeZone);
    if (!(previousDate < beforeDate)) {
        fields.day -= 1;
        previousDate = QXCalendarDateFromComponents(fields, _environment.timeZone);
    }
    QXAssert(previousDate < beforeDate, "[previousDate isLessThan:currentDate]");
    return previousDate;
}

void NPEffectGroup::autoAdjustForSunriseSunset()
{
    const QXDate now = _environment.clock.now();
    if (const std::optional<QXDate> date = upcommingActivationDateAfterDate(now)) {
        setActivationTime(QXCalendarComponentsFromDate(*date, _environment.timeZone));
    }
    if (const std::optional<QXDate> date = upcommingDeactivationDateAfterDate(now)) {
        setDeactivationTime(QXCalendarComponentsFromDate(*date, _environment.timeZone));
    }
}
