// An absolute moment in time.
//
// A QXDate counts seconds, as a double, since 2001-01-01T00:00:00Z, negative before. The arithmetic of
// fades and timers is defined on exactly this representation, so it is never converted on the way to a
// store and back. "No date" is std::optional<QXDate>; optionals are never compared with <.
#pragma once

#include <compare>
#include <optional>
#include <string>
#include <string_view>

struct QXDate {
    double timeIntervalSinceReferenceDate = 0.0;

    constexpr QXDate addingTimeInterval(double seconds) const
    {
        return QXDate{timeIntervalSinceReferenceDate + seconds};
    }
    constexpr double timeIntervalSince(QXDate other) const
    {
        return timeIntervalSinceReferenceDate - other.timeIntervalSinceReferenceDate;
    }
    friend constexpr auto operator<=>(const QXDate&, const QXDate&) = default;
};

// Seconds between 1970-01-01T00:00:00Z, where Unix time begins, and the reference date.
inline constexpr double QXUnixEpochToReferenceDate = 978307200.0;

constexpr QXDate QXDateFromUnixTime(double seconds)
{
    return QXDate{seconds - QXUnixEpochToReferenceDate};
}
constexpr double QXUnixTimeFromDate(QXDate date)
{
    return date.timeIntervalSinceReferenceDate + QXUnixEpochToReferenceDate;
}

// The platform's "never": 4001-01-01T00:00:00Z.
inline constexpr QXDate QXDistantFuture{63113904000.0};

// ISO 8601 in UTC, whole seconds rounded down: "2026-11-21T22:00:00Z". A moment that no such text can
// express (not a number, or outside the years 0001 to 9999) gives "invalid date".
std::string QXDateDescription(QXDate date);

// Reads what QXDateDescription writes, and also a fraction of a second. None when the text is not a date.
std::optional<QXDate> QXDateFromDescription(std::string_view text);
