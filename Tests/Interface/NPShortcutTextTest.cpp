#include "Interface/NPShortcutText.h"

#include "Platform/NPHotKeyServices.h"

#include <gtest/gtest.h>

TEST(NPShortcutText, IsEmptyWithoutAKey)
{
    EXPECT_TRUE(NPShortcutText("", NPControlFlag).isEmpty());
    EXPECT_TRUE(NPShortcutKeys("", NPControlFlag).isEmpty());
}

TEST(NPShortcutText, NamesModifiersInWords)
{
    EXPECT_EQ(NPShortcutText("d", NPControlFlag | NPOptionFlag | NPShiftFlag | NPCommandFlag),
              "Meta+Ctrl+Alt+Shift+D");
}

TEST(NPShortcutText, LeavesOtherFlagsOut)
{
    EXPECT_EQ(NPShortcutText("d", NPCapsLockFlag | NPFunctionFlag | 0x100U), "D");
}

TEST(NPShortcutText, NamesKeysThatHaveAGlyph)
{
    EXPECT_EQ(NPShortcutText("↩", NPOptionFlag), "Alt+Return");
    EXPECT_EQ(NPShortcutText("⎵", NPOptionFlag), "Alt+Space");
    EXPECT_EQ(NPShortcutText("⇞", 0), "PgUp");
    EXPECT_EQ(NPShortcutText("←", NPCommandFlag), "Meta+Left");
    EXPECT_EQ(NPShortcutText("🔇", 0), "Volume Mute");
}

TEST(NPShortcutText, NamesFunctionKeys)
{
    EXPECT_EQ(NPShortcutText("F12", NPControlFlag), "Ctrl+F12");
}

TEST(NPShortcutText, ShowsOtherCharactersAsTheyAre)
{
    EXPECT_EQ(NPShortcutText("ö", NPControlFlag), "Ctrl+Ö");
    EXPECT_EQ(NPShortcutText("+", NPControlFlag), "Ctrl++");
    EXPECT_EQ(NPShortcutText(",", NPControlFlag), "Ctrl+,");
    EXPECT_EQ(NPShortcutText("ß", NPControlFlag), "Ctrl+ß");
    EXPECT_EQ(NPShortcutText("xyz", NPControlFlag), "Ctrl+XYZ");
}
