// Where the sun stands, and when it rises and sets: plain functions without state.
//
// Angles are degrees, north and east positive. Days are counted in UTC: day 1 is 2000-01-01 and day 367 is
// 2001-01-01, on which QXDate's reference date begins. Good to a few minutes for the centuries around 2000,
// which is what switching a screen needs. The order of the operations fixes the results to the last bit.
#pragma once

#include <cstdint>

struct NPSunEclipticPosition {
    double longitude; // along the ecliptic
    double distance;  // from the earth, in astronomical units
};

struct NPSunEquatorialPosition {
    double rightAscension;
    double declination;
    double distance;
};

struct NPSunDay {
    double rise; // hours UTC from the beginning of the day; may lie before it or after its end
    double set;
    int status; // 0; −1 when the sun stays below the horizon all day, 1 when it stays above
};

// Both take the time as a number of days, fractions allowed.
NPSunEclipticPosition NPSunPosition(double day);
NPSunEquatorialPosition NPSunRADec(double day);

// When the sun's centre passes an altitude on a day, or with `upperLimb` the upper edge of its disc. Rise
// and set are filled in whatever the status: both are the transit when the sun stays below, and half a day
// from it when it stays above. For coordinates that are not finite they are not numbers, and status is 0.
NPSunDay NPSunRiseSet(std::int32_t day, bool upperLimb, double longitude, double latitude, double altitude);
