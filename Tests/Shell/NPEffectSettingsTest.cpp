#include "Shell/NPEffectSettings.h"
#include "Support/NPEngineTest.h"

#include <gtest/gtest.h>

namespace {

class NPEffectSettingsTest : public NPEngineTest {
protected:
    std::string errorOf(const NPControlSettings& settings)
    {
        const auto result = NPApplyEffectSettings(*group, settings, {101, 102});
        if (result) {
            return "";
        }
        EXPECT_TRUE(result.error().misuse);
        return result.error().message;
    }

    std::string described(const std::string& key) { return NPEffectSettingsOfGroup(*group).at(key); }

    std::shared_ptr<NPEffectGroup> group = makeGroup();
};

TEST_F(NPEffectSettingsTest, DescribesTheDefaultsOfAnEmptyGroup)
{
    const NPControlSettings expected{{"name", "New Effect"}, {"invert", "off"},       {"hide-stripes", "off"},
                                     {"hdtv", "off"},        {"clear-others", "off"}, {"dim", "off"},
                                     {"hue", "30"},          {"vividness", "off"},    {"activate", "off"},
                                     {"deactivate", "off"},  {"manual-fade", "0.5"},  {"timed-fade", "2"},
                                     {"hotkey", "none"},     {"screens", "all"}};
    EXPECT_EQ(NPEffectSettingsOfGroup(*group), expected);
}

TEST_F(NPEffectSettingsTest, EveryDescriptionCanBeSetAgain)
{
    ASSERT_EQ(errorOf({{"name", "Night"},
                       {"invert", "on"},
                       {"hide-stripes", "on"},
                       {"hdtv", "on"},
                       {"clear-others", "on"},
                       {"dim", "30%"},
                       {"hue", "45.5"},
                       {"vividness", "0.4"},
                       {"activate", "sunset"},
                       {"deactivate", "6:05"},
                       {"manual-fade", "1.25"},
                       {"timed-fade", "60"},
                       {"screens", "2,1"},
                       {"hotkey", "shift+super+f5"}}),
              "");
    const NPControlSettings settings = NPEffectSettingsOfGroup(*group);
    EXPECT_EQ(settings.at("deactivate"), "06:05");
    EXPECT_EQ(settings.at("screens"), "101,102");
    const auto copy = makeGroup();
    ASSERT_TRUE(NPApplyEffectSettings(*copy, settings, {}));
    EXPECT_EQ(NPEffectSettingsOfGroup(*copy), settings);
}

TEST_F(NPEffectSettingsTest, DimIsStoredAsANegativeLevelAndSelectsTheEffect)
{
    ASSERT_EQ(errorOf({{"dim", "30%"}}), "");
    EXPECT_EQ(group->dimEffect().level(), -0.3F);
    EXPECT_TRUE(group->dimEffect().isSelected());
    EXPECT_EQ(described("dim"), "30%");
    ASSERT_EQ(errorOf({{"dim", "off"}}), "");
    EXPECT_FALSE(group->dimEffect().isSelected());
    EXPECT_EQ(described("dim"), "off");
}

TEST_F(NPEffectSettingsTest, DimThatWouldLeaveTheScreenDarkIsRefused)
{
    EXPECT_EQ(errorOf({{"dim", "95%"}}), "");
    for (const std::string text : {"96%", "1", "100%", "-0.3", "nan", "inf", "", "%", "30 %", "0x1"}) {
        EXPECT_NE(errorOf({{"dim", text}}), "") << text;
    }
    EXPECT_EQ(described("dim"), "95%");
}

TEST_F(NPEffectSettingsTest, AnEditedLevelIsShownAsItIs)
{
    group->setBool(true, "Dim");
    group->setFloat(-1.2F, "DimLevel");
    EXPECT_EQ(described("dim"), "120%");
}

TEST_F(NPEffectSettingsTest, AWrongSettingChangesNothingAtAll)
{
    EXPECT_EQ(errorOf({{"dim", "50%"}, {"hue", "400"}}), "setting 'hue': '400' is not degrees from 0 to 360");
    EXPECT_EQ(described("dim"), "off");
}

TEST_F(NPEffectSettingsTest, AnUnknownSettingIsNamed)
{
    EXPECT_EQ(errorOf({{"brightness", "1"}}), "there is no setting 'brightness'");
}

TEST_F(NPEffectSettingsTest, TimesOutsideTheClockAreRefused)
{
    for (const std::string text : {"24:00", "12:60", "1200", "12:0", ":30", "012:00", "noon", "-1:00", ""}) {
        EXPECT_NE(errorOf({{"activate", text}}), "") << text;
    }
    EXPECT_EQ(group->activationTimerKind(), NPEffectTimerKind::NPEffectTimerKindNone);
}

TEST_F(NPEffectSettingsTest, SwitchingATimerOffKeepsItsTime)
{
    ASSERT_EQ(errorOf({{"activate", "21:15"}}), "");
    ASSERT_EQ(errorOf({{"activate", "off"}}), "");
    EXPECT_EQ(group->activationTimerKind(), NPEffectTimerKind::NPEffectTimerKindNone);
    EXPECT_EQ(group->activationTime().hour, 21);
    EXPECT_EQ(group->activationTime().minute, 15);
}

TEST_F(NPEffectSettingsTest, SmallNumbersAreOnlinePositionsAndLargeOnesIdentifiers)
{
    ASSERT_EQ(errorOf({{"screens", "2,4000000000"}}), "");
    EXPECT_EQ(group->affectedScreenSet(), (NPDisplayList{102, 4000000000}));
    ASSERT_EQ(errorOf({{"screens", "1,1,101"}}), "");
    EXPECT_EQ(group->affectedScreenSet(), NPDisplayList{101});
    for (const std::string text : {"3", "0", "", "1,", ",1", "x", "4294967296", "-1"}) {
        EXPECT_NE(errorOf({{"screens", text}}), "") << text;
    }
    ASSERT_EQ(errorOf({{"screens", "all"}}), "");
    EXPECT_TRUE(group->affectedScreenSet().empty());
}

TEST_F(NPEffectSettingsTest, FadesAreSecondsWithinAnHour)
{
    ASSERT_EQ(errorOf({{"manual-fade", "0"}, {"timed-fade", "3600"}}), "");
    EXPECT_EQ(group->manualTransitionDuration(), 0.0);
    EXPECT_EQ(group->timerTransitionDuration(), 3600.0);
    EXPECT_NE(errorOf({{"manual-fade", "3601"}}), "");
    EXPECT_NE(errorOf({{"manual-fade", "-1"}}), "");
    EXPECT_NE(errorOf({{"manual-fade", "nan"}}), "");
}

TEST_F(NPEffectSettingsTest, HotKeyIsSetInWords)
{
    ASSERT_EQ(errorOf({{"hotkey", "Ctrl+Alt+D"}}), "");
    EXPECT_EQ(group->hotKey(), JXHotKey(2, NPControlFlag | NPOptionFlag));
    EXPECT_EQ(described("hotkey"), "ctrl+alt+d");
    ASSERT_EQ(errorOf({{"hotkey", "none"}}), "");
    EXPECT_EQ(group->hotKey(), std::nullopt);
    EXPECT_EQ(described("hotkey"), "none");
}

TEST_F(NPEffectSettingsTest, HotKeyThatIsNoneChangesNothingAndIsExplained)
{
    EXPECT_EQ(errorOf({{"hotkey", "ctl+d"}}),
              "setting 'hotkey': 'ctl+d' is not a combination such as ctrl+alt+d, or none (there is no modifier "
              "\"ctl\")");
    EXPECT_EQ(group->hotKey(), std::nullopt);
}

} // namespace
