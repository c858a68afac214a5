#include "Sunset & Sunrise/NPSunriseSunsetCalculator.h"

#include "Foundation/QXAssert.h"
#include "Foundation/QXSharedScope.h"
#include "Platform/NPPlatform.h"
#include "Sunset & Sunrise/NPSunPosition.h"

#include <cmath>

namespace {

constexpr double secondsPerDay = 86400.0;
constexpr std::int32_t dayOfReferenceDate = 367;

// The days on which a search looks: from two days before the date's own to four days after it, or the other
// way round. A rise or set may belong to a neighbouring UTC day, and near the polar circles days go without.
constexpr std::int32_t daysBehind = 2;
constexpr std::int32_t daysAhead = 4;

// Far inside what a day number can count, and far outside the reach of the sun's formulas.
constexpr double farthestDate = 1e14;

// The UTC day of a date, counted from the reference date; none when it is beyond counting. Truncated toward
// zero, so that the hours before the reference date belong to day 0 as well.
std::optional<std::int32_t> dayOfDate(QXDate date)
{
    const double seconds = date.timeIntervalSinceReferenceDate;
    if (!(std::abs(seconds) <= farthestDate)) {
        return std::nullopt;
    }
    return static_cast<std::int32_t>(static_cast<std::int64_t>(seconds) / 86400);
}

// Transit is within the day and the arc to either side at most half a day. Hours outside that, or not a
// number, come of coordinates that are beyond computing with (nobody checks them) and mean no date.
std::optional<QXDate> dateOfHours(std::int32_t day, double hours)
{
    if (!(hours >= -12.0 && hours <= 36.0)) {
        return std::nullopt;
    }
    return QXDate{static_cast<double>(day - dayOfReferenceDate) * secondsPerDay + hours * 3600.0};
}

} // namespace

NPSunriseSunsetCalculator::NPSunriseSunsetCalculator(NPUserDefaults& defaults, const QXTimeZone& timeZone,
                                                     const NPClock& clock, QXNotificationCenter& notifications)
    : _defaults(defaults), _notifications(notifications)
{
    if (defaults.objectForKey(NPLocationLatitudeKey) && defaults.objectForKey(NPLocationLongitudeKey)) {
        _unknownPosition = false;
        _latitude = defaults.doubleForKey(NPLocationLatitudeKey);
        _longitude = defaults.doubleForKey(NPLocationLongitudeKey);
    } else {
        _guessLocation(timeZone, clock.now());
    }
}

// Coarse on purpose: it looks only at the daylight-saving offset in force now, so a place with daylight
// saving time is taken for a tropical one during its winter. It does until the user gives a location.
void NPSunriseSunsetCalculator::_guessLocation(const QXTimeZone& timeZone, QXDate now)
{
    const int daylightSaving = timeZone.daylightSavingTimeOffset(now);
    if (daylightSaving > 0) {
        _latitude = 40.0;
    } else if (daylightSaving < 0) {
        _latitude = -25.0;
    } else {
        _latitude = 0.0;
    }
    double turns = static_cast<double>(timeZone.secondsFromGMT(now) - daylightSaving) / secondsPerDay;
    while (turns > 0.5) {
        turns -= 1.0;
    }
    while (turns < -0.5) {
        turns += 1.0;
    }
    _longitude = turns * 360.0;
}

void NPSunriseSunsetCalculator::setLatitude(double latitude, double longitude, bool permanently)
{
    _unknownPosition = false;
    _latitude = latitude;
    _longitude = longitude;
    if (permanently) {
        _defaults.setObject(latitude, NPLocationLatitudeKey);
        _defaults.setObject(longitude, NPLocationLongitudeKey);
    }
    _notifications.postNotification(NPSunriseSunsetCalculatorLocationChanged, this);
}

std::optional<QXDate> NPSunriseSunsetCalculator::nextSunriseAfterDate(QXDate date) const
{
    return _nextDate(date, &NPSunriseSunsetCalculator::_sunriseDateForDay);
}

std::optional<QXDate> NPSunriseSunsetCalculator::nextSunsetAfterDate(QXDate date) const
{
    return _nextDate(date, &NPSunriseSunsetCalculator::_sunsetDateForDay);
}

std::optional<QXDate> NPSunriseSunsetCalculator::previousSunriseBeforeDate(QXDate date) const
{
    return _previousDate(date, &NPSunriseSunsetCalculator::_sunriseDateForDay);
}

std::optional<QXDate> NPSunriseSunsetCalculator::previousSunsetBeforeDate(QXDate date) const
{
    return _previousDate(date, &NPSunriseSunsetCalculator::_sunsetDateForDay);
}

// Near longitude 180 transit passes from one end of the UTC day to the other once or twice a year, and with
// it the searches skip a rise or see one twice. That is how the days are counted, and stays so.
std::optional<QXDate> NPSunriseSunsetCalculator::_nextDate(QXDate date, DateForDay dateForDay) const
{
    const std::optional<std::int32_t> dateDay = dayOfDate(date);
    if (!dateDay) {
        return std::nullopt;
    }
    const std::int32_t today = dayOfReferenceDate + *dateDay;
    std::optional<QXDate> candidate;
    for (std::int32_t day = today - daysBehind; day <= today + daysAhead; ++day) {
        candidate = (this->*dateForDay)(day);
        if (candidate && *candidate > date) {
            return candidate;
        }
    }
    QXAssert(!candidate.has_value(), "date == nil"); // the last day lies wholly after the date
    return std::nullopt;
}

std::optional<QXDate> NPSunriseSunsetCalculator::_previousDate(QXDate date, DateForDay dateForDay) const
{
    const std::optional<std::int32_t> dateDay = dayOfDate(date);
    if (!dateDay) {
        return std::nullopt;
    }
    const std::int32_t today = dayOfReferenceDate + *dateDay;
    std::optional<QXDate> candidate;
    for (std::int32_t day = today + daysBehind; day >= today - daysAhead; --day) {
        candidate = (this->*dateForDay)(day);
        if (candidate && *candidate < date) {
            return candidate;
        }
    }
    QXAssert(!candidate.has_value(), "date == nil"); // the last day lies wholly before the date
    return std::nullopt;
}

std::optional<QXDate> NPSunriseSunsetCalculator::_sunriseDateForDay(std::int32_t day) const
{
    const NPSunDay sun = NPSunRiseSet(day, true, _longitude, _latitude, _altitude);
    return sun.status == 0 ? dateOfHours(day, sun.rise) : std::nullopt;
}

std::optional<QXDate> NPSunriseSunsetCalculator::_sunsetDateForDay(std::int32_t day) const
{
    const NPSunDay sun = NPSunRiseSet(day, true, _longitude, _latitude, _altitude);
    return sun.status == 0 ? dateOfHours(day, sun.set) : std::nullopt;
}

std::shared_ptr<NPSunriseSunsetCalculator> sharedCalculator()
{
    return QXSharedScope::current().instance<NPSunriseSunsetCalculator>([] {
        const NPPlatform& platform = NPCurrentPlatform();
        return std::make_shared<NPSunriseSunsetCalculator>(platform.defaults, platform.timeZones.systemTimeZone(),
                                                           platform.clock, platform.notifications);
    });
}
