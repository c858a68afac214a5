#include "Shell/NPLocalControl.h"
#include "Foundation/QXPropertyList.h"
#include "Screens/NPScreenManager.h"
#include "Support/NPEngineTest.h"

#include <gtest/gtest.h>

namespace {

// Two screens, 101 "Left" and 102 "Right", and one control that no engine runs behind.
class NPLocalControlTest : public NPEngineTest {
protected:
    NPLocalControlTest()
    {
        platform.displays.plug({.identifier = 101, .name = "Left"});
        platform.displays.plug({.identifier = 102, .name = "Right"});
    }

    NPLocalControl& control()
    {
        if (!_control) {
            _control = std::make_unique<NPLocalControl>(platform.services(), *sharedEffectManager(),
                                                        *sharedScreenManager(), *sharedCalculator(),
                                                        NPProcessDescription{"1.2.3", "simulated", 42, true});
        }
        return *_control;
    }

    float white(NPDisplayID display) { return platform.displays.display(display)->table.redTable[255]; }

    static std::string text(const QXValue& dictionary, std::string_view key)
    {
        const QXValue* value = QXDictionaryValue(*dictionary.dictionary(), key);
        return value && value->string() ? *value->string() : "";
    }

private:
    std::unique_ptr<NPLocalControl> _control;
};

TEST_F(NPLocalControlTest, ActivatingShowsTheEffectAndSwitchesOn)
{
    ASSERT_TRUE(control().addEffect("Night", {{"dim", "50%"}}));
    ASSERT_TRUE(control().activate("Night", "none"));
    EXPECT_EQ(white(101), 0.5F);
    EXPECT_TRUE(platform.defaults.boolForKey("EffectActive"));
    EXPECT_EQ(text(control().effects()->back(), "state"), "on");
    EXPECT_EQ(text(control().screens()->front(), "effect"), "Night");
}

TEST_F(NPLocalControlTest, SwitchingOffGivesTheScreensBackAndRemembersWhatWasOn)
{
    ASSERT_TRUE(control().addEffect("Night", {{"dim", "50%"}, {"manual-fade", "0"}}));
    ASSERT_TRUE(control().activate("Night", "none"));
    ASSERT_TRUE(control().setEffectActive(false));
    EXPECT_EQ(white(101), 1.0F);
    ASSERT_TRUE(control().setEffectActive(true));
    EXPECT_EQ(white(101), 0.5F);
}

TEST_F(NPLocalControlTest, TogglingTwiceLeavesTheSwitchOn)
{
    ASSERT_TRUE(control().addEffect("Night", {{"dim", "50%"}}));
    ASSERT_TRUE(control().toggle("Night", "none"));
    EXPECT_EQ(white(102), 0.5F);
    ASSERT_TRUE(control().toggle("Night", "none"));
    EXPECT_EQ(white(102), 1.0F);
    EXPECT_TRUE(platform.defaults.boolForKey("EffectActive"));
}

TEST_F(NPLocalControlTest, UnknownFadesAreMisuseAndUnknownEffectsAreNot)
{
    EXPECT_TRUE(control().activate("Default Effect", "slow").error().misuse);
    EXPECT_FALSE(control().activate("Nothing", "none").error().misuse);
    EXPECT_EQ(control().activate("Nothing", "none").error().message, "there is no effect 'Nothing'");
}

TEST_F(NPLocalControlTest, EffectsAreFoundByIdentifierThenNameThenNameInAnotherCase)
{
    const std::string identifier = control().addEffect("Night", {}).value();
    ASSERT_TRUE(control().addEffect("night", {}));
    EXPECT_TRUE(control().renameEffect(identifier, "Evening"));
    EXPECT_TRUE(control().renameEffect("EVENING", "Dusk"));
    ASSERT_TRUE(control().addEffect("Dusk", {}));
    EXPECT_EQ(control().renameEffect("Dusk", "x").error().message,
              "several effects are named 'Dusk'; use an identifier");
    EXPECT_TRUE(control().renameEffect(identifier, "Night again"));
}

TEST_F(NPLocalControlTest, ANewEffectWithAWrongSettingIsNotAdded)
{
    EXPECT_FALSE(control().addEffect("Night", {{"dim", "200%"}}));
    EXPECT_FALSE(control().addEffect("", {}));
    EXPECT_EQ(control().effects()->size(), 1U);
}

TEST_F(NPLocalControlTest, ExportedEffectsImportWithAnotherIdentifierAndKeepUnknownKeys)
{
    const auto unknown =
        sharedEffectManager()->addGroupWithDictionary({{"Vendor", "kept"}, {"NPEffectName", "A"}});
    const QXData file = control().exportEffect("A").value();
    const std::string imported = control().importEffect(file).value();
    EXPECT_NE(imported, unknown->identifier());
    EXPECT_EQ(sharedEffectManager()->groupWithIdentifier(imported)->stringForKey("Vendor"), "kept");
}

TEST_F(NPLocalControlTest, WhatIsNoEffectFileIsRefusedInOneLine)
{
    for (const std::string content : {"", "garbage", "<plist><array/></plist>", "bplist00"}) {
        const auto result = control().importEffect(QXData(content.begin(), content.end()));
        ASSERT_FALSE(result) << content;
        EXPECT_TRUE(result.error().message.starts_with("not an effect file: ")) << result.error().message;
        EXPECT_EQ(result.error().message.find('\n'), std::string::npos);
    }
    EXPECT_EQ(control().effects()->size(), 1U);
}

TEST_F(NPLocalControlTest, AFileTooDeepToBeSavedWithTheSettingsIsNotImported)
{
    const auto nested = [](std::size_t depth) {
        QXValue value(1);
        for (std::size_t i = 0; i < depth; ++i) {
            value = QXArray{value};
        }
        return QXPropertyListBinaryData(QXDictionary{{"Vendor", value}}).value();
    };
    EXPECT_TRUE(control().importEffect(nested(20)));
    EXPECT_FALSE(control().importEffect(nested(40)));
}

TEST_F(NPLocalControlTest, RemovingAnEffectThatIsOnClearsItFromTheScreens)
{
    ASSERT_TRUE(control().addEffect("Night", {{"dim", "50%"}, {"manual-fade", "0"}}));
    ASSERT_TRUE(control().activate("Night", "none"));
    ASSERT_TRUE(control().removeEffect("Night"));
    EXPECT_EQ(white(101), 1.0F);
    EXPECT_EQ(control().removeEffect("Default Effect").error().message, "the last effect cannot be removed");
}

// A stranger's file must not blacken the screen on which it could be undone.
TEST_F(NPLocalControlTest, ImportedNumbersComeToWhereTheSlidersEnd)
{
    const QXDictionary hostile{{"NPEffectName", "Black"}, {"Dim", true},
                               {"DimLevel", -50.0},       {"ColorFilter", true},
                               {"ColorFilterHue", -30.0}, {"ColorFilterVividness", 7},
                               {"Unknown", "kept"}};
    ASSERT_TRUE(control().importEffect(QXPropertyListXMLData(hostile).value()));
    const QXValue effect = control().effects()->back();
    const QXValue* settings = QXDictionaryValue(*effect.dictionary(), "settings");
    EXPECT_EQ(text(*settings, "dim"), "95%");
    EXPECT_EQ(text(*settings, "hue"), "0");
    EXPECT_EQ(text(*settings, "vividness"), "100%");
    EXPECT_EQ(sharedEffectManager()->groups().back()->objectForKey("Unknown"), QXValue("kept"));
    ASSERT_TRUE(control().activate("Black", "none"));
    EXPECT_GT(white(101), 0.04F);
}

TEST_F(NPLocalControlTest, ImportedNumbersWithinTheRangesAreKeptToTheBit)
{
    const QXDictionary usual{{"Dim", true}, {"DimLevel", -0.3000000119}, {"ColorFilterHue", 360.0}};
    ASSERT_TRUE(control().importEffect(QXPropertyListXMLData(usual).value()));
    const auto& group = sharedEffectManager()->groups().back();
    EXPECT_EQ(group->objectForKey("DimLevel"), QXValue(-0.3000000119));
    EXPECT_EQ(group->objectForKey("ColorFilterHue"), QXValue(360.0));
}

TEST_F(NPLocalControlTest, DuplicatesComeRightAfterTheirOriginal)
{
    ASSERT_TRUE(control().addEffect("Night", {}));
    ASSERT_TRUE(control().duplicateEffect("Default Effect"));
    EXPECT_EQ(text(control().effects()->at(1), "name"), "Default Effect copy");
}

TEST_F(NPLocalControlTest, ScreensAreFoundByPositionIdentifierAndName)
{
    for (const std::string screen : {"2", "102", "Right"}) {
        EXPECT_EQ(*control().table(screen)->at("screen").integer(), 102) << screen;
    }
    EXPECT_EQ(control().table("3").error().message, "there is no screen '3'");
}

TEST_F(NPLocalControlTest, TheTableIsWhatTheScreenShows)
{
    platform.displays.display(101)->table = QXGammaTableIdentity(17);
    const QXDictionary table = control().table("1").value();
    EXPECT_EQ(*table.at("samples").integer(), 17);
    EXPECT_EQ(table.at("blue").array()->size(), 17U);
    EXPECT_EQ(table.at("red").array()->at(8), QXValue(0.5));
    platform.displays.display(101)->readsFail = true;
    EXPECT_EQ(control().table("1").error().message, "the table of screen '1' cannot be read");
}

TEST_F(NPLocalControlTest, PlacesOutsideTheGlobeAreMisuse)
{
    EXPECT_TRUE(control().setLocation(90.5, 0.0).error().misuse);
    EXPECT_TRUE(control().setLocation(0.0, -181.0).error().misuse);
    EXPECT_TRUE(control().setLocation(std::numeric_limits<double>::quiet_NaN(), 0.0).error().misuse);
    EXPECT_EQ(control().location()->at("guessed"), QXValue(true));
    ASSERT_TRUE(control().setLocation(-33.9, 151.2));
    EXPECT_EQ(control().location()->at("latitude"), QXValue(-33.9));
    EXPECT_EQ(control().location()->at("guessed"), QXValue(false));
    EXPECT_EQ(platform.defaults.doubleForKey("NPLocationLongitude"), 151.2);
}

TEST_F(NPLocalControlTest, RestoringRepairsDisplaysThatNobodyHereHasChanged)
{
    platform.displays.display(102)->table = QXGammaTable{.sampleCount = 256}; // black, left by somebody else
    ASSERT_TRUE(control().restore());
    EXPECT_EQ(white(102), 1.0F);
    EXPECT_FALSE(platform.defaults.boolForKey("EffectActive"));
}

TEST_F(NPLocalControlTest, StatusTellsOfTheProcess)
{
    const QXDictionary expected{
        {"version", "1.2.3"}, {"platform", "simulated"}, {"process", 42}, {"running", true}, {"active", false}};
    EXPECT_EQ(QXValue(control().status().value()), QXValue(expected));
}

TEST_F(NPLocalControlTest, ListsFailInOneLineWhenTheScreensCannotBeListed)
{
    platform.displays.setListsFail(true);
    EXPECT_EQ(control().screens().error().message, "the list of screens cannot be read");
    EXPECT_TRUE(control().effects());
}

TEST_F(NPLocalControlTest, EffectTellsItsHotKey)
{
    ASSERT_TRUE(control().addEffect("Night", {{"hotkey", "ctrl+alt+d"}}));
    const QXArray effects = *control().effects();
    EXPECT_EQ(QXDictionaryValue(*effects.front().dictionary(), "hotKey"), nullptr);
    EXPECT_EQ(*QXDictionaryValue(*effects.back().dictionary(), "hotKey"),
              QXValue(QXDictionary{{"keyCode", 2}, {"modifierFlags", 0xC0000}}));
}

TEST_F(NPLocalControlTest, EffectOfARunningInstanceTellsWhyItsHotKeyDoesNotWorkAndWhatToPress)
{
    platform.hotKeys.take(3, NPHotKeyControlMask);
    ASSERT_TRUE(control().addEffect("Night", {{"hotkey", "ctrl+d"}}));
    ASSERT_TRUE(control().addEffect("Day", {{"hotkey", "ctrl+f"}}));
    const std::string night = text(control().effects()->at(1), "identifier");
    platform.hotKeys.triggers[night] = "Press X";
    const auto controller =
        std::make_shared<NPAppController>(platform.services(), *sharedEffectManager(), *sharedScreenManager());
    controller->applicationDidFinishLaunching();
    NPLocalControl running(platform.services(), *sharedEffectManager(), *sharedScreenManager(),
                           *sharedCalculator(), NPProcessDescription{"1.2.3", "simulated", 42, true},
                           controller.get());
    const QXArray effects = *running.effects();
    EXPECT_EQ(text(*QXDictionaryValue(*effects.at(1).dictionary(), "hotKey"), "trigger"), "Press X");
    EXPECT_EQ(text(*QXDictionaryValue(*effects.at(1).dictionary(), "hotKey"), "refusal"), "");
    EXPECT_EQ(text(*QXDictionaryValue(*effects.at(2).dictionary(), "hotKey"), "refusal"),
              "another program has it");
}

} // namespace
