#include "Screens/NPScreenState.h"

#include "Support/NPEngineTest.h"

namespace {

const QXDate before = dateOf("2026-02-01T00:00:00Z");
const QXDate later = dateOf("2026-02-02T00:00:00.25Z");

QXDictionary entry(std::string_view group, bool active, QXDate date)
{
    return {{"GroupIdentifier", group}, {"Active", active}, {"Date", date}};
}

class NPScreenStateTest : public NPEngineTest {
protected:
    void store(QXDictionary state) { platform.defaults.setObject(std::move(state), "ScreenState"); }
    std::optional<QXValue> stored() const { return platform.defaults.objectForKey("ScreenState"); }
    std::optional<NPScreenStateEntry> stateOf(NPDisplayID screen) const
    {
        return NPScreenStateForScreen(platform.defaults, screen);
    }
    void remember(std::string_view group, bool active, QXDate date, const NPDisplayList& screens)
    {
        NPRememberScreenState(platform.defaults, {std::string(group), active, date}, screens);
    }
    void forgetUnlisted(const NPDisplayList& screens)
    {
        NPForgetScreenStateOfUnlistedScreens(platform.defaults, screens);
    }
};

TEST_F(NPScreenStateTest, NothingStoredIsNoState)
{
    EXPECT_FALSE(stateOf(1).has_value());
    platform.defaults.setObject("text", "ScreenState");
    EXPECT_FALSE(stateOf(1).has_value());
}

TEST_F(NPScreenStateTest, OwnEntryComesBeforeTheOneForAllScreens)
{
    store({{"AllScreens", entry("A", true, before)}, {"7", entry("B", false, later)}});
    EXPECT_EQ(stateOf(7)->groupIdentifier, "B");
    EXPECT_FALSE(stateOf(7)->active);
    EXPECT_EQ(stateOf(7)->date, later);
    EXPECT_EQ(stateOf(8)->groupIdentifier, "A");
    EXPECT_TRUE(stateOf(8)->active);
}

TEST_F(NPScreenStateTest, KeyIsTheUnsignedNumber)
{
    store({{"4294967295", entry("A", true, before)}});
    EXPECT_TRUE(stateOf(4294967295U).has_value());
}

TEST_F(NPScreenStateTest, InvalidOwnEntryIsNoStateEvenWithOneForAllScreens)
{
    for (const QXValue& own : {QXValue(5), QXValue(QXDictionary{})}) {
        store({{"AllScreens", entry("A", true, before)}, {"7", own}});
        EXPECT_FALSE(stateOf(7).has_value());
    }
}

TEST_F(NPScreenStateTest, EntryCountsOnlyWithEveryValueOfItsKind)
{
    const std::pair<std::string, QXValue> wrong[] = {
        {"GroupIdentifier", 5}, {"Active", "yes"}, {"Date", 5.0}, {"Date", "2026-02-01T00:00:00Z"}};
    for (const auto& [key, value] : wrong) {
        QXDictionary mistyped = entry("A", true, before);
        mistyped.insert_or_assign(key, value);
        store({{"7", mistyped}});
        EXPECT_FALSE(stateOf(7).has_value()) << key;
        mistyped.erase(key);
        store({{"7", mistyped}});
        EXPECT_FALSE(stateOf(7).has_value()) << key;
    }
}

TEST_F(NPScreenStateTest, ActiveIsAnyNumberButZero)
{
    for (const auto& [number, active] : {std::pair(QXValue(2), true), std::pair(QXValue(0.5), true),
                                         std::pair(QXValue(0), false), std::pair(QXValue(0.0), false)}) {
        QXDictionary numbered = entry("A", true, before);
        numbered.insert_or_assign("Active", number);
        store({{"7", numbered}});
        EXPECT_EQ(stateOf(7)->active, active);
    }
}

TEST_F(NPScreenStateTest, ActivatingOnAllScreensDropsEveryOtherEntry)
{
    store({{"1", entry("H", true, before)}, {"2", entry("H", false, before)}});
    remember("G", true, later, {});
    EXPECT_EQ(stored(), QXValue(QXDictionary{{"AllScreens", entry("G", true, later)}}));
}

TEST_F(NPScreenStateTest, DeactivatingOnAllScreensOverwritesEveryEntryWhoeverWroteIt)
{
    store({{"AllScreens", entry("G", true, before)}, {"1", entry("H", true, before)}, {"2", "broken"}});
    remember("G", false, later, {});
    const QXDictionary off = entry("G", false, later);
    EXPECT_EQ(stored(), QXValue(QXDictionary{{"AllScreens", off}, {"1", off}, {"2", off}}));
}

TEST_F(NPScreenStateTest, DeactivatingOnAllScreensRecordsNothingWhereNothingIs)
{
    remember("G", false, later, {});
    EXPECT_EQ(stored(), QXValue(QXDictionary{}));
    EXPECT_FALSE(stateOf(1).has_value());
}

TEST_F(NPScreenStateTest, ListedScreensAreWrittenAndTheOthersKept)
{
    store({{"AllScreens", entry("H", true, before)}, {"1", entry("H", true, before)}});
    remember("G", true, later, {1, 3});
    const QXDictionary on = entry("G", true, later);
    EXPECT_EQ(stored(), QXValue(QXDictionary{{"AllScreens", entry("H", true, before)}, {"1", on}, {"3", on}}));
}

TEST_F(NPScreenStateTest, StateThatIsNoDictionaryIsReplaced)
{
    platform.defaults.setObject(5, "ScreenState");
    remember("G", false, later, {1});
    EXPECT_EQ(stored(), QXValue(QXDictionary{{"1", entry("G", false, later)}}));
}

TEST_F(NPScreenStateTest, DatesAreExactToTheBit)
{
    const QXDate odd{798595200.12345678};
    remember("G", true, odd, {1});
    EXPECT_EQ(stateOf(1)->date, odd);
}

TEST_F(NPScreenStateTest, ForgettingKeepsTheListedScreensAlone)
{
    const QXDictionary on = entry("H", true, before);
    store({{"1", on}, {"2", on}, {"3", on}});
    forgetUnlisted({2, 9});
    EXPECT_EQ(stored(), QXValue(QXDictionary{{"2", on}}));
}

TEST_F(NPScreenStateTest, ForgettingTakesTheKeyForAllScreensAsZero)
{
    const QXDictionary on = entry("H", true, before);
    store({{"AllScreens", on}, {"2", on}});
    forgetUnlisted({0, 2});
    EXPECT_EQ(stored(), QXValue(QXDictionary{{"AllScreens", on}, {"2", on}}));
    forgetUnlisted({2});
    EXPECT_EQ(stored(), QXValue(QXDictionary{{"2", on}}));
}

TEST_F(NPScreenStateTest, ForgettingWithAnEmptyListStoresAnEmptyState)
{
    store({{"1", entry("H", true, before)}});
    forgetUnlisted({});
    EXPECT_EQ(stored(), QXValue(QXDictionary{}));
}

TEST_F(NPScreenStateTest, ForgettingWithoutAStateStoresNothing)
{
    forgetUnlisted({2});
    EXPECT_EQ(stored(), std::nullopt);
}

} // namespace
