#include "Platform/Linux/NPInstalledApplications.h"

#include "Platform/Linux/NPTemporaryFolder.h"
#include "Platform/Linux/NPTestSessionBus.h"

#include <gtest/gtest.h>

namespace {

class NPInstalledApplicationsTest : public testing::Test {
protected:
    NPInstalledApplicationsTest()
    {
        for (const std::string name : {"own/applications", "system/applications", "bin"}) {
            std::filesystem::create_directories(folder / name);
        }
        folders.data = {folder / "own", folder / "system"};
        folders.programs = {folder / "bin"};
        folders.locale = "de_DE.UTF-8";
    }

    void addProgram(const std::string& name) const
    {
        writeFile(folder / ("bin/" + name), std::string("#!/bin/sh\n"));
        std::filesystem::permissions(folder / ("bin/" + name), std::filesystem::perms::owner_all);
    }

    void addEntry(const std::string& place, const std::string& more = "") const
    {
        writeFile(folder / place, "[Desktop Entry]\nType=Application\nName=f.lux\nName[de]=Fluss\nIcon=flux\n"
                                  "Exec=flux %u\n"
                                      + more);
    }

    std::optional<std::string> path(const std::string& identifier = "fluxgui") const
    {
        return NPInstalledApplications(folders).pathForIdentifier(identifier);
    }

    const NPTemporaryFolder folder;
    NPDesktopFolders folders;
};

} // namespace

TEST_F(NPInstalledApplicationsTest, FindsNothingThatIsNotInstalled)
{
    EXPECT_EQ(std::nullopt, path());
    EXPECT_EQ(std::nullopt, path(""));
    EXPECT_EQ(std::nullopt, path("../bin/flux"));
}

TEST_F(NPInstalledApplicationsTest, FindsAnEntryWhoseProgramIsThere)
{
    addEntry("system/applications/fluxgui.desktop");
    EXPECT_EQ(std::nullopt, path());
    addProgram("flux");
    EXPECT_EQ(folder / "system/applications/fluxgui.desktop", path());
}

TEST_F(NPInstalledApplicationsTest, PrefersTheUsersEntryAndObeysIt)
{
    addProgram("flux");
    addEntry("system/applications/fluxgui.desktop");
    addEntry("own/applications/fluxgui.desktop");
    EXPECT_EQ(folder / "own/applications/fluxgui.desktop", path());
    addEntry("own/applications/fluxgui.desktop", "Hidden=true\n");
    EXPECT_EQ(std::nullopt, path());
}

TEST_F(NPInstalledApplicationsTest, FindsACommandWithoutAnEntry)
{
    addProgram("fluxgui");
    EXPECT_EQ(folder / "bin/fluxgui", path());
}

TEST_F(NPInstalledApplicationsTest, PassesOverWhatIsNoEntry)
{
    addProgram("flux");
    writeFile(folder / "own/applications/fluxgui.desktop", std::string("notes"));
    std::filesystem::create_directory(folder / "own/applications/other.desktop");
    addEntry("system/applications/fluxgui.desktop");
    EXPECT_EQ(folder / "system/applications/fluxgui.desktop", path());
    EXPECT_EQ(std::nullopt, path("other"));
}

TEST_F(NPInstalledApplicationsTest, NamesAnEntryInTheUsersLanguageWithItsExtension)
{
    addEntry("own/applications/fluxgui.desktop");
    const NPInstalledApplications applications(folders);
    const std::string file = folder / "own/applications/fluxgui.desktop";
    EXPECT_EQ("Fluss.desktop", applications.displayNameAtPath(file));
    EXPECT_EQ("flux", applications.iconForFile(file));
    EXPECT_EQ("fluxgui", applications.displayNameAtPath("/usr/bin/fluxgui"));
    EXPECT_EQ(std::nullopt, applications.iconForFile("/usr/bin/fluxgui"));
    EXPECT_EQ("gone.desktop", applications.displayNameAtPath("/no/gone.desktop"));
}

TEST(NPApplicationPath, IsTheProgramsOwnFileWhereItIsNotInstalled)
{
    const std::string path = NPApplicationPath();
    EXPECT_TRUE(path.ends_with("/nightpane")) << path;
    EXPECT_FALSE(path.contains("/Applications/")) << path;
}

// The rule for a reliable place looks for this folder's name.
TEST(NPApplicationPath, IsInAnApplicationsFolderWhereItIsInstalledWithItsEntry)
{
    const NPTemporaryFolder folder;
    const std::filesystem::path entry =
        (folder.path() / "bin" / NP_TEST_ENTRY_PATH / "nightpane.desktop").lexically_normal();
    std::filesystem::create_directories(folder / "bin");
    std::filesystem::copy_file(NP_TEST_CONTROL_CLIENT, folder / "bin/client");
    const auto path = [&] { return NPTestOutputOf({folder / "bin/client", "path"}); };
    EXPECT_EQ(path(), std::string(folder / "bin/nightpane") + '\n');
    std::filesystem::create_directories(entry.parent_path());
    writeFile(entry, std::string("[Desktop Entry]\n"));
    EXPECT_EQ(path(), std::string(folder / "Applications/Nightpane") + '\n');
}

TEST(NPDesktopFolders, GoesByTheEnvironment)
{
    const NPTestVariable home("HOME", "/home/ann");
    const NPTestVariable config("XDG_CONFIG_HOME", "relative");
    const NPTestVariable configs("XDG_CONFIG_DIRS", "/a:b:/c");
    const NPTestVariable dataHome("XDG_DATA_HOME", "/data");
    const NPTestVariable data("XDG_DATA_DIRS", std::nullopt);
    const NPTestVariable desktop("XDG_CURRENT_DESKTOP", "ubuntu:GNOME");
    const NPDesktopFolders folders = NPDesktopFolders::ofEnvironment();
    EXPECT_EQ("/home/ann/.config", folders.userConfiguration);
    EXPECT_EQ((std::vector<std::string>{"/a", "/c"}), folders.systemConfigurations);
    EXPECT_EQ((std::vector<std::string>{"/data", "/usr/local/share", "/usr/share"}), folders.data);
    EXPECT_EQ((std::vector<std::string>{"ubuntu", "GNOME"}), folders.desktops);
}

TEST(NPDesktopFolders, HasNoneOfTheUsersWithoutAHome)
{
    const NPTestVariable home("HOME", std::nullopt);
    const NPTestVariable config("XDG_CONFIG_HOME", std::nullopt);
    const NPTestVariable dataHome("XDG_DATA_HOME", std::nullopt);
    const NPTestVariable data("XDG_DATA_DIRS", "/d");
    EXPECT_EQ("", NPDesktopFolders::ofEnvironment().userConfiguration);
    EXPECT_EQ(std::vector<std::string>{"/d"}, NPDesktopFolders::ofEnvironment().data);
}
