#include "Platform/Linux/NPSettingsFolder.h"

#include "Foundation/QXLog.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

class NPSettingsFolderTest : public testing::Test {
protected:
    std::vector<std::string> lines;
    QXLogRedirection redirection{[this](std::string_view line) { lines.emplace_back(line); }};
};

} // namespace

TEST_F(NPSettingsFolderTest, IsInTheConfigurationFolder)
{
    EXPECT_EQ(NPSettingsFolder("/configuration", "/home/somebody"), "/configuration/nightpane");
    EXPECT_TRUE(lines.empty());
}

TEST_F(NPSettingsFolderTest, IsInTheHomeFolderWithoutAConfigurationFolder)
{
    EXPECT_EQ(NPSettingsFolder(nullptr, "/home/somebody"), "/home/somebody/.config/nightpane");
    EXPECT_EQ(NPSettingsFolder("", "/home/somebody"), "/home/somebody/.config/nightpane");
    EXPECT_TRUE(lines.empty());
}

TEST_F(NPSettingsFolderTest, IgnoresARelativeConfigurationFolder)
{
    EXPECT_EQ(NPSettingsFolder("configuration", "/home/somebody"), "/home/somebody/.config/nightpane");
    EXPECT_EQ(lines,
              std::vector<std::string>{"XDG_CONFIG_HOME is ignored: \"configuration\" is no absolute path"});
}

TEST_F(NPSettingsFolderTest, IsNoneWithoutAnyFolder)
{
    EXPECT_FALSE(NPSettingsFolder(nullptr, nullptr));
    EXPECT_EQ(lines, std::vector<std::string>{
                         "Settings are kept in memory only: neither XDG_CONFIG_HOME nor HOME names a folder"});
}
