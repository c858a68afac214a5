#include "Sunset & Sunrise/NPSunPosition.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

// The expected numbers come from a second implementation of the same formulas, in another language. What
// remains between the two is the last digit of the sines.

namespace {

constexpr double horizon = -35.0 / 60.0;

struct Position {
    double day;
    double longitude;
    double rightAscension;
    double declination;
    double distance;
};

constexpr Position positions[] = {
    {0.0, 278.852616040844, -80.365508129054, -23.143712932513, 0.983332112169594},
    {200.0, 115.689480865988, 117.668283728722, 21.005564650794, 1.016283633874832},
    {367.0, 280.643638185690, -78.423903507217, -23.012470390727, 0.983304600141280},
    {9125.5, 273.177884699962, -86.537049472323, -23.397860795589, 0.983556424234829},
    {-24500.0, 249.616955290973, -112.048172149940, -21.900849513247, 0.985754071515643},
    {60000.0, 19.732436530425, 18.218724721144, 7.711509025157, 1.000875136318424},
};

struct Day {
    std::int32_t day;
    double longitude;
    double latitude;
    double rise;
    double set;
    int status;
};

constexpr Day days[] = {
    {1, 0.0, 0.0, 5.98920490740, 18.11303836774, 0},
    {367, 0.0, 0.0, 5.99518499556, 18.11896411228, 0},
    {9125, -0.1278, 51.5074, 8.08232501803, 15.91985968577, 0},
    {8950, 13.405, 52.52, 2.81007996407, 19.53900039491, 0},
    {8836, -78.4678, -0.1807, 11.34434476745, 23.45987479648, 0},
    {9020, 151.2093, -33.8688, -3.98284329479, 7.72094618115, 0},
    {-10000, -149.9003, 61.2181, 14.07503319566, 30.06769048841, 0},
    {60000, -70.0, -53.0, 11.28647119922, 22.09888943027, 0},
    {36526, 18.9553, 69.6492, 10.78933119639, 10.78933119639, -1},
    {722, 0.0, 80.0, 11.97337658087, 11.97337658087, -1},
    {539, 0.0, 80.0, 0.03151036215, 24.03151036215, 1},
    {539, 0.0, -80.0, 12.03151036215, 12.03151036215, -1},
};

} // namespace

TEST(NPSunPosition, GivesTheSunsPlaceOnTheEcliptic)
{
    for (const Position& expected : positions) {
        const NPSunEclipticPosition sun = NPSunPosition(expected.day);
        EXPECT_NEAR(sun.longitude, expected.longitude, 1e-9) << "day " << expected.day;
        EXPECT_NEAR(sun.distance, expected.distance, 1e-12) << "day " << expected.day;
    }
}

TEST(NPSunRADec, GivesRightAscensionAndDeclination)
{
    for (const Position& expected : positions) {
        const NPSunEquatorialPosition sun = NPSunRADec(expected.day);
        EXPECT_NEAR(sun.rightAscension, expected.rightAscension, 1e-9) << "day " << expected.day;
        EXPECT_NEAR(sun.declination, expected.declination, 1e-9) << "day " << expected.day;
        EXPECT_NEAR(sun.distance, expected.distance, 1e-12) << "day " << expected.day;
    }
}

TEST(NPSunRiseSet, GivesTheHoursAndTheStatusOfADay)
{
    for (const Day& expected : days) {
        const NPSunDay sun = NPSunRiseSet(expected.day, true, expected.longitude, expected.latitude, horizon);
        EXPECT_NEAR(sun.rise, expected.rise, 1e-8) << "day " << expected.day;
        EXPECT_NEAR(sun.set, expected.set, 1e-8) << "day " << expected.day;
        EXPECT_EQ(sun.status, expected.status) << "day " << expected.day;
    }
}

TEST(NPSunRiseSet, RisesBeforeSixAtTheOriginOnTheFirstDayOf2001)
{
    const NPSunDay sun = NPSunRiseSet(367, true, 0.0, 0.0, horizon);
    EXPECT_EQ(sun.status, 0);
    EXPECT_NEAR(sun.rise, 5.99518, 5e-6);
    EXPECT_NEAR(sun.set, 18.11896, 5e-6);
    EXPECT_NEAR((sun.rise + sun.set) / 2.0, 12.05707, 5e-6);
}

TEST(NPSunRiseSet, RisesLaterAndSetsEarlierForTheCentreThanForTheUpperLimb)
{
    const NPSunDay centre = NPSunRiseSet(8950, false, 13.405, 52.52, horizon);
    EXPECT_NEAR(centre.rise, 2.84826642823, 1e-8);
    EXPECT_NEAR(centre.set, 19.50081393075, 1e-8);
}

TEST(NPSunRiseSet, GivesTheTransitTwiceWhileTheSunStaysBelow)
{
    const NPSunDay sun = NPSunRiseSet(722, true, 0.0, 80.0, horizon);
    EXPECT_EQ(sun.status, -1);
    EXPECT_EQ(sun.rise, sun.set);
}

TEST(NPSunRiseSet, GivesAWholeDayWhileTheSunStaysAbove)
{
    const NPSunDay sun = NPSunRiseSet(539, true, 0.0, 80.0, horizon);
    EXPECT_EQ(sun.status, 1);
    EXPECT_NEAR(sun.set - sun.rise, 24.0, 1e-12);
}

TEST(NPSunRiseSet, GivesHoursOutsideTheDayFarFromGreenwich)
{
    EXPECT_LT(NPSunRiseSet(9020, true, 151.2093, -33.8688, horizon).rise, 0.0);
    EXPECT_GT(NPSunRiseSet(-10000, true, -149.9003, 61.2181, horizon).set, 24.0);
}

TEST(NPSunRiseSet, GivesNotANumberForCoordinatesThatAreNotFinite)
{
    const double nothing = std::numeric_limits<double>::quiet_NaN();
    const NPSunDay sun = NPSunRiseSet(367, true, 0.0, nothing, horizon);
    EXPECT_EQ(sun.status, 0);
    EXPECT_TRUE(std::isnan(sun.rise));
    EXPECT_TRUE(std::isnan(sun.set));
}
