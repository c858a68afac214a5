// A time zone given by a rule text, the form in which POSIX names zones: one pair of rules for all years.
#pragma once

#include "Foundation/QXTimeZone.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

// Reads texts like these:
//
//     CET-1CEST,M3.5.0,M10.5.0/3          one hour ahead of GMT; from the last Sunday of March, two
//     <+1030>-10:30<+11>-11,M10.1.0,M4.1.0  the year begins in daylight-saving time, which adds 30 minutes
//     IST-1GMT0,M10.5.0,M3.5.0/1          the rule is written for winter, whose share is then negative
//     <+0545>-5:45                        no daylight-saving time
//
// An offset counts west of GMT, 0 to 24 hours; the daylight-saving offset is one hour further east when it is
// left out. A day is Mm.w.d (the w-th weekday d of month m, 5 for the last, Sunday 0), Jn (1 to 365, without
// 29 February) or n (0 to 365, with it); a time of day is local, 2:00 when left out, and may lie up to 167
// hours before or after the day's midnight.
//
// A query costs no allocation and, after the first of its calendar year (GMT), some comparisons. Main thread
// only: queries remember the year.
class QXRuleTimeZone final : public QXTimeZone {
public:
    // None when the text is not as described, or names a daylight-saving time but not its two days.
    static std::optional<QXRuleTimeZone> timeZoneWithRule(std::string_view text);

    int secondsFromGMT(QXDate at) const override;
    int daylightSavingTimeOffset(QXDate at) const override;

private:
    friend class QXRuleTimeZoneReader;

    // When a change happens each year.
    struct Rule {
        enum class Day { ofMonthWeek, ofYearWithoutLeapDay, ofYear };
        Day kind = Day::ofMonthWeek;
        int month = 1;
        int week = 1;
        int day = 0;
        int secondOfDay = 7200;
    };
    // The moments (Unix time) at which the offset changes within one calendar year, earliest first.
    struct Year {
        struct Change {
            std::int64_t at;
            bool toDaylight;
        };
        std::int64_t begin = 0;
        std::int64_t end = 0; // begin == end: no year yet
        bool daylightAtBegin = false;
        std::array<Change, 6> changes{};
        std::size_t changeCount = 0;
    };

    bool _isDaylight(QXDate at) const;
    void _rememberYear(std::int64_t year) const;
    static std::int64_t _moment(const Rule& rule, std::int64_t year, int offset);

    int _standardOffset = 0; // seconds east of GMT
    int _daylightOffset = 0;
    bool _hasDaylight = false;
    Rule _daylightBegin;
    Rule _daylightEnd;
    mutable Year _year;
};
