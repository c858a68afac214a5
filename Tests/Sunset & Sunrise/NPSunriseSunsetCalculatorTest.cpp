#include "Sunset & Sunrise/NPSunriseSunsetCalculator.h"

#include "Foundation/QXSharedScope.h"
#include "Platform/Simulated/NPSimulatedPlatform.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

constexpr double day = 86400.0;

// Standard time at first and another offset from a moment on.
class ChangingZone final : public QXTimeZone {
public:
    ChangingZone(int standard, int daylightSaving, QXDate change = QXDate{0.0})
        : _standard(standard), _daylightSaving(daylightSaving), _change(change)
    {
    }
    int secondsFromGMT(QXDate at) const override { return _standard + daylightSavingTimeOffset(at); }
    int daylightSavingTimeOffset(QXDate at) const override { return at < _change ? 0 : _daylightSaving; }

private:
    int _standard;
    int _daylightSaving;
    QXDate _change;
};

class NPSunriseSunsetCalculatorTest : public testing::Test {
protected:
    NPSunriseSunsetCalculator calculator(const QXTimeZone& zone)
    {
        return {platform.defaults, zone, platform.clock, platform.notifications};
    }
    NPSunriseSunsetCalculator calculator() { return calculator(QXFixedTimeZone()); }
    NPSunriseSunsetCalculator calculatorAt(double latitude, double longitude)
    {
        NPSunriseSunsetCalculator made = calculator();
        made.setLatitude(latitude, longitude, false);
        return made;
    }

    NPSimulatedPlatform platform;
};

double seconds(std::optional<QXDate> date)
{
    return date ? date->timeIntervalSinceReferenceDate : std::numeric_limits<double>::quiet_NaN();
}

QXDate at(std::string_view text)
{
    return QXDateFromDescription(text).value();
}

} // namespace

// Location

TEST_F(NPSunriseSunsetCalculatorTest, TakesTheStoredLocation)
{
    platform.defaults.setObject(52.52, NPLocationLatitudeKey);
    platform.defaults.setObject(13.405, NPLocationLongitudeKey);
    const NPSunriseSunsetCalculator sun = calculator(ChangingZone(3600, 3600));
    EXPECT_FALSE(sun.unknownPosition());
    EXPECT_EQ(sun.latitude(), 52.52);
    EXPECT_EQ(sun.longitude(), 13.405);
}

TEST_F(NPSunriseSunsetCalculatorTest, TakesTheSunAtMinus35ArcMinutesForRising)
{
    EXPECT_EQ(calculator().altitude(), -0.5833333333333334);
}

TEST_F(NPSunriseSunsetCalculatorTest, GuessesWhenOnlyOneCoordinateIsStored)
{
    platform.defaults.setObject(52.52, NPLocationLatitudeKey);
    const NPSunriseSunsetCalculator sun = calculator();
    EXPECT_TRUE(sun.unknownPosition());
    EXPECT_EQ(sun.latitude(), 0.0);
}

TEST_F(NPSunriseSunsetCalculatorTest, ReadsAStoredCoordinateOfAnotherKindAsZero)
{
    platform.defaults.setObject("north", NPLocationLatitudeKey);
    platform.defaults.setObject(13, NPLocationLongitudeKey);
    const NPSunriseSunsetCalculator sun = calculator(ChangingZone(3600, 3600));
    EXPECT_FALSE(sun.unknownPosition());
    EXPECT_EQ(sun.latitude(), 0.0);
    EXPECT_EQ(sun.longitude(), 13.0);
}

TEST_F(NPSunriseSunsetCalculatorTest, GuessesTheLongitudeFromTheStandardOffset)
{
    struct Guess {
        int standard;
        double longitude;
    };
    constexpr Guess guesses[] = {
        {0, 0.0},        {3600, 15.0},    {20700, 86.25},  {39600, 165.0},   {43200, 180.0},   {46800, -165.0},
        {50400, -150.0}, {-18000, -75.0}, {-12600, -52.5}, {-39600, -165.0}, {-43200, -180.0},
    };
    for (const Guess& guess : guesses) {
        for (const int daylightSaving : {0, 3600, -3600, 1800}) {
            const NPSunriseSunsetCalculator sun = calculator(ChangingZone(guess.standard, daylightSaving));
            EXPECT_TRUE(sun.unknownPosition());
            EXPECT_NEAR(sun.longitude(), guess.longitude, 1e-9) << guess.standard << ' ' << daylightSaving;
        }
    }
}

TEST_F(NPSunriseSunsetCalculatorTest, GuessesExactly180ForTwelveHours)
{
    EXPECT_EQ(calculator(QXFixedTimeZone(43200)).longitude(), 180.0);
    EXPECT_EQ(calculator(QXFixedTimeZone(-43200)).longitude(), -180.0);
}

TEST_F(NPSunriseSunsetCalculatorTest, GuessesLatitude40WhileDaylightSavingIsAhead)
{
    EXPECT_EQ(calculator(ChangingZone(3600, 3600)).latitude(), 40.0);
    EXPECT_EQ(calculator(ChangingZone(36000, 3600)).latitude(), 40.0); // the south, too: only the sign counts
}

TEST_F(NPSunriseSunsetCalculatorTest, GuessesLatitudeMinus25WhileDaylightSavingIsBehind)
{
    const NPSunriseSunsetCalculator sun = calculator(ChangingZone(3600, -3600));
    EXPECT_EQ(sun.latitude(), -25.0);
    EXPECT_EQ(sun.longitude(), 15.0);
}

TEST_F(NPSunriseSunsetCalculatorTest, GuessesFromTheOffsetInForceNow)
{
    const ChangingZone zone(3600, 3600, QXDate{0.5 * day});
    EXPECT_EQ(calculator(zone).latitude(), 0.0);
    platform.clock.advance(day);
    EXPECT_EQ(calculator(zone).latitude(), 40.0);
}

TEST_F(NPSunriseSunsetCalculatorTest, AnswersFromTheGuess)
{
    const NPSunriseSunsetCalculator sun = calculator(QXFixedTimeZone());
    EXPECT_NEAR(seconds(sun.nextSunriseAfterDate(QXDate{0.0})), 5.99518499556 * 3600.0, 1e-3);
}

TEST_F(NPSunriseSunsetCalculatorTest, StoresALocationThatIsSetPermanently)
{
    calculator().setLatitude(-33.87, 151.21, true);
    EXPECT_EQ(platform.defaults.doubleForKey(NPLocationLatitudeKey), -33.87);
    EXPECT_EQ(platform.defaults.doubleForKey(NPLocationLongitudeKey), 151.21);
    const NPSunriseSunsetCalculator restarted = calculator();
    EXPECT_FALSE(restarted.unknownPosition());
    EXPECT_EQ(restarted.latitude(), -33.87);
    EXPECT_EQ(restarted.longitude(), 151.21);
}

TEST_F(NPSunriseSunsetCalculatorTest, LeavesTheStoreAloneWhenALocationIsSetForNow)
{
    platform.defaults.setObject(52.52, NPLocationLatitudeKey);
    platform.defaults.setObject(13.405, NPLocationLongitudeKey);
    platform.log.clear();
    NPSunriseSunsetCalculator sun = calculator();
    sun.setLatitude(1.0, 2.0, false);
    EXPECT_EQ(sun.latitude(), 1.0);
    EXPECT_EQ(sun.longitude(), 2.0);
    EXPECT_EQ(platform.log.text(), "");
    EXPECT_EQ(calculator().latitude(), 52.52);
}

TEST_F(NPSunriseSunsetCalculatorTest, ReturnsToTheGuessAfterALocationForNow)
{
    calculator().setLatitude(1.0, 2.0, false);
    const NPSunriseSunsetCalculator restarted = calculator(QXFixedTimeZone(3600));
    EXPECT_TRUE(restarted.unknownPosition());
    EXPECT_EQ(restarted.longitude(), 15.0);
}

TEST_F(NPSunriseSunsetCalculatorTest, KnowsThePositionOnceOneIsSet)
{
    NPSunriseSunsetCalculator sun = calculator();
    sun.setLatitude(0.0, 0.0, false);
    EXPECT_FALSE(sun.unknownPosition());
}

TEST_F(NPSunriseSunsetCalculatorTest, AnnouncesEveryLocationThatIsSet)
{
    NPSunriseSunsetCalculator sun = calculator();
    int posts = 0;
    QXNotificationObserver observer;
    platform.notifications.addObserver(observer, "NPSunriseSunsetCalculatorLocationChanged", &sun,
                                       [&](const QXNotification&) { ++posts; });
    sun.setLatitude(1.0, 2.0, false);
    sun.setLatitude(1.0, 2.0, true);
    sun.setLatitude(1.0, 2.0, true);
    EXPECT_EQ(posts, 3);
}

TEST_F(NPSunriseSunsetCalculatorTest, HasStoredTheLocationWhenItIsAnnounced)
{
    NPSunriseSunsetCalculator sun = calculator();
    QXNotificationObserver observer;
    platform.notifications.addObserver(
        observer, std::string(NPSunriseSunsetCalculatorLocationChanged), nullptr,
        [&](const QXNotification&) { platform.log.add("announced " + std::to_string(sun.latitude())); });
    sun.setLatitude(1.0, 2.0, true);
    EXPECT_EQ(platform.log.text(), "defaults set NPLocationLatitude\n"
                                   "defaults set NPLocationLongitude\n"
                                   "announced 1.000000\n");
}

// Searches

TEST_F(NPSunriseSunsetCalculatorTest, FindsTheNeighboursOfADate)
{
    const NPSunriseSunsetCalculator sun = calculatorAt(52.52, 13.405);
    const QXDate noon = at("2024-01-01T12:00:00Z");
    EXPECT_NEAR(seconds(sun.nextSunriseAfterDate(noon)), 725872618.192, 1e-2);
    EXPECT_NEAR(seconds(sun.nextSunsetAfterDate(noon)), 725814112.326, 1e-2);
    EXPECT_NEAR(seconds(sun.previousSunriseBeforeDate(noon)), 725786224.652, 1e-2);
    EXPECT_NEAR(seconds(sun.previousSunsetBeforeDate(noon)), 725727652.044, 1e-2);
}

TEST_F(NPSunriseSunsetCalculatorTest, FindsTheNeighboursOfADateBeforeTheReferenceDate)
{
    const NPSunriseSunsetCalculator sun = calculatorAt(52.52, 13.405);
    EXPECT_NEAR(seconds(sun.nextSunriseAfterDate(QXDate{-1.0})), 26225.752, 1e-2);
    EXPECT_NEAR(seconds(sun.nextSunsetAfterDate(QXDate{-1.0})), 54150.785, 1e-2);
    EXPECT_NEAR(seconds(sun.previousSunriseBeforeDate(QXDate{-1.0})), -60169.259, 1e-2);
    EXPECT_NEAR(seconds(sun.previousSunsetBeforeDate(QXDate{-1.0})), -32311.243, 1e-2);
}

// 2³¹ seconds after the reference date is 2069-01-19, and as many before it is 1932-12-13.
TEST_F(NPSunriseSunsetCalculatorTest, FindsTheNeighboursOfADateThat32BitsOfSecondsCannotCount)
{
    const NPSunriseSunsetCalculator sun = calculatorAt(52.52, 13.405);
    const QXDate overflow = at("2069-01-19T12:00:00Z");
    EXPECT_NEAR(seconds(sun.nextSunriseAfterDate(overflow)), 2147583849.493, 1e-2);
    EXPECT_NEAR(seconds(sun.nextSunsetAfterDate(overflow)), 2147527724.518, 1e-2);
    EXPECT_NEAR(seconds(sun.previousSunriseBeforeDate(overflow)), 2147497516.974, 1e-2);
    EXPECT_NEAR(seconds(sun.previousSunsetBeforeDate(overflow)), 2147441222.791, 1e-2);
    EXPECT_NEAR(seconds(sun.nextSunriseAfterDate(at("2100-07-01T12:00:00Z"))), 3139872514.564, 1e-2);
    EXPECT_NEAR(seconds(sun.previousSunsetBeforeDate(at("2999-12-31T00:00:00Z"))), 31525253927.457, 1e-2);
    EXPECT_NEAR(seconds(sun.nextSunriseAfterDate(at("1932-12-01T00:00:00Z"))), -2148570379.477, 1e-2);
    EXPECT_NEAR(seconds(sun.previousSunsetBeforeDate(at("1900-03-01T12:00:00Z"))), -3182224704.082, 1e-2);
}

TEST_F(NPSunriseSunsetCalculatorTest, FindsTheFollowingSunriseWhenGivenASunrise)
{
    const NPSunriseSunsetCalculator sun = calculatorAt(52.52, 13.405);
    const QXDate sunrise = sun.nextSunriseAfterDate(at("2024-01-01T00:00:00Z")).value();
    EXPECT_NEAR(sun.nextSunriseAfterDate(sunrise)->timeIntervalSince(sunrise), day, 120.0);
    EXPECT_NEAR(sun.previousSunriseBeforeDate(sunrise)->timeIntervalSince(sunrise), -day, 120.0);
}

TEST_F(NPSunriseSunsetCalculatorTest, FindsTheFollowingSunsetWhenGivenASunset)
{
    const NPSunriseSunsetCalculator sun = calculatorAt(52.52, 13.405);
    const QXDate sunset = sun.nextSunsetAfterDate(at("2024-01-01T00:00:00Z")).value();
    EXPECT_NEAR(sun.nextSunsetAfterDate(sunset)->timeIntervalSince(sunset), day, 120.0);
    EXPECT_NEAR(sun.previousSunsetBeforeDate(sunset)->timeIntervalSince(sunset), -day, 120.0);
}

TEST_F(NPSunriseSunsetCalculatorTest, FindsASunriseFromTheInstantBeforeIt)
{
    const NPSunriseSunsetCalculator sun = calculatorAt(-33.8688, 151.2093);
    const QXDate sunrise = sun.nextSunriseAfterDate(at("2024-06-01T00:00:00Z")).value();
    EXPECT_EQ(sun.nextSunriseAfterDate(sunrise.addingTimeInterval(-1e-6)), sunrise);
    EXPECT_EQ(sun.previousSunriseBeforeDate(sunrise.addingTimeInterval(1e-6)), sunrise);
}

TEST_F(NPSunriseSunsetCalculatorTest, FindsNoneInThePolarNight)
{
    const NPSunriseSunsetCalculator sun = calculatorAt(80.0, 0.0);
    const QXDate midwinter = at("2001-12-22T12:00:00Z");
    EXPECT_EQ(sun.nextSunriseAfterDate(midwinter), std::nullopt);
    EXPECT_EQ(sun.nextSunsetAfterDate(midwinter), std::nullopt);
    EXPECT_EQ(sun.previousSunriseBeforeDate(midwinter), std::nullopt);
    EXPECT_EQ(sun.previousSunsetBeforeDate(midwinter), std::nullopt);
}

TEST_F(NPSunriseSunsetCalculatorTest, FindsNoneUnderTheMidnightSun)
{
    const NPSunriseSunsetCalculator sun = calculatorAt(80.0, 0.0);
    const QXDate midsummer = at("2001-06-22T12:00:00Z");
    EXPECT_EQ(sun.nextSunriseAfterDate(midsummer), std::nullopt);
    EXPECT_EQ(sun.nextSunsetAfterDate(midsummer), std::nullopt);
    EXPECT_EQ(sun.previousSunriseBeforeDate(midsummer), std::nullopt);
    EXPECT_EQ(sun.previousSunsetBeforeDate(midsummer), std::nullopt);
}

// The first sunrise after the polar night of Tromsø is that of 16 January 2024.
TEST_F(NPSunriseSunsetCalculatorTest, LooksFourDaysAheadOfTheDatesOwn)
{
    const NPSunriseSunsetCalculator sun = calculatorAt(69.6492, 18.9553);
    EXPECT_EQ(sun.nextSunriseAfterDate(at("2024-01-11T23:59:59Z")), std::nullopt);
    EXPECT_NEAR(seconds(sun.nextSunriseAfterDate(at("2024-01-12T00:00:00Z"))), 727093543.633, 1e-2);
}

// On the far side of the reference date a day runs from one midnight, exclusive, to the next, inclusive, so
// that the searches reach a day further ahead and a day less back than on the near side.
TEST_F(NPSunriseSunsetCalculatorTest, CountsDaysTowardZeroBeforeTheReferenceDate)
{
    const NPSunriseSunsetCalculator sun = calculatorAt(72.0, 20.0);
    EXPECT_NEAR(seconds(sun.nextSunriseAfterDate(QXDate{-13262400.5})), -12875869.296, 1e-2);
    EXPECT_EQ(sun.previousSunriseBeforeDate(QXDate{-3585600.5}), std::nullopt);
}

// West of Greenwich a day's sunset lies on the next UTC day; together with the above it may belong to the day
// before yesterday.
TEST_F(NPSunriseSunsetCalculatorTest, LooksTwoDaysBehindTheDatesOwn)
{
    const NPSunriseSunsetCalculator sun = calculatorAt(61.2181, -149.9003);
    EXPECT_NEAR(seconds(sun.nextSunsetAfterDate(QXDate{-86399.0})), -83434.126, 1e-2);
}

// Near longitude 180 transit wanders over the end of the UTC day. When it leaves one day for the next, a
// sunrise falls between the two, and when it comes back, both days have it.
TEST_F(NPSunriseSunsetCalculatorTest, SkipsAndDoublesASunriseNearLongitude180)
{
    const NPSunriseSunsetCalculator sun = calculatorAt(0.0, 180.0);
    int skipped = 0;
    int doubled = 0;
    QXDate date = at("2024-01-01T00:00:00Z");
    while (date < at("2025-01-01T00:00:00Z")) {
        const QXDate next = sun.nextSunriseAfterDate(date).value();
        ASSERT_GT(next, date);
        const double gap = next.timeIntervalSince(date);
        skipped += gap > 1.9 * day && gap < 2.1 * day ? 1 : 0;
        doubled += gap < 60.0 ? 1 : 0;
        date = next;
    }
    EXPECT_EQ(skipped, 2);
    EXPECT_EQ(doubled, 2);
}

TEST_F(NPSunriseSunsetCalculatorTest, HasASunriseEveryDayAwayFromLongitude180)
{
    for (const double longitude : {-175.0, -90.0, 0.0, 90.0, 175.0}) {
        const NPSunriseSunsetCalculator sun = calculatorAt(40.0, longitude);
        QXDate date = sun.nextSunriseAfterDate(at("2024-01-01T00:00:00Z")).value();
        while (date < at("2025-01-01T00:00:00Z")) {
            const QXDate next = sun.nextSunriseAfterDate(date).value();
            ASSERT_GT(next, date);
            EXPECT_NEAR(next.timeIntervalSince(date), day, 150.0) << longitude;
            EXPECT_EQ(sun.previousSunriseBeforeDate(next), date) << longitude;
            date = next;
        }
    }
}

TEST_F(NPSunriseSunsetCalculatorTest, FindsNoneForADateThatIsNoDate)
{
    const NPSunriseSunsetCalculator sun = calculatorAt(52.52, 13.405);
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (const double date : {std::numeric_limits<double>::quiet_NaN(), infinity, -infinity, 1e300, -1e300, 1e19,
                              -1e19, 9.2e18, 1.1e14, -1.1e14, 9.9e13, -9.9e13}) {
        EXPECT_EQ(sun.nextSunriseAfterDate(QXDate{date}), std::nullopt) << date;
        EXPECT_EQ(sun.nextSunsetAfterDate(QXDate{date}), std::nullopt) << date;
        EXPECT_EQ(sun.previousSunriseBeforeDate(QXDate{date}), std::nullopt) << date;
        EXPECT_EQ(sun.previousSunsetBeforeDate(QXDate{date}), std::nullopt) << date;
    }
}

TEST_F(NPSunriseSunsetCalculatorTest, FindsNoneAtALocationThatIsNotFinite)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const double nothing = std::numeric_limits<double>::quiet_NaN();
    const QXDate date = at("2024-01-01T12:00:00Z");
    for (const double longitude : {nothing, infinity, -infinity}) {
        const NPSunriseSunsetCalculator sun = calculatorAt(52.52, longitude);
        EXPECT_EQ(sun.nextSunriseAfterDate(date), std::nullopt) << longitude;
        EXPECT_EQ(sun.previousSunsetBeforeDate(date), std::nullopt) << longitude;
    }
    for (const double latitude : {nothing, infinity, -infinity}) {
        const NPSunriseSunsetCalculator sun = calculatorAt(latitude, 13.405);
        EXPECT_EQ(sun.nextSunriseAfterDate(date), std::nullopt) << latitude;
        EXPECT_EQ(sun.previousSunsetBeforeDate(date), std::nullopt) << latitude;
    }
}

// So far out that reducing the angle loses it: the hours come out beyond any day.
TEST_F(NPSunriseSunsetCalculatorTest, FindsNoneWhereTheHoursAreBeyondTheDay)
{
    const NPSunriseSunsetCalculator sun = calculatorAt(52.52, -1.3308828555237194e34);
    EXPECT_EQ(sun.nextSunriseAfterDate(at("2024-03-13T12:00:00Z")), std::nullopt);
}

TEST_F(NPSunriseSunsetCalculatorTest, NeverStopsTheProgramWhateverTheLocation)
{
    const QXDate date = at("2024-03-20T12:00:00Z");
    for (const double latitude : {-90.0, -66.56, 0.0, 66.56, 90.0, 91.0, 270.0, 1e9}) {
        for (const double longitude : {-180.0, 180.0, 359.9, 540.0, -1e9, 1e15, 1e17, 1e20, 1e300}) {
            const NPSunriseSunsetCalculator sun = calculatorAt(latitude, longitude);
            const std::optional<QXDate> next = sun.nextSunriseAfterDate(date);
            const std::optional<QXDate> previous = sun.previousSunsetBeforeDate(date);
            EXPECT_TRUE(!next || *next > date) << latitude << ' ' << longitude;
            EXPECT_TRUE(!previous || *previous < date) << latitude << ' ' << longitude;
        }
    }
}

TEST_F(NPSunriseSunsetCalculatorTest, IsOneInstancePerScope)
{
    const QXSharedScope scope;
    platform.timeZones.setSystemTimeZone(std::make_shared<QXFixedTimeZone>(7200));
    NPInstallPlatform(platform.services());
    const std::shared_ptr<NPSunriseSunsetCalculator> shared = sharedCalculator();
    EXPECT_EQ(shared, sharedCalculator());
    EXPECT_EQ(shared->longitude(), 30.0);
}
