#include "Platform/Linux/NPDesktopEntry.h"

#include "Platform/Linux/NPTemporaryFolder.h"

#include <gtest/gtest.h>

namespace {

NPDesktopEntry entryOf(const std::string& lines)
{
    return NPDesktopEntry::parse("[Desktop Entry]\n" + lines).value();
}

} // namespace

TEST(NPDesktopEntry, ReadsValuesOfItsGroupAlone)
{
    const NPDesktopEntry entry = entryOf("Name = A b \nIcon=x\n[Desktop Action Y]\nIcon=y\nComment=c\n");
    EXPECT_EQ("A b", entry.value("Name"));
    EXPECT_EQ("x", entry.value("Icon"));
    EXPECT_EQ(std::nullopt, entry.value("Comment"));
    EXPECT_EQ(std::nullopt, entry.value(""));
}

TEST(NPDesktopEntry, IsWhatBeginsWithItsGroup)
{
    EXPECT_TRUE(NPDesktopEntry::parse("# by hand\n\n[Desktop Entry]"));
    EXPECT_FALSE(NPDesktopEntry::parse(""));
    EXPECT_FALSE(NPDesktopEntry::parse("Name=A\n"));
    EXPECT_FALSE(NPDesktopEntry::parse("[Other]\n[Desktop Entry]\n"));
    EXPECT_FALSE(NPDesktopEntry::parse(std::string("[Desktop Entry]\n\0", 17)));
}

TEST(NPDesktopEntry, ResolvesEscapes)
{
    EXPECT_EQ(" a\n\t\\b\\q", entryOf("Name=\\sa\\n\\t\\\\b\\q\n").value("Name"));
}

TEST(NPDesktopEntry, LetsTheLastOfTwoLinesCount)
{
    EXPECT_EQ("b", entryOf("Name=a\nName=b\n").value("Name"));
}

TEST(NPDesktopEntry, ReadsFlags)
{
    const NPDesktopEntry entry = entryOf("A=true\nB=false\nC=yes\n");
    EXPECT_TRUE(entry.flag("A", false));
    EXPECT_FALSE(entry.flag("B", true));
    EXPECT_TRUE(entry.flag("C", true));
    EXPECT_FALSE(entry.flag("D", false));
}

TEST(NPDesktopEntry, ReadsLists)
{
    EXPECT_EQ((std::vector<std::string>{"GNOME", "KDE"}), entryOf("OnlyShowIn=GNOME;;KDE;\n").list("OnlyShowIn"));
    EXPECT_TRUE(entryOf("").list("OnlyShowIn").empty());
}

TEST(NPDesktopEntry, PrefersTheMostSpecialLanguage)
{
    const NPDesktopEntry entry = entryOf("Name=N\nName[de]=D\nName[de_AT]=A\nName[sr@latin]=L\nName[C]=no\n");
    EXPECT_EQ("A", entry.localizedValue("Name", "de_AT.UTF-8"));
    EXPECT_EQ("D", entry.localizedValue("Name", "de_CH.UTF-8@euro"));
    EXPECT_EQ("L", entry.localizedValue("Name", "sr_RS.UTF-8@latin"));
    EXPECT_EQ("N", entry.localizedValue("Name", "fr_FR"));
    EXPECT_EQ("N", entry.localizedValue("Name", ""));
}

TEST(NPDesktopEntry, ChangesOneLineAndNothingElse)
{
    NPDesktopEntry entry = NPDesktopEntry::parse("# mine\n[Desktop Entry]\nName=\xE4\xFF\nHidden = true\n"
                                                 "#Hidden=x\nX-Mine=1\n\n[Desktop Action A]\nHidden=true\n")
                               .value();
    entry.setValue("Hidden", "false");
    EXPECT_EQ("# mine\n[Desktop Entry]\nName=\xE4\xFF\nHidden=false\n"
              "#Hidden=x\nX-Mine=1\n\n[Desktop Action A]\nHidden=true\n",
              entry.text());
    entry.removeValue("Hidden");
    EXPECT_EQ("# mine\n[Desktop Entry]\nName=\xE4\xFF\n#Hidden=x\nX-Mine=1\n\n[Desktop Action A]\nHidden=true\n",
              entry.text());
}

TEST(NPDesktopEntry, AddsALineAtTheEndOfItsGroup)
{
    NPDesktopEntry entry = entryOf("Name=a\n\n[Desktop Action A]\nName=b\n");
    entry.setValue("Hidden", "true");
    EXPECT_EQ("[Desktop Entry]\nName=a\nHidden=true\n\n[Desktop Action A]\nName=b\n", entry.text());
    EXPECT_EQ("true", entry.value("Hidden"));
}

TEST(NPDesktopEntry, AddsALineToAnEmptyGroupAndToAFileWithoutAnEnd)
{
    NPDesktopEntry empty = NPDesktopEntry::parse("# x\n[Desktop Entry]").value();
    empty.setValue("A", "1");
    EXPECT_EQ("# x\n[Desktop Entry]\nA=1\n", empty.text());
    NPDesktopEntry open = entryOf("A=1");
    open.setValue("B", "2");
    EXPECT_EQ("[Desktop Entry]\nA=1\nB=2\n", open.text());
}

TEST(NPDesktopEntry, KeepsTheKindOfLineEnds)
{
    NPDesktopEntry entry = NPDesktopEntry::parse("[Desktop Entry]\r\nA=1\r\n").value();
    EXPECT_EQ("1", entry.value("A"));
    entry.setValue("B", "2");
    EXPECT_EQ("[Desktop Entry]\r\nA=1\r\nB=2\r\n", entry.text());
}

TEST(NPDesktopEntry, LeavesOneLineOfSeveralWhenItChangesAValue)
{
    NPDesktopEntry entry = entryOf("A=1\nB=2\nA=3\n");
    entry.setValue("A", "4\\5");
    EXPECT_EQ("[Desktop Entry]\nA=4\\\\5\nB=2\n", entry.text());
    EXPECT_EQ("4\\5", entry.value("A"));
}

TEST(NPDesktopEntry, KnowsTheProgramItStarts)
{
    EXPECT_EQ("/usr/bin/a", entryOf("Exec=/usr/bin/a --b %f\n").program());
    EXPECT_EQ("/a b/c\"$", entryOf("Exec=\"/a b/c\\\\\"\\\\$\" --d\n").program());
    EXPECT_EQ("", entryOf("Exec=\n").program());
    EXPECT_EQ("", entryOf("").program());
}

TEST(NPDesktopEntry, ReadsBackTheWordThatItWrites)
{
    for (const std::string word : {"/usr/lib/n", "/100%u", "/a b/\"c\"", "/$x`y\\z", "/täg"}) {
        NPDesktopEntry entry = entryOf("");
        entry.setValue("Exec", NPExecWord(word));
        EXPECT_EQ(word, NPDesktopEntry::parse(entry.text()).value().program());
    }
    EXPECT_EQ("\"100%%\"", NPExecWord("100%"));
}

TEST(NPDesktopEntry, IsStartableWhileItsProgramIsThere)
{
    const NPTemporaryFolder folder;
    const std::string path = "relative:" + folder.path().string();
    writeFile(folder / "run", std::string("#!/bin/sh\n"));
    writeFile(folder / "plain", std::string());
    std::filesystem::permissions(folder / "run", std::filesystem::perms::owner_all);
    std::filesystem::create_directory(folder / "folder");
    EXPECT_TRUE(entryOf("Exec=run -x\n").isStartable(path));
    EXPECT_TRUE(entryOf("Exec=" + (folder / "run").string() + "\n").isStartable(""));
    EXPECT_FALSE(entryOf("Exec=run\n").isStartable("/no/such"));
    EXPECT_FALSE(entryOf("Exec=run\nTryExec=gone\n").isStartable(path));
    EXPECT_FALSE(entryOf("Exec=plain\n").isStartable(path));
    EXPECT_FALSE(entryOf("Exec=folder\n").isStartable(path));
    EXPECT_FALSE(entryOf("").isStartable(path));
}
