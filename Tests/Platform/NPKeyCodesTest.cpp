#include "Platform/NPKeyCodes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>

namespace {

struct Expected {
    std::uint16_t virtualCode;
    std::uint16_t linuxCode;
};

template<class Field> std::size_t distinct(Field NPKey::* field)
{
    std::set<Field> values;
    for (const NPKey& key : NPKeyTable()) {
        values.insert(key.*field);
    }
    return values.size();
}

} // namespace

TEST(NPKeyCodes, NoTwoKeysShareACode)
{
    EXPECT_EQ(distinct(&NPKey::virtualCode), NPKeyTable().size());
    EXPECT_EQ(distinct(&NPKey::linuxCode), NPKeyTable().size());
}

TEST(NPKeyCodes, CodesMapBothWaysForEveryKey)
{
    for (const NPKey& key : NPKeyTable()) {
        EXPECT_EQ(NPKeyWithVirtualCode(key.virtualCode), &key);
        EXPECT_EQ(NPKeyWithLinuxCode(key.linuxCode), &key);
    }
}

TEST(NPKeyCodes, NoTwoKeysShareAnXkbNameOrAWord)
{
    std::map<std::string_view, int> names;
    std::map<std::string_view, int> words;
    for (const NPKey& key : NPKeyTable()) {
        ++names[key.xkbName];
        ++words[key.word];
    }
    for (const auto& [name, count] : names) {
        EXPECT_EQ(count, 1) << name;
        EXPECT_LE(name.size(), 4U) << name;
    }
    words.erase(""); // those that have a character
    for (const auto& [word, count] : words) {
        EXPECT_EQ(count, 1) << word;
    }
}

TEST(NPKeyCodes, EveryKeyHasAWordOrACharacter)
{
    for (const NPKey& key : NPKeyTable()) {
        EXPECT_FALSE(key.word.empty() && key.usCharacter.empty()) << key.virtualCode;
    }
}

TEST(NPKeyCodes, NoTwoKeysOfTheMainBlockGiveTheSameCharacter)
{
    std::map<std::string_view, int> characters;
    for (const NPKey& key : NPKeyTable()) {
        if (!key.isOnKeypad && !key.usCharacter.empty()) {
            ++characters[key.usCharacter];
        }
    }
    for (const auto& [character, count] : characters) {
        EXPECT_EQ(count, 1) << character;
    }
}

TEST(NPKeyCodes, XCodesAreTheKernelsPlusEightForEveryKeyButFunction)
{
    for (const NPKey& key : NPKeyTable()) {
        const auto xKeyCode = NPXKeyCodeFromLinuxCode(key.linuxCode);
        ASSERT_EQ(xKeyCode.has_value(), key.word != "fn") << key.word;
        if (xKeyCode) {
            EXPECT_EQ(*xKeyCode, key.linuxCode + 8);
            EXPECT_EQ(NPLinuxCodeFromXKeyCode(*xKeyCode), key.linuxCode);
        }
    }
}

TEST(NPKeyCodes, CodesOutsideXHaveNoXCode)
{
    EXPECT_EQ(NPXKeyCodeFromLinuxCode(0), std::nullopt);
    EXPECT_EQ(NPXKeyCodeFromLinuxCode(247), 255);
    EXPECT_EQ(NPXKeyCodeFromLinuxCode(248), std::nullopt);
    EXPECT_EQ(NPXKeyCodeFromLinuxCode(464), std::nullopt);
    EXPECT_EQ(NPLinuxCodeFromXKeyCode(8), std::nullopt);
    EXPECT_EQ(NPLinuxCodeFromXKeyCode(9), 1);
}

TEST(NPKeyCodes, UnknownCodesHaveNoKey)
{
    EXPECT_EQ(NPKeyWithVirtualCode(52), nullptr);
    EXPECT_EQ(NPKeyWithVirtualCode(65535), nullptr);
    EXPECT_EQ(NPKeyWithLinuxCode(0), nullptr);
}

TEST(NPKeyCodes, LettersSitWhereUSKeyboardsHaveThem)
{
    const std::string rows[] = {"qwertyuiop", "asdfghjkl", "zxcvbnm"};
    const std::uint16_t firstCodes[] = {16, 30, 44};
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t i = 0; i < rows[row].size(); ++i) {
            const NPKey* key = NPKeyWithLinuxCode(static_cast<std::uint16_t>(firstCodes[row] + i));
            ASSERT_NE(key, nullptr);
            EXPECT_EQ(key->usCharacter, rows[row].substr(i, 1));
        }
    }
}

TEST(NPKeyCodes, MapsLettersAndDigitsByPlace)
{
    // A S D F H G Z X C V, B Q W E R Y T, 1 2 3 4 6 5 9 7 8 0, O U I P L J K N M
    constexpr Expected keys[] = {{0, 30},  {1, 31},  {2, 32},  {3, 33},  {4, 35},  {5, 34},  {6, 44},  {7, 45},
                                 {8, 46},  {9, 47},  {11, 48}, {12, 16}, {13, 17}, {14, 18}, {15, 19}, {16, 21},
                                 {17, 20}, {18, 2},  {19, 3},  {20, 4},  {21, 5},  {22, 7},  {23, 6},  {25, 10},
                                 {26, 8},  {28, 9},  {29, 11}, {31, 24}, {32, 22}, {34, 23}, {35, 25}, {37, 38},
                                 {38, 36}, {40, 37}, {45, 49}, {46, 50}};
    for (const auto& [virtualCode, linuxCode] : keys) {
        EXPECT_EQ(NPKeyWithVirtualCode(virtualCode)->linuxCode, linuxCode) << virtualCode;
    }
}

TEST(NPKeyCodes, MapsFunctionKeysToF20)
{
    constexpr Expected keys[] = {{122, 59},  {120, 60},  {99, 61},  {118, 62}, {96, 63},  {97, 64},   {98, 65},
                                 {100, 66},  {101, 67},  {109, 68}, {103, 87}, {111, 88}, {105, 183}, {107, 184},
                                 {113, 185}, {106, 186}, {64, 187}, {79, 188}, {80, 189}, {90, 190}};
    int number = 1;
    for (const auto& [virtualCode, linuxCode] : keys) {
        EXPECT_EQ(NPKeyWithVirtualCode(virtualCode)->linuxCode, linuxCode) << virtualCode;
        EXPECT_EQ(NPKeyWithVirtualCode(virtualCode)->word, "f" + std::to_string(number)) << virtualCode;
        ++number;
    }
}

TEST(NPKeyCodes, MapsTheKeypad)
{
    constexpr Expected keys[] = {{82, 82}, {83, 79}, {84, 80}, {85, 81},  {86, 75}, {87, 76}, {88, 77},
                                 {89, 71}, {91, 72}, {92, 73}, {65, 83},  {67, 55}, {69, 78}, {71, 69},
                                 {75, 98}, {76, 96}, {78, 74}, {81, 117}, {95, 121}};
    for (const auto& [virtualCode, linuxCode] : keys) {
        EXPECT_EQ(NPKeyWithVirtualCode(virtualCode)->linuxCode, linuxCode) << virtualCode;
        EXPECT_TRUE(NPKeyWithVirtualCode(virtualCode)->isOnKeypad) << virtualCode;
    }
}

TEST(NPKeyCodes, MapsPunctuationAndTheKeysOfISOAndJISKeyboards)
{
    constexpr Expected keys[] = {{24, 13},  {27, 12}, {30, 27},   {33, 26},  {39, 40}, {41, 39},
                                 {42, 43},  {43, 51}, {44, 53},   {47, 52},  {50, 41}, {10, 86},
                                 {93, 124}, {94, 89}, {102, 123}, {104, 122}};
    for (const auto& [virtualCode, linuxCode] : keys) {
        EXPECT_EQ(NPKeyWithVirtualCode(virtualCode)->linuxCode, linuxCode) << virtualCode;
    }
}

TEST(NPKeyCodes, MapsEditingArrowAndMediaKeys)
{
    constexpr Expected keys[] = {{36, 28},   {48, 15},   {49, 57},   {51, 14},   {53, 1},
                                 {114, 110}, {117, 111}, {115, 102}, {119, 107}, {116, 104},
                                 {121, 109}, {123, 105}, {124, 106}, {125, 108}, {126, 103},
                                 {72, 115},  {73, 114},  {74, 113},  {110, 127}};
    for (const auto& [virtualCode, linuxCode] : keys) {
        EXPECT_EQ(NPKeyWithVirtualCode(virtualCode)->linuxCode, linuxCode) << virtualCode;
    }
}

TEST(NPKeyCodes, MapsModifiersAndKnowsThemAsSuch)
{
    constexpr Expected keys[] = {{54, 126}, {55, 125}, {56, 42},  {57, 58}, {58, 56},
                                 {59, 29},  {60, 54},  {61, 100}, {62, 97}, {63, 464}};
    for (const auto& [virtualCode, linuxCode] : keys) {
        EXPECT_EQ(NPKeyWithVirtualCode(virtualCode)->linuxCode, linuxCode) << virtualCode;
    }
    EXPECT_EQ(std::ranges::count(NPKeyTable(), true, &NPKey::isModifier), 10);
}
