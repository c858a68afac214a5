#include "Effects/NPEffectGroup.h"

#include "Foundation/QXString.h"
#include "Support/GammaTables.h"
#include "Support/NPEngineTest.h"

#include <cmath>
#include <limits>

namespace {

class NPEffectGroupTest : public NPEngineTest {
protected:
    static std::shared_ptr<NPEffectGroup> imported(const QXDictionary& settings)
    {
        return std::make_shared<NPEffectGroup>(NPEffectEnvironment::current(), settings, true);
    }

    std::shared_ptr<NPEffectGroup> group = makeGroup();
    NPNotificationCounter changes{platform.notifications, NPEffectGroupDidChangeNotification};
};

TEST_F(NPEffectGroupTest, EmptyGroupHasTheDefaults)
{
    const NPEffectGroup fresh(NPEffectEnvironment::current());
    EXPECT_EQ(fresh.objectForKey("NPSaveFormat"), QXValue(2));
    EXPECT_EQ(fresh.identifier().size(), 36U);
    EXPECT_EQ(fresh.objectForKey("NPEffectIdentifier"), QXValue(fresh.identifier()));
    EXPECT_EQ(fresh.dictionary().dictionary()->size(), 2U);
    EXPECT_EQ(fresh.name(), "New Effect");
    EXPECT_FALSE(fresh.hasEffectSelected());
    EXPECT_EQ(fresh.activationTime().hour, 22);
    EXPECT_EQ(fresh.activationTime().minute, 0);
    EXPECT_EQ(fresh.deactivationTime().hour, 7);
    EXPECT_EQ(fresh.deactivationTime().minute, 0);
    EXPECT_EQ(fresh.activationTimerKind(), NPEffectTimerKind::NPEffectTimerKindNone);
    EXPECT_EQ(fresh.deactivationTimerKind(), NPEffectTimerKind::NPEffectTimerKindNone);
    EXPECT_EQ(fresh.manualTransitionDuration(), 0.5);
    EXPECT_EQ(fresh.timerTransitionDuration(), 2.0);
    EXPECT_EQ(fresh.hotKey(), std::nullopt);
    EXPECT_FALSE(fresh.hotKeyEnabled());
    EXPECT_FALSE(fresh.clearEffectOnOtherScreens());
    EXPECT_TRUE(fresh.affectedScreenSet().empty());
}

TEST_F(NPEffectGroupTest, NewEffectIsLocalized)
{
    QXSetStringTables([](std::string_view, std::string_view) { return std::optional<std::string>("Neu"); });
    const std::string name = group->name();
    QXSetStringTables({});
    EXPECT_EQ(name, "Neu");
}

TEST_F(NPEffectGroupTest, LoadingKeepsTheIdentifierAndImportingGivesANewOne)
{
    const QXDictionary stored{{"NPEffectIdentifier", "A"}, {"NPEffectName", "Night"}};
    const auto loaded = makeGroup(stored);
    EXPECT_EQ(loaded->identifier(), "A");
    const auto copy = imported(stored);
    EXPECT_NE(copy->identifier(), "A");
    EXPECT_EQ(copy->identifier().size(), 36U);
    EXPECT_EQ(copy->stringForKey(NPEffectIdentifierKey), copy->identifier());
    EXPECT_EQ(copy->name(), "Night");
    EXPECT_NE(imported(stored)->identifier(), copy->identifier());
}

TEST_F(NPEffectGroupTest, StoredIdentifierThatIsNoTextIsReplaced)
{
    const auto loaded = makeGroup({{"NPEffectIdentifier", 7}});
    EXPECT_EQ(loaded->identifier().size(), 36U);
    EXPECT_EQ(loaded->objectForKey(NPEffectIdentifierKey), QXValue(loaded->identifier()));
}

TEST_F(NPEffectGroupTest, SaveFormatIsAlwaysTwo)
{
    EXPECT_EQ(makeGroup({{"NPSaveFormat", 1}})->integerForKey("NPSaveFormat"), 2);
    EXPECT_EQ(imported({{"NPSaveFormat", "9"}})->integerForKey("NPSaveFormat"), 2);
}

TEST_F(NPEffectGroupTest, MakingAGroupAnnouncesNothing)
{
    makeGroup({{"NPEffectName", "Night"}});
    imported({});
    EXPECT_EQ(changes.take(), 0);
}

TEST_F(NPEffectGroupTest, UnknownKeysSurviveImportAndChanges)
{
    const QXDictionary stored{{"SomebodyElses", QXArray{1, "x"}}, {"NPEffectName", 5}};
    const auto copy = imported(stored);
    copy->setName("Night");
    const QXValue settings = copy->dictionary();
    EXPECT_EQ(settings.dictionary()->at("SomebodyElses"), QXValue(QXArray{1, "x"}));
}

TEST_F(NPEffectGroupTest, DictionaryIsACopy)
{
    const QXValue before = group->dictionary();
    group->setName("Night");
    EXPECT_FALSE(before.dictionary()->contains("NPEffectName"));
    EXPECT_EQ(group->dictionary().dictionary()->at("NPEffectName"), QXValue("Night"));
}

TEST_F(NPEffectGroupTest, SettingTheNameItHasAnnouncesNothing)
{
    group->setName("Night");
    EXPECT_EQ(changes.take(), 1);
    EXPECT_EQ(changes.lastObject(), group.get());
    group->setName("Night");
    EXPECT_EQ(changes.take(), 0);
    EXPECT_EQ(group->name(), "Night");
}

TEST_F(NPEffectGroupTest, NameThatIsNoTextReadsAsNewEffect)
{
    group->setInteger(5, NPEffectNameKey);
    EXPECT_EQ(group->name(), "New Effect");
}

TEST_F(NPEffectGroupTest, ListenersSeeTheNewValue)
{
    std::string seen;
    QXNotificationObserver observer;
    platform.notifications.addObserver(observer, std::string(NPEffectGroupDidChangeNotification), group.get(),
                                       [&](const QXNotification&) { seen = group->name(); });
    group->setName("Night");
    EXPECT_EQ(seen, "Night");
}

TEST_F(NPEffectGroupTest, ANumberEqualToTheStoredOneOfAnotherKindIsNotStored)
{
    group->setInteger(1, "UseHotKey");
    changes.take();
    group->setHotKeyEnabled(true);
    group->setFloat(1.0F, "UseHotKey");
    EXPECT_EQ(changes.take(), 0);
    EXPECT_EQ(group->objectForKey("UseHotKey")->kind(), QXValue::Kind::integer);
}

TEST_F(NPEffectGroupTest, RemovingAnnouncesOnlyWhatWasThere)
{
    group->setName("Night");
    changes.take();
    group->removeObjectForKey(NPEffectNameKey);
    EXPECT_EQ(changes.take(), 1);
    EXPECT_EQ(group->objectForKey(NPEffectNameKey), std::nullopt);
    group->removeObjectForKey(NPEffectNameKey);
    EXPECT_EQ(changes.take(), 0);
}

TEST_F(NPEffectGroupTest, GettersGiveNeutralValuesForWhatIsMissing)
{
    EXPECT_FALSE(group->boolForKey("x"));
    EXPECT_EQ(group->integerForKey("x"), 0);
    EXPECT_EQ(group->integerForKey("x", 5), 5);
    EXPECT_EQ(group->floatForKey("x"), 0.0F);
    EXPECT_EQ(group->objectForKey("x"), std::nullopt);
    EXPECT_EQ(group->arrayForKey("x"), std::nullopt);
    EXPECT_EQ(group->stringForKey("x"), std::nullopt);
}

TEST_F(NPEffectGroupTest, GettersGiveNeutralValuesForWhatIsOfAnotherKind)
{
    group->setObject("1", "text");
    group->setInteger(1, "number");
    EXPECT_FALSE(group->boolForKey("text"));
    EXPECT_EQ(group->integerForKey("text"), 0);
    EXPECT_EQ(group->integerForKey("text", 5), 5);
    EXPECT_EQ(group->floatForKey("text"), 0.0F);
    EXPECT_EQ(group->arrayForKey("text"), std::nullopt);
    EXPECT_EQ(group->stringForKey("number"), std::nullopt);
    EXPECT_EQ(group->stringForKey("text"), "1");
    group->setObject(QXArray{1}, "array");
    EXPECT_EQ(group->arrayForKey("array"), (QXArray{1}));
    EXPECT_FALSE(group->boolForKey("array"));
}

TEST_F(NPEffectGroupTest, NumbersConvertToOneAnother)
{
    group->setFloat(-2.9F, "real");
    group->setInteger(2, "integer");
    group->setBool(true, "boolean");
    group->setFloat(0.5F, "half");
    EXPECT_EQ(group->integerForKey("real"), -2);
    EXPECT_EQ(group->integerForKey("half"), 0);
    EXPECT_TRUE(group->boolForKey("half"));
    EXPECT_TRUE(group->boolForKey("integer"));
    EXPECT_EQ(group->integerForKey("boolean"), 1);
    EXPECT_EQ(group->floatForKey("boolean"), 1.0F);
    EXPECT_EQ(group->floatForKey("integer"), 2.0F);
}

TEST_F(NPEffectGroupTest, HotKeyKeepsTheLowSixteenBitsOfItsCode)
{
    group->setInteger(65585, NPHotKeyCodeKey);
    group->setInteger(0, NPHotKeyModifiersKey);
    EXPECT_EQ(group->hotKey(), (JXHotKey{49, 0}));
}

TEST_F(NPEffectGroupTest, CodeWithoutLowBitsAndWithoutModifiersIsNoHotKey)
{
    group->setInteger(65536, NPHotKeyCodeKey);
    EXPECT_EQ(group->hotKey(), std::nullopt);
    group->setInteger(1 << 20, NPHotKeyModifiersKey);
    EXPECT_EQ(group->hotKey(), (JXHotKey{0, 1U << 20U}));
}

TEST_F(NPEffectGroupTest, SettingAHotKeyAnnouncesCodeAndModifiers)
{
    group->setHotKey(JXHotKey{12, 0x8000000000100000U});
    EXPECT_EQ(changes.take(), 2);
    EXPECT_EQ(group->integerForKey(NPHotKeyCodeKey), 12);
    EXPECT_EQ(group->hotKey(), (JXHotKey{12, 0x8000000000100000U}));
}

TEST_F(NPEffectGroupTest, SettingNoHotKeyAnnouncesEachKeyThatWasThere)
{
    group->setHotKey(JXHotKey{12, 256});
    changes.take();
    group->setHotKey(std::nullopt);
    EXPECT_EQ(changes.take(), 2);
    EXPECT_EQ(group->objectForKey(NPHotKeyCodeKey), std::nullopt);
    EXPECT_EQ(group->objectForKey(NPHotKeyModifiersKey), std::nullopt);
    group->setInteger(12, NPHotKeyCodeKey);
    changes.take();
    group->setHotKey(std::nullopt);
    EXPECT_EQ(changes.take(), 1);
    group->setHotKey(std::nullopt);
    EXPECT_EQ(changes.take(), 0);
}

TEST_F(NPEffectGroupTest, UseHotKeyIsStoredAndDoesNotHideTheHotKey)
{
    group->setHotKey(JXHotKey{12, 256});
    group->setHotKeyEnabled(true);
    EXPECT_TRUE(group->hotKeyEnabled());
    group->setHotKeyEnabled(false);
    EXPECT_TRUE(group->hotKey().has_value());
}

TEST_F(NPEffectGroupTest, TimerKindOfFourOrMoreReadsAsNone)
{
    const auto kindFor = [this](const QXValue& stored) {
        group->setObject(stored, NPTimerActivationKindKey);
        return static_cast<int>(group->activationTimerKind());
    };
    EXPECT_EQ(kindFor(7), 0);
    EXPECT_EQ(group->upcommingActivationDateAfterDate(now()), std::nullopt);
    EXPECT_EQ(kindFor(4), 0);
    EXPECT_EQ(kindFor(3), 3);
    EXPECT_EQ(kindFor(-1), 0);
    EXPECT_EQ(kindFor("1"), 0);
    EXPECT_EQ(kindFor(2.9), 2);
    EXPECT_EQ(kindFor(true), 1);
}

TEST_F(NPEffectGroupTest, TimerKindTakesTheLowThirtyTwoBits)
{
    group->setInteger((std::int64_t{1} << 32) + 2, NPTimerDeactivationKindKey);
    EXPECT_EQ(group->deactivationTimerKind(), NPEffectTimerKind::NPEffectTimerKindSunrise);
}

TEST_F(NPEffectGroupTest, TimerKindsAreStoredAsIntegersUnderTheirOwnKeys)
{
    group->setActivationTimerKind(NPEffectTimerKind::NPEffectTimerKindSunset);
    group->setDeactivationTimerKind(NPEffectTimerKind::NPEffectTimerKindTime);
    EXPECT_EQ(group->objectForKey("NPTimerActivationKind"), QXValue(3));
    EXPECT_EQ(group->objectForKey("NPTimerDeactivationKind"), QXValue(1));
    EXPECT_EQ(changes.take(), 2);
}

TEST_F(NPEffectGroupTest, EnabledKeysOfTimersAreNotLookedAt)
{
    group->setBool(false, NPTimerActivationEnabledKey);
    group->setActivationTimerKind(NPEffectTimerKind::NPEffectTimerKindTime);
    EXPECT_TRUE(group->upcommingActivationDateAfterDate(now()).has_value());
}

TEST_F(NPEffectGroupTest, DurationsAreStoredInSinglePrecision)
{
    group->setManualTransitionDuration(0.1);
    group->setTimerTransitionDuration(1e300);
    EXPECT_EQ(group->objectForKey("NPManualTransitionDuration"), QXValue(static_cast<double>(0.1F)));
    EXPECT_EQ(group->manualTransitionDuration(), static_cast<double>(0.1F));
    EXPECT_TRUE(std::isinf(group->timerTransitionDuration()));
    group->setObject(0.3, NPTimerTransitionDurationKey); // a real of an edited file
    EXPECT_EQ(group->timerTransitionDuration(), static_cast<double>(0.3F));
}

TEST_F(NPEffectGroupTest, DurationOfAnotherKindIsZeroUnlikeAMissingOne)
{
    group->setObject("long", NPManualTransitionDurationKey);
    group->setObject(QXArray{}, NPTimerTransitionDurationKey);
    EXPECT_EQ(group->manualTransitionDuration(), 0.0);
    EXPECT_EQ(group->timerTransitionDuration(), 0.0);
}

TEST_F(NPEffectGroupTest, TimesOfAnotherKindAreTheDefaultsUnlikeDurations)
{
    group->setObject("8", NPTimerActivationHourKey);
    group->setObject(now(), NPTimerDeactivationHourKey);
    EXPECT_EQ(group->activationTime().hour, 22);
    EXPECT_EQ(group->deactivationTime().hour, 7);
    group->setFloat(21.9F, NPTimerActivationHourKey);
    EXPECT_EQ(group->activationTime().hour, 21);
}

TEST_F(NPEffectGroupTest, TimesThatNoClockShowsAreTheDefaults)
{
    for (const int hour : {-1, 24, 25, 99}) {
        group->setInteger(hour, NPTimerActivationHourKey);
        group->setInteger(hour, NPTimerDeactivationHourKey);
        EXPECT_EQ(group->activationTime().hour, 22) << hour;
        EXPECT_EQ(group->deactivationTime().hour, 7) << hour;
    }
    group->setInteger(23, NPTimerActivationHourKey);
    group->setInteger(60, NPTimerActivationMinuteKey);
    EXPECT_EQ(group->activationTime().hour, 23);
    EXPECT_EQ(group->activationTime().minute, 0);
    group->setInteger(59, NPTimerActivationMinuteKey);
    EXPECT_EQ(group->activationTime().minute, 59);
}

TEST_F(NPEffectGroupTest, SettingATimeAnnouncesHourThenMinute)
{
    QXDateComponents time;
    time.hour = 8;
    time.minute = 15;
    std::string seen;
    QXNotificationObserver observer;
    platform.notifications.addObserver(
        observer, std::string(NPEffectGroupDidChangeNotification), nullptr,
        [&](const QXNotification&) { seen += group->objectForKey(NPTimerActivationMinuteKey) ? 'm' : 'h'; });
    group->setActivationTime(time);
    EXPECT_EQ(seen, "hm");
    EXPECT_EQ(group->activationTime().hour, 8);
    EXPECT_EQ(group->activationTime().minute, 15);
    EXPECT_EQ(group->deactivationTime().hour, 7);
    changes.take();
    group->setDeactivationTime(time);
    EXPECT_EQ(changes.take(), 2);
    EXPECT_EQ(group->objectForKey("NPTimerDeactivationHour"), QXValue(8));
    EXPECT_EQ(group->objectForKey("NPTimerDeactivationMinute"), QXValue(15));
}

TEST_F(NPEffectGroupTest, AffectedScreensComeSortedAndAreStoredAsGiven)
{
    group->setAffectedScreenSet({3, 1, 2});
    EXPECT_EQ(changes.take(), 1);
    EXPECT_EQ(group->affectedScreenSet(), (NPDisplayList{1, 2, 3}));
    EXPECT_EQ(group->objectForKey("AffectedScreenSet"), QXValue(QXArray{3, 1, 2}));
    group->setAffectedScreenSet({4294967295U, 2.0, 10});
    EXPECT_EQ(group->affectedScreenSet(), (NPDisplayList{2, 10, 4294967295U}));
}

// 4294967297 is no display's number, and cutting it to 32 bits would make it display 1.
TEST_F(NPEffectGroupTest, NumbersThatAreNoDisplaysMatchNone)
{
    group->setAffectedScreenSet({1.5, -1, 4294967297});
    for (const NPDisplayID screen : {1U, 2U, 4294967295U}) {
        EXPECT_FALSE(group->affectsScreen(screen)) << screen;
    }
    EXPECT_EQ(group->affectedScreenSet().size(), 3U);
}

TEST_F(NPEffectGroupTest, ScreenSetWithAnythingButNumbersIsDiscardedWhole)
{
    group->setAffectedScreenSet({1, "x"});
    EXPECT_TRUE(group->affectedScreenSet().empty());
    EXPECT_TRUE(group->affectsScreen(7));
    group->setObject(1, NPAffectedScreenSetKey);
    EXPECT_TRUE(group->affectedScreenSet().empty());
}

TEST_F(NPEffectGroupTest, GroupAffectsTheScreensOfItsSetAndAllWithAnEmptyOne)
{
    EXPECT_TRUE(group->affectsScreen(5));
    group->setAffectedScreenSet({5});
    EXPECT_TRUE(group->affectsScreen(5));
    EXPECT_FALSE(group->affectsScreen(6));
}

TEST_F(NPEffectGroupTest, ClearingOtherScreensIsStoredUnderItsKey)
{
    group->setClearEffectOnOtherScreens(true);
    EXPECT_EQ(group->objectForKey("NPClearEffectOnOtherScreens"), QXValue(true));
    EXPECT_TRUE(group->clearEffectOnOtherScreens());
}

TEST_F(NPEffectGroupTest, SelectedEffectsApplyInTheirOrder)
{
    group->hdtvLuminanceEffect().setSelected(true);
    group->dimEffect().setLevel(-0.5F);
    group->invertEffect().setSelected(true);
    EXPECT_TRUE(group->hasEffectSelected());
    QXGammaTable table = QXGammaTableIdentity();
    group->applyEffectOnGammaCurve(table);
    QXGammaTable expected = QXGammaTableIdentity();
    QXGammaTableReverse(expected);
    QXGammaTableMixWithValue(expected, 0.0F, 0.5F);
    QXGammaTableScaleToRange(expected, 16.0F / 255.0F, 235.0F / 255.0F);
    EXPECT_TRUE(sameRecord(table, expected));
}

TEST_F(NPEffectGroupTest, HideStripesSeesTheInvertedTable)
{
    group->overexposureEffect().setSelected(true);
    group->invertEffect().setSelected(true);
    QXGammaTable table = QXGammaTableIdentity();
    group->applyEffectOnGammaCurve(table);
    EXPECT_EQ(bitsOf(table.redTable[255]), 0xBDCCCCCDU);
}

TEST_F(NPEffectGroupTest, GroupWithoutSelectedEffectsLeavesTheTable)
{
    group->dimEffect().setSelected(true);
    QXGammaTable table = scaledTable(0.9F);
    group->applyEffectOnGammaCurve(table);
    EXPECT_TRUE(sameRecord(table, scaledTable(0.9F)));
}

} // namespace
