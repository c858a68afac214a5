#include "Platform/Simulated/NPSimulatedDefaults.h"

#include "Support/NPEngineTest.h"

namespace {

class NPSimulatedDefaultsTest : public testing::Test {
protected:
    NPActionLog log;
    QXNotificationCenter notifications;
    NPSimulatedDefaults defaults{log, notifications};
    NPNotificationCounter changes{notifications, NPUserDefaultsDidChangeNotification};
};

TEST_F(NPSimulatedDefaultsTest, StoredValueComesBeforeTheRegisteredOne)
{
    defaults.registerDefaults({{"a", 1}, {"b", 2}});
    defaults.setObject("x", "a");
    EXPECT_EQ(defaults.objectForKey("a"), QXValue("x"));
    EXPECT_EQ(defaults.objectForKey("b"), QXValue(2));
    EXPECT_EQ(defaults.objectForKey("c"), std::nullopt);
    EXPECT_EQ(defaults.stored(), (QXDictionary{{"a", "x"}}));
    defaults.removeObjectForKey("a");
    EXPECT_EQ(defaults.objectForKey("a"), QXValue(1));
}

TEST_F(NPSimulatedDefaultsTest, RegisteringAgainReplacesKeyByKey)
{
    defaults.registerDefaults({{"a", 1}, {"b", 2}});
    defaults.registerDefaults({{"b", 3}});
    EXPECT_EQ(defaults.integerForKey("a"), 1);
    EXPECT_EQ(defaults.integerForKey("b"), 3);
}

TEST_F(NPSimulatedDefaultsTest, RealChangesAreAnnouncedOnceEachByTheStore)
{
    defaults.setObject(1, "a");
    EXPECT_EQ(changes.take(), 1);
    EXPECT_EQ(changes.lastObject(), &defaults);
    defaults.setObject(true, "a"); // equal to what is stored
    defaults.removeObjectForKey("b");
    defaults.registerDefaults({{"c", 1}});
    EXPECT_EQ(changes.take(), 0);
    defaults.removeObjectForKey("a");
    EXPECT_EQ(changes.take(), 1);
    EXPECT_EQ(log.text(), "defaults set a\ndefaults register c\ndefaults remove a\n");
}

TEST_F(NPSimulatedDefaultsTest, ValueEqualToTheRegisteredOneIsStoredAllTheSame)
{
    defaults.registerDefaults({{"a", 1}});
    defaults.setObject(1, "a");
    EXPECT_EQ(changes.take(), 1);
    EXPECT_TRUE(defaults.stored().contains("a"));
}

TEST_F(NPSimulatedDefaultsTest, ChangeIsInForceWhenItIsAnnounced)
{
    std::optional<QXValue> seen;
    QXNotificationObserver observer;
    notifications.addObserver(observer, std::string(NPUserDefaultsDidChangeNotification), nullptr,
                              [&](const QXNotification&) { seen = defaults.objectForKey("a"); });
    defaults.setObject(7, "a");
    EXPECT_EQ(seen, QXValue(7));
    defaults.removeObjectForKey("a");
    EXPECT_EQ(seen, std::nullopt);
}

TEST_F(NPSimulatedDefaultsTest, GettersGiveNeutralValuesForWhatIsMissingOrOfAnotherKind)
{
    defaults.setObject("1", "text");
    for (const std::string_view key : {"text", "missing"}) {
        EXPECT_FALSE(defaults.boolForKey(key));
        EXPECT_EQ(defaults.integerForKey(key), 0);
        EXPECT_EQ(defaults.doubleForKey(key), 0.0);
        EXPECT_EQ(defaults.arrayForKey(key), std::nullopt);
        EXPECT_EQ(defaults.dictionaryForKey(key), std::nullopt);
    }
}

TEST_F(NPSimulatedDefaultsTest, GettersConvertNumbersAndCopyContainers)
{
    defaults.setObject(2.75, "real");
    defaults.setObject(QXArray{1, 2}, "array");
    defaults.setObject(QXDictionary{{"k", 1}}, "dictionary");
    EXPECT_TRUE(defaults.boolForKey("real"));
    EXPECT_EQ(defaults.integerForKey("real"), 2);
    EXPECT_EQ(defaults.doubleForKey("real"), 2.75);
    EXPECT_EQ(defaults.arrayForKey("array"), (QXArray{1, 2}));
    EXPECT_EQ(defaults.dictionaryForKey("dictionary"), (QXDictionary{{"k", 1}}));
    EXPECT_EQ(defaults.dictionaryForKey("array"), std::nullopt);
}

} // namespace
