#include "CommandLine/NPHotKeyNames.h"

#include "CommandLine/NPTextOutput.h"
#include "Platform/Simulated/NPSimulatedHotKeys.h"

#include <gtest/gtest.h>

namespace {

NPSimulatedKeyboardLayout german()
{
    NPSimulatedKeyboardLayout layout;
    layout.setCharacters(16, "z");
    layout.setCharacters(6, "y");
    layout.setCharacters(41, "ö");
    layout.setCharacters(27, "ß");
    return layout;
}

QXValue effectWithHotKey(QXDictionary hotKey)
{
    return QXDictionary{{"identifier", "I"},
                        {"name", "Night"},
                        {"state", "on"},
                        {"hotKey", std::move(hotKey)},
                        {"settings", QXDictionary{{"dim", "off"},
                                                  {"vividness", "off"},
                                                  {"activate", "off"},
                                                  {"deactivate", "off"},
                                                  {"hotkey", "what the engine says"},
                                                  {"screens", "all"}}}};
}

std::string shown(std::int64_t keyCode, std::uint64_t flags, const NPKeyboardLayout& layout)
{
    const QXArray named =
        NPEffectsWithHotKeyNames({effectWithHotKey({{"keyCode", keyCode}, {"modifierFlags", flags}})}, layout);
    return NPHotKeyText(*named.front().dictionary());
}

std::string forEngine(const std::string& words, const NPKeyboardLayout& layout)
{
    return NPSettingsForEngine({{"dim", "30%"}, {"hotkey", words}}, layout).at("hotkey");
}

} // namespace

TEST(NPHotKeyNames, SettingsNameTheKeyByItsPlaceForTheEngine)
{
    EXPECT_EQ(forEngine("ctrl+alt+z", german()), "ctrl+alt+y");
    EXPECT_EQ(forEngine("ctrl+alt+ö", german()), "ctrl+alt+;");
    EXPECT_EQ(forEngine("cmd+enter", german()), "super+return");
    EXPECT_EQ(forEngine("none", german()), "none");
}

TEST(NPHotKeyNames, SettingsKeepWhatIsNoCombination)
{
    EXPECT_EQ(forEngine("ctl+z", german()), "ctl+z");
    EXPECT_EQ(NPSettingsForEngine({{"dim", "30%"}}, german()), (NPControlSettings{{"dim", "30%"}}));
}

TEST(NPHotKeyNames, EffectsShowGlyphsAndWordsOfTheLayout)
{
    EXPECT_EQ(shown(2, NPControlFlag | NPOptionFlag, german()), "⌃⌥D (ctrl+alt+d)");
    EXPECT_EQ(shown(16, NPCommandFlag, german()), "⌘Z (super+z)");
    EXPECT_EQ(shown(41, NPShiftFlag, german()), "⇧Ö (shift+ö)");
    EXPECT_EQ(shown(27, NPShiftFlag, german()), "⇧ß (shift+ß)");
    EXPECT_EQ(shown(96, NPFunctionFlag, german()), "F5 (f5)");
}

TEST(NPHotKeyNames, EffectWithoutHotKeyShowsNone)
{
    const QXValue effect(QXDictionary{{"name", "Night"}, {"settings", QXDictionary{{"hotkey", "none"}}}});
    EXPECT_EQ(NPEffectsWithHotKeyNames({effect}, german()), QXArray{effect});
    EXPECT_EQ(NPHotKeyText(*effect.dictionary()), "");
    EXPECT_EQ(NPHotKeyRemark(*effect.dictionary()), "");
}

TEST(NPHotKeyNames, EveryFlagSurvivesTheNaming)
{
    EXPECT_EQ(shown(2, 0x8000000000000000U | NPCommandFlag, german()), "⌘D (super+d)");
}

TEST(NPHotKeyNames, ListMarksWhatDoesNotWorkAndWhatTheDesktopSays)
{
    const QXArray effects = NPEffectsWithHotKeyNames(
        {effectWithHotKey({{"keyCode", 2}, {"modifierFlags", 0x40000}, {"refusal", "another program has it"}}),
         effectWithHotKey({{"keyCode", 3}, {"modifierFlags", 0x40000}, {"trigger", "Press Ctrl+X"}})},
        german());
    EXPECT_EQ(NPEffectsText(effects),
              "Effect  State  Does     Activates  Deactivates  Hot key      Screens  Identifier\n"
              "Night   on     nothing  off        off          ⌃D (ctrl+d)  all      I\n"
              "Night   on     nothing  off        off          ⌃F (ctrl+f)  all      I\n"
              "The hot key of Night does not work: another program has it\n"
              "The desktop's key for Night: Press Ctrl+X\n");
}
