#include "HotKey/JXKeyNames.h"

#include "Foundation/QXSharedScope.h"
#include "Platform/Simulated/NPSimulatedPlatform.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

const NPUSKeyboardLayout us;

// A layout in which no key gives anything.
class SilentLayout final : public NPKeyboardLayout {
public:
    std::string charactersForKeyCode(std::uint16_t) const override { return {}; }
};

} // namespace

TEST(JXStringFromKeyCode, NamesEverySpecialKey)
{
    constexpr std::pair<std::uint16_t, const char*> texts[] = {
        {36, "\u21A9"},     {48, "\u21E5"},     {49, "\u23B5"},     {51, "\u232B"},  {53, "\u238B"},
        {57, "\u21EA"},     {60, "\u21E7"},     {61, "\u2325"},     {62, "\u2303"},  {63, "\u2318"},
        {72, "\U0001F50A"}, {73, "\U0001F508"}, {74, "\U0001F507"}, {117, "\u2326"}, {115, "\u2196"},
        {119, "\u2198"},    {116, "\u21DE"},    {121, "\u21DF"},    {122, "F1"},     {120, "F2"},
        {99, "F3"},         {118, "F4"},        {96, "F5"},         {97, "F6"},      {98, "F7"},
        {100, "F8"},        {101, "F9"},        {109, "F10"},       {103, "F11"},    {111, "F12"},
        {105, "F13"},       {107, "F14"},       {113, "F15"},       {106, "F16"},    {64, "F17"},
        {79, "F18"},        {80, "F19"},        {90, "F20"},        {123, "\u2190"}, {124, "\u2192"},
        {125, "\u2193"},    {126, "\u2191"},
    };
    for (const auto& [keyCode, text] : texts) {
        EXPECT_EQ(JXStringFromKeyCode(keyCode, 0, us), text) << keyCode;
    }
}

TEST(JXStringFromKeyCode, ShowsModifierKeysOnTheLeftAsTheirFlagsOnly)
{
    for (const std::uint16_t keyCode : std::initializer_list<std::uint16_t>{55, 56, 58, 59}) {
        EXPECT_EQ(JXStringFromKeyCode(keyCode, 0, us), "") << keyCode;
    }
    EXPECT_EQ(JXStringFromKeyCode(56, NPShiftFlag, us), "⇧");
    EXPECT_EQ(JXStringFromKeyCode(55, NPCommandFlag, us), "⌘");
    EXPECT_EQ(JXStringFromKeyCode(58, NPOptionFlag, us), "⌥");
    EXPECT_EQ(JXStringFromKeyCode(59, NPControlFlag, us), "⌃");
}

TEST(JXStringFromKeyCode, ShowsOtherModifierKeysBesideTheirFlags)
{
    EXPECT_EQ(JXStringFromKeyCode(60, NPShiftFlag, us), "⇧⇧");
    EXPECT_EQ(JXStringFromKeyCode(61, NPOptionFlag, us), "⌥⌥");
    EXPECT_EQ(JXStringFromKeyCode(62, NPControlFlag, us), "⌃⌃");
    EXPECT_EQ(JXStringFromKeyCode(57, NPCapsLockFlag, us), "⇪");
}

TEST(JXStringFromKeyCode, OrdersModifiersControlOptionShiftCommand)
{
    constexpr std::pair<std::uint64_t, const char*> modifiers[] = {
        {NPControlFlag, "⌃"}, {NPOptionFlag, "⌥"}, {NPShiftFlag, "⇧"}, {NPCommandFlag, "⌘"}};
    for (unsigned subset = 0; subset < 16; ++subset) {
        std::uint64_t flags = 0;
        std::string expected;
        for (unsigned i = 0; i < 4; ++i) {
            if ((subset >> i & 1U) != 0) {
                flags |= modifiers[i].first;
                expected += modifiers[i].second;
            }
        }
        EXPECT_EQ(JXStringFromKeyCode(49, flags, us), expected + "⎵");
    }
}

TEST(JXStringFromKeyCode, IsEmptyForCodeZeroWithoutFlags)
{
    EXPECT_EQ(JXStringFromKeyCode(0, 0, us), "");
}

TEST(JXStringFromKeyCode, AsksTheLayoutForCodeZeroWithFlags)
{
    EXPECT_EQ(JXStringFromKeyCode(0, NPCommandFlag, us), "⌘a");
    EXPECT_EQ(JXStringFromKeyCode(0, NPCapsLockFlag, us), "a");
}

TEST(JXStringFromKeyCode, ShowsTheLayoutsCharacterInItsOwnCase)
{
    NPSimulatedKeyboardLayout layout;
    layout.setCharacters(2, "ð");
    layout.setCharacters(3, "Ab");
    EXPECT_EQ(JXStringFromKeyCode(2, NPControlFlag, layout), "⌃ð");
    EXPECT_EQ(JXStringFromKeyCode(3, NPShiftFlag, layout), "⇧Ab");
}

TEST(JXStringFromKeyCode, ShowsTheModifiersAloneWhereTheLayoutGivesNothing)
{
    EXPECT_EQ(JXStringFromKeyCode(2, NPControlFlag | NPOptionFlag, SilentLayout()), "⌃⌥");
}

TEST(JXStringFromKeyCode, PrefersItsOwnTableToTheLayout)
{
    NPSimulatedKeyboardLayout layout;
    layout.setCharacters(36, "x");
    EXPECT_EQ(JXStringFromKeyCode(36, 0, layout), "↩");
}

TEST(JXStringFromKeyCode, AsksTheInstalledPlatformsLayoutByDefault)
{
    NPSimulatedPlatform platform;
    const QXSharedScope scope;
    NPInstallPlatform(platform.services());
    platform.keyboardLayout.setCharacters(2, "в");
    EXPECT_EQ(JXStringFromKeyCode(2, NPCommandFlag), "⌘в");
}

TEST(JXStringFromKeyCode, MayBeCalledFromSeveralThreads)
{
    std::string texts[4];
    std::vector<std::thread> threads;
    for (std::string& text : texts) {
        threads.emplace_back([&text] { text = JXStringFromKeyCode(122, NPCommandFlag, us); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const std::string& text : texts) {
        EXPECT_EQ(text, "⌘F1");
    }
}

TEST(JXCarbonModifierFlags, MapsEachFlag)
{
    EXPECT_EQ(JXCarbonModifierFlags(NPCommandFlag), 0x100U);
    EXPECT_EQ(JXCarbonModifierFlags(NPShiftFlag), 0x200U);
    EXPECT_EQ(JXCarbonModifierFlags(NPCapsLockFlag), 0x400U);
    EXPECT_EQ(JXCarbonModifierFlags(NPOptionFlag), 0x800U);
    EXPECT_EQ(JXCarbonModifierFlags(NPControlFlag), 0x1000U);
}

TEST(JXCarbonModifierFlags, CombinesFlagsAndDropsAllOthers)
{
    EXPECT_EQ(JXCarbonModifierFlags(0xFFFFFFFFFFFFFFFFU), 0x1F00U);
    EXPECT_EQ(JXCarbonModifierFlags(NPFunctionFlag | 0x100U), 0U);
}
