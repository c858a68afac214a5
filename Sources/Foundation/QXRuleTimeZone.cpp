#include "Foundation/QXRuleTimeZone.h"

#include "Foundation/QXCalendar.h"

#include <algorithm>
#include <cmath>
#include <span>

namespace {

constexpr int secondsPerHour = 3600;
constexpr std::int64_t secondsPerDay = 86400;

// Moments further away than this many seconds, some 30,000 years, have standard time.
constexpr double furthest = 1e12;

bool isLeapYear(std::int64_t year)
{
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

// The day (since 1970) of the w-th weekday of a month; the fifth is the last, be it the fourth.
std::int64_t dayOfMonthWeek(std::int64_t year, int month, int week, int weekday)
{
    const std::int64_t first = QXDaysFromCivil(year, month, 1);
    const std::int64_t next = month == 12 ? QXDaysFromCivil(year + 1, 1, 1) : QXDaysFromCivil(year, month + 1, 1);
    const std::int64_t weekdayOfFirst = ((first + 4) % 7 + 7) % 7; // 1970-01-01 was a Thursday
    const std::int64_t day = first + (weekday - weekdayOfFirst + 7) % 7 + std::int64_t{7} * (week - 1);
    return day < next ? day : day - 7;
}

} // namespace

// Reads a rule text from its beginning to its end. Each step answers whether the text goes on as it should.
class QXRuleTimeZoneReader {
public:
    explicit QXRuleTimeZoneReader(std::string_view text) : _rest(text) {}

    bool read(QXRuleTimeZone& zone)
    {
        if (!_readName() || !_readOffset(zone._standardOffset)) {
            return false;
        }
        zone._hasDaylight = !_rest.empty();
        return !zone._hasDaylight || _readDaylight(zone);
    }

private:
    using Rule = QXRuleTimeZone::Rule;

    bool _readDaylight(QXRuleTimeZone& zone)
    {
        if (!_readName()) {
            return false;
        }
        zone._daylightOffset = zone._standardOffset + secondsPerHour;
        const bool offsetFollows = !_rest.empty() && _rest.front() != ',';
        return (!offsetFollows || _readOffset(zone._daylightOffset)) && _readRule(zone._daylightBegin)
               && _readRule(zone._daylightEnd) && _rest.empty();
    }

    // At least three letters, or in angle brackets at least three letters, digits and signs.
    bool _readName()
    {
        const bool quoted = _take('<');
        const auto belongs = [quoted](char c) {
            const bool letter = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
            return letter || (quoted && ((c >= '0' && c <= '9') || c == '+' || c == '-'));
        };
        const auto length = std::ranges::find_if_not(_rest, belongs) - _rest.begin();
        _rest.remove_prefix(static_cast<std::size_t>(length));
        return length >= 3 && (!quoted || _take('>'));
    }

    // Written as hours west of GMT.
    bool _readOffset(int& secondsEast)
    {
        int seconds = 0;
        if (!_readTime(24, seconds)) {
            return false;
        }
        secondsEast = -seconds;
        return true;
    }

    bool _readRule(Rule& rule)
    {
        return _take(',') && _readDay(rule) && (!_take('/') || _readTime(167, rule.secondOfDay));
    }

    bool _readDay(Rule& rule)
    {
        if (_take('M')) {
            rule.kind = Rule::Day::ofMonthWeek;
            return _readNumber(1, 12, rule.month) && _take('.') && _readNumber(1, 5, rule.week) && _take('.')
                   && _readNumber(0, 6, rule.day);
        }
        if (_take('J')) {
            rule.kind = Rule::Day::ofYearWithoutLeapDay;
            return _readNumber(1, 365, rule.day);
        }
        rule.kind = Rule::Day::ofYear;
        return _readNumber(0, 365, rule.day);
    }

    // [+|-] hours [: minutes [: seconds]]
    bool _readTime(int mostHours, int& seconds)
    {
        const bool negative = _take('-');
        if (!negative) {
            _take('+');
        }
        int hour = 0;
        int minute = 0;
        int second = 0;
        if (!_readNumber(0, mostHours, hour)) {
            return false;
        }
        if (_take(':') && (!_readNumber(0, 59, minute) || (_take(':') && !_readNumber(0, 59, second)))) {
            return false;
        }
        const int magnitude = hour * secondsPerHour + minute * 60 + second;
        seconds = negative ? -magnitude : magnitude;
        return true;
    }

    // One to three digits.
    bool _readNumber(int least, int most, int& number)
    {
        int value = 0;
        int digits = 0;
        while (!_rest.empty() && _rest.front() >= '0' && _rest.front() <= '9' && ++digits <= 3) {
            value = value * 10 + (_rest.front() - '0');
            _rest.remove_prefix(1);
        }
        number = value;
        return digits >= 1 && digits <= 3 && value >= least && value <= most;
    }

    bool _take(char c)
    {
        const bool there = _rest.starts_with(c);
        _rest.remove_prefix(there ? 1 : 0);
        return there;
    }

    std::string_view _rest;
};

std::optional<QXRuleTimeZone> QXRuleTimeZone::timeZoneWithRule(std::string_view text)
{
    std::optional<QXRuleTimeZone> zone(std::in_place);
    if (!QXRuleTimeZoneReader(text).read(*zone)) {
        zone.reset();
    }
    return zone;
}

int QXRuleTimeZone::secondsFromGMT(QXDate at) const
{
    return _isDaylight(at) ? _daylightOffset : _standardOffset;
}

int QXRuleTimeZone::daylightSavingTimeOffset(QXDate at) const
{
    return _isDaylight(at) ? _daylightOffset - _standardOffset : 0;
}

bool QXRuleTimeZone::_isDaylight(QXDate at) const
{
    const double seconds = std::floor(QXUnixTimeFromDate(at));
    if (!_hasDaylight || !(std::fabs(seconds) < furthest)) {
        return false;
    }
    const auto moment = static_cast<std::int64_t>(seconds);
    if (moment < _year.begin || moment >= _year.end) {
        _rememberYear(QXCalendarComponentsFromDate(at, QXFixedTimeZone()).year);
    }
    bool daylight = _year.daylightAtBegin;
    for (const Year::Change& change : std::span(_year.changes).first(_year.changeCount)) {
        if (moment < change.at) {
            break;
        }
        daylight = change.toDaylight;
    }
    return daylight;
}

// With the neighbouring years' changes, because a time of day before or after its day's midnight, and the
// offset itself, may carry a change across the turn of the year.
void QXRuleTimeZone::_rememberYear(std::int64_t year) const
{
    std::array<Year::Change, 6> changes{};
    for (std::size_t i = 0; i < changes.size(); i += 2) {
        const std::int64_t each = year - 1 + static_cast<std::int64_t>(i / 2);
        changes[i] = {_moment(_daylightBegin, each, _standardOffset), true};
        changes[i + 1] = {_moment(_daylightEnd, each, _daylightOffset), false};
    }
    // Where daylight-saving time ends at the moment at which it begins again, it goes on.
    std::ranges::sort(changes, [](const Year::Change& left, const Year::Change& right) {
        return left.at != right.at ? left.at < right.at : !left.toDaylight && right.toDaylight;
    });

    _year = Year{};
    _year.begin = QXDaysFromCivil(year, 1, 1) * secondsPerDay;
    _year.end = QXDaysFromCivil(year + 1, 1, 1) * secondsPerDay;
    for (const Year::Change& change : changes) {
        if (change.at <= _year.begin) {
            _year.daylightAtBegin = change.toDaylight;
        } else if (change.at < _year.end) {
            _year.changes[_year.changeCount++] = change;
        }
    }
}

std::int64_t QXRuleTimeZone::_moment(const Rule& rule, std::int64_t year, int offset)
{
    std::int64_t day = QXDaysFromCivil(year, 1, 1) + rule.day;
    if (rule.kind == Rule::Day::ofMonthWeek) {
        day = dayOfMonthWeek(year, rule.month, rule.week, rule.day);
    } else if (rule.kind == Rule::Day::ofYearWithoutLeapDay) {
        constexpr int lastOfFebruary = 59;
        day += isLeapYear(year) && rule.day > lastOfFebruary ? 0 : -1;
    }
    return day * secondsPerDay + rule.secondOfDay - offset;
}
