#include "HotKey/JXHotKeyWords.h"

#include "Platform/Simulated/NPSimulatedHotKeys.h"

#include <gtest/gtest.h>

namespace {

const NPUSKeyboardLayout us;

std::optional<JXHotKey> read(std::string_view words, const NPKeyboardLayout& layout = us)
{
    return JXHotKeyFromWords(words, layout).value();
}

std::string errorOf(std::string_view words)
{
    const auto result = JXHotKeyFromWords(words, us);
    return result ? "none" : result.error();
}

std::string written(std::uint16_t keyCode, std::uint64_t flags, const NPKeyboardLayout& layout = us)
{
    return JXWordsFromHotKey(JXHotKey(keyCode, flags), layout);
}

// The keys of a German keyboard that the tests need.
NPSimulatedKeyboardLayout german()
{
    NPSimulatedKeyboardLayout layout;
    layout.setCharacters(6, "y");
    layout.setCharacters(16, "z");
    layout.setCharacters(30, "+");
    layout.setCharacters(24, ""); // a dead key
    layout.setCharacters(41, "ö");
    return layout;
}

NPSimulatedKeyboardLayout russian()
{
    NPSimulatedKeyboardLayout layout;
    layout.setCharacters(2, "в");
    return layout;
}

} // namespace

TEST(JXHotKeyFromWords, ReadsModifiersAndKey)
{
    EXPECT_EQ(read("ctrl+alt+d"), JXHotKey(2, NPControlFlag | NPOptionFlag));
    EXPECT_EQ(read("super+shift+F5"), JXHotKey(96, NPCommandFlag | NPShiftFlag));
}

TEST(JXHotKeyFromWords, ReadsNone)
{
    EXPECT_EQ(read("none"), std::nullopt);
    EXPECT_EQ(read("None"), std::nullopt);
}

TEST(JXHotKeyFromWords, CaseAndSpacesDoNotMatter)
{
    EXPECT_EQ(read("Ctrl + ALT + D"), JXHotKey(2, NPControlFlag | NPOptionFlag));
}

TEST(JXHotKeyFromWords, UnderstandsOtherNamesOfModifiers)
{
    for (const char* words : {"cmd+d", "command+d", "meta+d", "win+d", "super+d"}) {
        EXPECT_EQ(read(words), JXHotKey(2, NPCommandFlag)) << words;
    }
    for (const char* words : {"alt+d", "option+d", "opt+d"}) {
        EXPECT_EQ(read(words), JXHotKey(2, NPOptionFlag)) << words;
    }
    EXPECT_EQ(read("control+d"), JXHotKey(2, NPControlFlag));
}

TEST(JXHotKeyFromWords, UnderstandsOtherNamesOfKeys)
{
    EXPECT_EQ(read("ctrl+enter"), read("ctrl+return"));
    EXPECT_EQ(read("ctrl+esc"), JXHotKey(53, NPControlFlag));
    EXPECT_EQ(read("ctrl+pgup"), JXHotKey(116, NPControlFlag));
}

TEST(JXHotKeyFromWords, FindsTheKeyThatGivesTheCharacterInTheLayout)
{
    EXPECT_EQ(read("ctrl+z"), JXHotKey(6, NPControlFlag));
    EXPECT_EQ(read("ctrl+z", german()), JXHotKey(16, NPControlFlag));
    EXPECT_EQ(read("ctrl+ö", german()), JXHotKey(41, NPControlFlag));
    EXPECT_EQ(read("ctrl+в", russian()), JXHotKey(2, NPControlFlag));
}

TEST(JXHotKeyFromWords, TakesTheUSKeyForACharacterThatTheLayoutDoesNotGive)
{
    EXPECT_EQ(read("ctrl+d", russian()), JXHotKey(2, NPControlFlag));
}

TEST(JXHotKeyFromWords, PlusAtTheEndIsTheKey)
{
    EXPECT_EQ(read("ctrl++", german()), JXHotKey(30, NPControlFlag));
    EXPECT_EQ(read("ctrl+plus", german()), JXHotKey(30, NPControlFlag));
}

TEST(JXHotKeyFromWords, PrefersTheMainBlockToTheKeypad)
{
    EXPECT_EQ(read("ctrl+1"), JXHotKey(18, NPControlFlag));
    EXPECT_EQ(read("ctrl+kp-1"), JXHotKey(83, NPControlFlag));
}

TEST(JXHotKeyFromWords, ReadsAnyKeyByItsCode)
{
    EXPECT_EQ(read("alt+key-200"), JXHotKey(200, NPOptionFlag));
    EXPECT_EQ(read("alt+key-65535"), JXHotKey(65535, NPOptionFlag));
    EXPECT_FALSE(JXHotKeyFromWords("alt+key-65536", us));
    EXPECT_FALSE(JXHotKeyFromWords("alt+key-", us));
    EXPECT_FALSE(JXHotKeyFromWords("alt+key-1x", us));
    EXPECT_FALSE(JXHotKeyFromWords("alt+key--1", us));
}

TEST(JXHotKeyFromWords, FunctionAndMediaKeysStandAlone)
{
    EXPECT_EQ(read("f5"), JXHotKey(96, 0));
    EXPECT_EQ(read("f20"), JXHotKey(90, 0));
    EXPECT_EQ(read("mute"), JXHotKey(74, 0));
}

TEST(JXHotKeyFromWords, KeyThatPeopleTypeWithNeedsAModifier)
{
    for (const char* words : {"d", "return", "kp-1", "left", "key-2", "key-200"}) {
        EXPECT_EQ(errorOf(words), "a combination such as ctrl+alt+d, or none (it needs a modifier, or nobody "
                                  "could type the key any more)")
            << words;
    }
    EXPECT_EQ(read("shift+d"), JXHotKey(2, NPShiftFlag));
}

TEST(JXHotKeyFromWords, ModifierIsNoKey)
{
    for (const char* words : {"ctrl+left-shift", "ctrl+caps-lock", "ctrl+key-55", "ctrl+fn"}) {
        EXPECT_FALSE(JXHotKeyFromWords(words, us)) << words;
    }
    EXPECT_EQ(errorOf("ctrl+right-alt"),
              "a combination such as ctrl+alt+d, or none (\"right-alt\" is a modifier, not a key)");
}

TEST(JXHotKeyFromWords, ErrorNamesWhatIsWrong)
{
    EXPECT_EQ(errorOf("ctl+d"), "a combination such as ctrl+alt+d, or none (there is no modifier \"ctl\")");
    EXPECT_EQ(errorOf("ctrl+foo"), "a combination such as ctrl+alt+d, or none (there is no key \"foo\")");
}

TEST(JXHotKeyFromWords, IncompleteWordsAreRefused)
{
    for (const char* words : {"", "+", "ctrl+", "+d", "ctrl", "ctrl++d", "ctrl+dd", "ctrl+\xFF", "nonesuch"}) {
        EXPECT_FALSE(JXHotKeyFromWords(words, us)) << words;
    }
}

TEST(JXWordsFromHotKey, WritesModifiersInTheOrderOfTheirGlyphs)
{
    EXPECT_EQ(written(2, NPCommandFlag | NPShiftFlag | NPOptionFlag | NPControlFlag), "ctrl+alt+shift+super+d");
}

TEST(JXWordsFromHotKey, WritesNone)
{
    EXPECT_EQ(JXWordsFromHotKey(std::nullopt, us), "none");
}

TEST(JXWordsFromHotKey, LeavesOutFlagsThatPlayNoPart)
{
    EXPECT_EQ(written(96, NPFunctionFlag | NPCapsLockFlag | 0x108U), "f5");
}

TEST(JXWordsFromHotKey, WritesTheLayoutsCharacter)
{
    EXPECT_EQ(written(16, NPControlFlag, german()), "ctrl+z");
    EXPECT_EQ(written(30, NPControlFlag, german()), "ctrl+plus");
    EXPECT_EQ(written(2, NPControlFlag, russian()), "ctrl+в");
}

TEST(JXWordsFromHotKey, WritesTheUSCharacterOfAKeyThatGivesNone)
{
    EXPECT_EQ(written(24, NPControlFlag, german()), "ctrl+=");
}

TEST(JXWordsFromHotKey, WritesTheCodeWhereTheCharacterWouldMeanAnotherKey)
{
    NPSimulatedKeyboardLayout layout;
    layout.setCharacters(2, "a"); // as another key does
    EXPECT_EQ(written(2, NPControlFlag, layout), "ctrl+d");
    layout.setCharacters(3, "d");
    EXPECT_EQ(written(2, NPControlFlag, layout), "ctrl+key-2");
}

TEST(JXWordsFromHotKey, EveryKeyReadsBackInEveryLayout)
{
    const NPSimulatedKeyboardLayout layouts[] = {{}, german(), russian()};
    for (const NPKeyboardLayout& layout : layouts) {
        for (std::uint16_t keyCode = 0; keyCode < 256; ++keyCode) {
            const NPKey* key = NPKeyWithVirtualCode(keyCode);
            if (key == nullptr || !key->isModifier) {
                EXPECT_EQ(read(written(keyCode, NPControlFlag, layout), layout), JXHotKey(keyCode, NPControlFlag))
                    << written(keyCode, NPControlFlag, layout);
            }
        }
    }
}
