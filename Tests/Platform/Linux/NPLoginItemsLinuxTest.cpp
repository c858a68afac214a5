#include "Platform/Linux/NPLoginItemsLinux.h"

#include "Foundation/QXLog.h"
#include "Platform/Linux/NPTemporaryFolder.h"
#include "Platform/Linux/NPTestProcess.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace {

const std::string identifier = "org.nightpane.Nightpane.Launcher";

class NPLoginItemsLinuxTest : public testing::Test {
protected:
    NPLoginItemsLinuxTest()
    {
        for (const std::string& program : {launcher, usersProgram}) {
            writeFile(program, std::string("#!/bin/sh\n"));
            std::filesystem::permissions(program, std::filesystem::perms::owner_all);
        }
        folders.userConfiguration = folder / "config";
        folders.systemConfigurations = {folder / "system"};
        folders.desktops = {"ubuntu", "GNOME"};
        std::filesystem::create_directories(folder / "system/autostart");
    }

    NPLoginItemsLinux items() const { return NPLoginItemsLinux(folders, launcher); }
    bool set(bool enabled) const { return items().setLoginItemEnabled(identifier, enabled); }

    // What is listed: none for no such job.
    std::optional<bool> isEnabled() const
    {
        for (const QXValue& job : items().copyAllJobDictionaries()) {
            if (*QXDictionaryValue(*job.dictionary(), NPJobLabelKey)->string() == identifier) {
                return QXDictionaryValue(*job.dictionary(), NPJobOnDemandKey)->boolean();
            }
        }
        return std::nullopt;
    }

    void writeOwn(const std::string& text) const
    {
        std::filesystem::create_directories(file.parent_path());
        writeFile(file, text);
    }

    std::string entryText(const std::string& more = "") const
    {
        return "[Desktop Entry]\nType=Application\nName=Mine\nExec=" + usersProgram + "\n" + more;
    }

    const NPTemporaryFolder folder;
    const std::string launcher = folder / "100% launcher \"x\"";
    const std::string usersProgram = folder / "mine";
    NPDesktopFolders folders;
    const std::filesystem::path file = folder / ("config/autostart/" + identifier + ".desktop");
    mutable std::vector<std::string> log;
    QXLogRedirection redirection{[this](std::string_view line) { log.emplace_back(line); }};
};

} // namespace

TEST_F(NPLoginItemsLinuxTest, ListsNothingWhereThereIsNothing)
{
    EXPECT_TRUE(items().copyAllJobDictionaries().empty());
    EXPECT_TRUE(set(false));
    EXPECT_FALSE(std::filesystem::exists(folder / "config"));
}

TEST_F(NPLoginItemsLinuxTest, WritesReadsAndRemovesItsEntry)
{
    EXPECT_TRUE(set(true));
    EXPECT_EQ(true, isEnabled());
    EXPECT_EQ(launcher, NPDesktopEntry::parse(contentOf(file)).value().program()) << contentOf(file);
    EXPECT_TRUE(set(false));
    EXPECT_EQ(std::nullopt, isEnabled());
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_TRUE(log.empty());
}

TEST_F(NPLoginItemsLinuxTest, WritesWhatDesktopsAccept)
{
    ASSERT_TRUE(set(true));
    EXPECT_EQ("", NPTestOutputOf({"desktop-file-validate", file}));
}

TEST_F(NPLoginItemsLinuxTest, WritesAnEntryOnceOnly)
{
    ASSERT_TRUE(set(true));
    const std::string text = contentOf(file);
    ASSERT_TRUE(set(true));
    EXPECT_EQ(text, contentOf(file));
}

TEST_F(NPLoginItemsLinuxTest, ObeysHidden)
{
    writeOwn(entryText("Hidden=true\n"));
    EXPECT_EQ(false, isEnabled());
    EXPECT_TRUE(set(true));
    EXPECT_EQ(true, isEnabled());
    EXPECT_EQ(entryText(), contentOf(file));
}

TEST_F(NPLoginItemsLinuxTest, ObeysWhatDesktopsSettingsWrite)
{
    writeOwn(entryText("X-GNOME-Autostart-enabled=false\nX-Mine=1\n"));
    EXPECT_EQ(false, isEnabled());
    EXPECT_TRUE(set(true));
    EXPECT_EQ(entryText("X-GNOME-Autostart-enabled=true\nX-Mine=1\n"), contentOf(file));
    EXPECT_EQ(true, isEnabled());
}

TEST_F(NPLoginItemsLinuxTest, SwitchesAnEntryOffThatTheUserHasChangedAndKeepsIt)
{
    const std::string text = "# mine\n" + entryText("Name[de]=\xE4\nX-GNOME-Autostart-Delay=5\n");
    writeOwn(text);
    EXPECT_TRUE(set(false));
    EXPECT_EQ(false, isEnabled());
    EXPECT_EQ(text + "Hidden=true\n", contentOf(file));
    EXPECT_TRUE(set(true));
    EXPECT_EQ(text, contentOf(file));
}

TEST_F(NPLoginItemsLinuxTest, ObeysTheDesktopsThatAnEntryIsFor)
{
    writeOwn(entryText("OnlyShowIn=KDE;\n"));
    EXPECT_EQ(false, isEnabled());
    writeOwn(entryText("OnlyShowIn=KDE;GNOME;\n"));
    EXPECT_EQ(true, isEnabled());
    writeOwn(entryText("NotShowIn=GNOME;\n"));
    EXPECT_EQ(false, isEnabled());
    EXPECT_FALSE(set(true));
    EXPECT_EQ(entryText("NotShowIn=GNOME;\n"), contentOf(file));
    EXPECT_EQ(
        std::vector<std::string>{file.string() + ": it is not for this desktop, as somebody has written into it"},
        log);
}

TEST_F(NPLoginItemsLinuxTest, AnEntryWhoseProgramHasGoneIsOffAndGetsTheNewOne)
{
    writeOwn("[Desktop Entry]\nType=Application\nName=Mine\nTryExec=/gone/launcher\nExec=/gone/launcher\n");
    EXPECT_EQ(false, isEnabled());
    EXPECT_TRUE(set(true));
    EXPECT_EQ(true, isEnabled());
    EXPECT_TRUE(contentOf(file).contains("Name=Mine\n"));
}

TEST_F(NPLoginItemsLinuxTest, TheUsersEntryStandsForTheSystems)
{
    writeFile(folder / ("system/autostart/" + identifier + ".desktop"), entryText());
    EXPECT_EQ(true, isEnabled());
    EXPECT_TRUE(set(true));
    EXPECT_FALSE(std::filesystem::exists(file)); // it is on already
    EXPECT_TRUE(set(false));
    EXPECT_EQ(false, isEnabled());
    EXPECT_TRUE(set(true));
    EXPECT_EQ(true, isEnabled());
    EXPECT_TRUE(set(false)); // the user's own entry is as written, but removing it would switch it on
    EXPECT_EQ(false, isEnabled());
}

TEST_F(NPLoginItemsLinuxTest, ListsTheJobsOfOthers)
{
    writeFile(folder / "system/autostart/a.desktop", entryText());
    writeFile(folder / "system/autostart/b.desktop", entryText("Hidden=true\n"));
    writeFile(folder / "system/autostart/c.txt", entryText());
    ASSERT_TRUE(set(true));
    EXPECT_EQ(3u, items().copyAllJobDictionaries().size());
}

TEST_F(NPLoginItemsLinuxTest, KeepsALinkAndChangesWhatItLeadsTo)
{
    writeFile(folder / "elsewhere", entryText("Hidden=true\n"));
    std::filesystem::create_directories(file.parent_path());
    std::filesystem::create_symlink(folder / "elsewhere", file);
    EXPECT_TRUE(set(true));
    EXPECT_TRUE(std::filesystem::is_symlink(file));
    EXPECT_EQ(entryText(), contentOf(folder / "elsewhere"));
}

TEST_F(NPLoginItemsLinuxTest, LeavesAloneWhatIsNoEntry)
{
    writeOwn("my notes\n");
    EXPECT_EQ(false, isEnabled());
    EXPECT_FALSE(set(true));
    EXPECT_TRUE(set(false));
    EXPECT_EQ("my notes\n", contentOf(file));
    EXPECT_EQ(std::vector<std::string>{file.string() + ": it is no desktop entry, and is left as it is"}, log);
}

TEST_F(NPLoginItemsLinuxTest, LeavesAloneAnotherEncodingThatItCannotRead)
{
    const std::string text("\xFF\xFE[\0D\0e\0s\0k\0", 12);
    writeOwn(text);
    EXPECT_FALSE(set(true));
    EXPECT_EQ(text, contentOf(file));
}

TEST_F(NPLoginItemsLinuxTest, TakesAnEmptyFileForNone)
{
    writeOwn("\n");
    EXPECT_TRUE(set(true));
    EXPECT_EQ(true, isEnabled());
}

TEST_F(NPLoginItemsLinuxTest, LeavesAFolderAndAPipeAlone)
{
    std::filesystem::create_directories(file / "content");
    EXPECT_EQ(false, isEnabled());
    EXPECT_FALSE(set(true));
    EXPECT_TRUE(std::filesystem::exists(file / "content"));
    std::filesystem::remove_all(file);
    ASSERT_EQ(0, ::mkfifo(file.c_str(), 0600));
    EXPECT_EQ(false, isEnabled()); // and is not waited for
    EXPECT_FALSE(set(true));
    EXPECT_EQ(2u, log.size());
}

TEST_F(NPLoginItemsLinuxTest, SaysWhyItCannotWrite)
{
    writeFile(folder / "config", std::string("no folder"));
    EXPECT_FALSE(set(true));
    ASSERT_EQ(1u, log.size());
    EXPECT_TRUE(log.front().starts_with(file.string() + ": ")) << log.front();
    folders.userConfiguration.clear();
    EXPECT_FALSE(set(true));
    EXPECT_TRUE(log.back().ends_with("there is no home folder")) << log.back();
}

TEST_F(NPLoginItemsLinuxTest, SaysThatAFolderCannotBeWritten)
{
    folders.userConfiguration = "/proc/self"; // for root neither
    EXPECT_FALSE(set(true));
    EXPECT_EQ(std::nullopt, isEnabled());
    EXPECT_EQ(1u, log.size());
}

TEST_F(NPLoginItemsLinuxTest, WritesNothingWithoutALauncher)
{
    EXPECT_FALSE(NPLoginItemsLinux(folders, "").setLoginItemEnabled(identifier, true));
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_EQ(std::vector<std::string>{file.string() + ": the launcher program is missing"}, log);
}
