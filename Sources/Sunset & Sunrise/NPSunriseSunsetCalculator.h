// When the sun rises and sets at the user's location.
//
// The location is the one that the user has confirmed, which is kept in the user defaults, and until there
// is one a coarse guess from the time zone. Every question is computed afresh. Main thread only.
#pragma once

#include "Foundation/QXDate.h"
#include "Foundation/QXNotificationCenter.h"
#include "Foundation/QXTimeZone.h"
#include "Platform/NPClock.h"
#include "Platform/NPUserDefaults.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

// Under which the confirmed location is stored, in degrees; it counts only when both are there.
inline constexpr std::string_view NPLocationLatitudeKey = "NPLocationLatitude";
inline constexpr std::string_view NPLocationLongitudeKey = "NPLocationLongitude";

// Posted with the calculator as object each time the location has been set.
inline constexpr std::string_view NPSunriseSunsetCalculatorLocationChanged =
    "NPSunriseSunsetCalculatorLocationChanged";

class NPSunriseSunsetCalculator {
public:
    // Takes the stored location, or guesses one from what the zone says at this moment. The store and the
    // centre must outlive the calculator.
    NPSunriseSunsetCalculator(NPUserDefaults& defaults, const QXTimeZone& timeZone, const NPClock& clock,
                              QXNotificationCenter& notifications);

    // The first rise or set strictly later, or the last one strictly earlier, than a date. None when there
    // is none within some days (polar day or night), when the date is not a number or millions of years
    // away, and when the location is not finite.
    std::optional<QXDate> nextSunriseAfterDate(QXDate date) const;
    std::optional<QXDate> nextSunsetAfterDate(QXDate date) const;
    std::optional<QXDate> previousSunriseBeforeDate(QXDate date) const;
    std::optional<QXDate> previousSunsetBeforeDate(QXDate date) const;

    // Degrees, taken as they are. `permanently` also stores them; otherwise they last as long as the
    // calculator does.
    void setLatitude(double latitude, double longitude, bool permanently);

    bool unknownPosition() const { return _unknownPosition; } // the location is only the guess
    double latitude() const { return _latitude; }             // degrees, north positive
    double longitude() const { return _longitude; }           // degrees, east positive
    double altitude() const { return _altitude; } // degrees above the horizon at which the sun rises and sets

private:
    using DateForDay = std::optional<QXDate> (NPSunriseSunsetCalculator::*)(std::int32_t day) const;

    void _guessLocation(const QXTimeZone& timeZone, QXDate now);
    std::optional<QXDate> _nextDate(QXDate date, DateForDay dateForDay) const;
    std::optional<QXDate> _previousDate(QXDate date, DateForDay dateForDay) const;

    // Of a day as counted in NPSunPosition.h. None when the sun does not cross the horizon on it.
    std::optional<QXDate> _sunriseDateForDay(std::int32_t day) const;
    std::optional<QXDate> _sunsetDateForDay(std::int32_t day) const;

    NPUserDefaults& _defaults;
    QXNotificationCenter& _notifications;
    bool _unknownPosition = true;
    double _latitude = 0.0;
    double _longitude = 0.0;
    double _altitude = -35.0 / 60.0; // refraction lifts the sun by 35 arc minutes
};

// The instance of the current QXSharedScope.
std::shared_ptr<NPSunriseSunsetCalculator> sharedCalculator();
