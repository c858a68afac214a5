#include "Foundation/QXCalendar.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr std::int64_t secondsPerDay = 86400;

std::int64_t floorDivide(std::int64_t value, std::int64_t divisor)
{
    const std::int64_t quotient = value / divisor;
    return quotient - (value % divisor < 0 ? 1 : 0);
}

double limited(double seconds)
{
    constexpr double limit = 1e14;
    return seconds > -limit ? std::min(seconds, limit) : -limit; // not a number: the lower one
}

// Year, month and day of a day count since 1970-01-01, through years that begin in March, so that the
// leap day comes last.
void civilFromDays(std::int64_t days, QXDateComponents& components)
{
    const std::int64_t shifted = days + 719468; // 0000-03-01
    const std::int64_t era = floorDivide(shifted, 146097);
    const std::int64_t dayOfEra = shifted - era * 146097;
    const std::int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::int64_t monthFromMarch = (5 * dayOfYear + 2) / 153;
    components.day = dayOfYear - (153 * monthFromMarch + 2) / 5 + 1;
    components.month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
    components.year = yearOfEra + era * 400 + (components.month <= 2 ? 1 : 0);
}

QXDate dateFromUnixSeconds(std::int64_t seconds)
{
    return QXDateFromUnixTime(static_cast<double>(seconds));
}

// The Unix time at which the zone's wall clock first shows the given local time (local seconds counted as
// if they were UTC). The offsets a day before and a day after bracket any change that can matter.
std::int64_t unixSecondsFromLocal(std::int64_t local, const QXTimeZone& zone)
{
    const int before = zone.secondsFromGMT(dateFromUnixSeconds(local - secondsPerDay));
    const int after = zone.secondsFromGMT(dateFromUnixSeconds(local + secondsPerDay));
    if (before == after && zone.secondsFromGMT(dateFromUnixSeconds(local - before)) == before) {
        return local - before;
    }
    const std::int64_t early = local - before;
    const std::int64_t late = local - after;
    const bool earlyHolds = zone.secondsFromGMT(dateFromUnixSeconds(early)) == before;
    const bool lateHolds = zone.secondsFromGMT(dateFromUnixSeconds(late)) == after;
    if (!earlyHolds && lateHolds) {
        return late;
    }
    return early; // in a gap this is the skipped time moved forward by the gap
}

} // namespace

std::int64_t QXDaysFromCivil(std::int64_t year, int month, std::int64_t day)
{
    const std::int64_t yearFromMarch = year - (month <= 2 ? 1 : 0);
    const std::int64_t era = floorDivide(yearFromMarch, 400);
    const std::int64_t yearOfEra = yearFromMarch - era * 400;
    const std::int64_t dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5;
    const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468 + day - 1;
}

QXDateComponents QXCalendarComponentsFromDate(QXDate date, const QXTimeZone& zone)
{
    const double seconds = limited(date.timeIntervalSinceReferenceDate);
    const double wholeSeconds = std::floor(seconds);
    const double fraction = seconds - wholeSeconds;
    const std::int64_t local =
        static_cast<std::int64_t>(wholeSeconds + QXUnixEpochToReferenceDate) + zone.secondsFromGMT(date);
    const std::int64_t days = floorDivide(local, secondsPerDay);
    const std::int64_t secondOfDay = local - days * secondsPerDay;

    QXDateComponents components;
    civilFromDays(days, components);
    components.hour = secondOfDay / 3600;
    components.minute = secondOfDay / 60 % 60;
    components.second = secondOfDay % 60;
    components.nanosecond = static_cast<std::int64_t>(fraction * 1e9);
    return components;
}

QXDate QXCalendarDateFromComponents(const QXDateComponents& components, const QXTimeZone& zone)
{
    const std::int64_t monthFromJanuary = components.month - 1;
    const std::int64_t year = components.year + floorDivide(monthFromJanuary, 12);
    const int month = static_cast<int>(monthFromJanuary - floorDivide(monthFromJanuary, 12) * 12) + 1;
    const std::int64_t local = QXDaysFromCivil(year, month, components.day) * secondsPerDay
                               + components.hour * 3600 + components.minute * 60 + components.second;
    const QXDate whole = dateFromUnixSeconds(unixSecondsFromLocal(local, zone));
    return whole.addingTimeInterval(static_cast<double>(components.nanosecond) / 1e9);
}
