// The launcher, with stand-ins for the application that it starts.
#include "Platform/Linux/NPTemporaryFolder.h"
#include "Platform/Linux/NPTestProcess.h"

#include <gtest/gtest.h>

namespace {

class NPLauncherTest : public testing::Test {
protected:
    // A copy, so that the folders around it are the test's.
    std::string launcherIn(const std::string& place) const
    {
        std::filesystem::create_directories(folder / place);
        const std::filesystem::path path = folder / (place + "/nightpane-launcher");
        std::filesystem::copy_file(NP_TEST_LAUNCHER, path);
        return path;
    }

    void addApplication(const std::string& place) const
    {
        std::filesystem::create_directories(folder / place);
        writeFile(folder / (place + "/nightpane"), std::string("#!/bin/sh\necho \"$# $0\"\n"));
        std::filesystem::permissions(folder / (place + "/nightpane"), std::filesystem::perms::owner_all);
    }

    const NPTemporaryFolder folder;
};

} // namespace

TEST_F(NPLauncherTest, StartsTheApplicationBesideIt)
{
    addApplication("built here");
    EXPECT_EQ("0 " + (folder / "built here/nightpane").string() + "\n",
              NPTestOutputOf({launcherIn("built here")}));
}

TEST_F(NPLauncherTest, StartsTheInstalledApplication)
{
    const std::filesystem::path library(NP_TEST_LIBRARY_PATH); // from the programs' folder
    addApplication("prefix/bin");
    const std::string launcher = launcherIn((std::filesystem::path("prefix/bin") / library).lexically_normal());
    EXPECT_TRUE(NPTestOutputOf({launcher}).starts_with("0 "));
}

TEST_F(NPLauncherTest, SaysWhenThereIsNone)
{
    EXPECT_EQ("nightpane-launcher: nightpane cannot be started: No such file or directory\n",
              NPTestOutputOf({launcherIn("alone")}));
}
