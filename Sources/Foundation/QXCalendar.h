// The ISO 8601 (proleptic Gregorian) calendar: moments in time to wall-clock fields and back.
#pragma once

#include "Foundation/QXDate.h"
#include "Foundation/QXTimeZone.h"

#include <cstdint>

struct QXDateComponents {
    std::int64_t year = 2001;
    std::int64_t month = 1;
    std::int64_t day = 1;
    std::int64_t hour = 0;
    std::int64_t minute = 0;
    std::int64_t second = 0;
    std::int64_t nanosecond = 0;

    friend bool operator==(const QXDateComponents&, const QXDateComponents&) = default;
};

// Days from 1970-01-01 to the given day of the proleptic Gregorian calendar. The month must be 1 to 12;
// the day may lie outside its month.
std::int64_t QXDaysFromCivil(std::int64_t year, int month, std::int64_t day);

// The wall-clock fields of a moment in a zone. A moment more than three million years away, or not a number,
// counts as one at that distance.
QXDateComponents QXCalendarComponentsFromDate(QXDate date, const QXTimeZone& zone);

// The moment that the fields name in a zone. Fields outside their range carry over (day 0 is the last of
// the month before, hour 25 is one o'clock of the next day). A wall-clock time that the zone skips moves
// forward by what was skipped; one that occurs twice means its first occurrence. Fields beyond a million
// million are not expected.
QXDate QXCalendarDateFromComponents(const QXDateComponents& components, const QXTimeZone& zone);
