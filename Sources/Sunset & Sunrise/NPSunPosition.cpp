#include "Sunset & Sunrise/NPSunPosition.h"

#include <cmath>

namespace {

constexpr double radiansPerDegree = 0.017453292519943295;
constexpr double degreesPerRadian = 57.29577951308232;
constexpr double turnsPerDegree = 0.002777777777777778;

double sine(double degrees)
{
    return std::sin(degrees * radiansPerDegree);
}

double cosine(double degrees)
{
    return std::cos(degrees * radiansPerDegree);
}

double direction(double y, double x)
{
    return std::atan2(y, x) * degreesPerRadian;
}

// The same angle in 0 to 360, and in −180 to 180.
double positiveAngle(double degrees)
{
    return degrees - std::floor(degrees * turnsPerDegree) * 360.0;
}

double signedAngle(double degrees)
{
    return degrees - std::floor(degrees * turnsPerDegree + 0.5) * 360.0;
}

// The sidereal time at Greenwich when the day begins. The constants are the sun's mean longitude (mean
// anomaly and perihelion) plus half a turn, and the daily motion of the two.
double siderealTime(double day)
{
    return positiveAngle(818.9874 + 0.985647352 * day);
}

} // namespace

NPSunEclipticPosition NPSunPosition(double day)
{
    const double meanAnomaly = positiveAngle(356.047 + 0.9856002585 * day);
    const double perihelion = 282.9404 + 4.70935e-5 * day;
    const double eccentricity = 0.016709 - 1.151e-9 * day;
    // Kepler's equation in one step: the orbit is so round that another one changes nothing of use.
    const double eccentricAnomaly =
        meanAnomaly
        + eccentricity * degreesPerRadian * sine(meanAnomaly) * (1.0 + eccentricity * cosine(meanAnomaly));
    const double x = cosine(eccentricAnomaly) - eccentricity;
    const double y = std::sqrt(1.0 - eccentricity * eccentricity) * sine(eccentricAnomaly);
    const double distance = std::sqrt(x * x + y * y);
    const double longitude = direction(y, x) + perihelion;
    return {longitude >= 360.0 ? longitude - 360.0 : longitude, distance};
}

NPSunEquatorialPosition NPSunRADec(double day)
{
    const NPSunEclipticPosition sun = NPSunPosition(day);
    const double x = sun.distance * cosine(sun.longitude);
    const double inEcliptic = sun.distance * sine(sun.longitude);
    const double obliquity = 23.4393 - 3.563e-7 * day;
    const double z = inEcliptic * sine(obliquity);
    const double y = inEcliptic * cosine(obliquity);
    return {direction(y, x), direction(z, std::sqrt(x * x + y * y)), sun.distance};
}

NPSunDay NPSunRiseSet(std::int32_t day, bool upperLimb, double longitude, double latitude, double altitude)
{
    // Everything is taken at the beginning of the UTC day, not at the place's noon: that moves the times by
    // seconds only, and they are to stay as they are.
    const double dayNumber = static_cast<double>(day);
    const double localSiderealTime = positiveAngle(siderealTime(dayNumber) + 180.0 + longitude);
    const NPSunEquatorialPosition sun = NPSunRADec(dayNumber);
    const double transit = 12.0 - signedAngle(localSiderealTime - sun.rightAscension) / 15.0;

    const double apparentRadius = 0.2666 / sun.distance;
    const double horizon = upperLimb ? altitude - apparentRadius : altitude;
    const double cosineOfHalfArc =
        (sine(horizon) - sine(latitude) * sine(sun.declination)) / (cosine(latitude) * cosine(sun.declination));
    if (cosineOfHalfArc >= 1.0) {
        return {transit, transit, -1};
    }
    if (cosineOfHalfArc <= -1.0) {
        return {transit - 12.0, transit + 12.0, 1};
    }
    const double halfArc = std::acos(cosineOfHalfArc) * degreesPerRadian / 15.0;
    return {transit - halfArc, transit + halfArc, 0};
}
