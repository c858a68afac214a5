#include "Application/NPProgramOptions.h"

#include <gtest/gtest.h>

namespace {

NPProgramOptions options(const std::vector<std::string>& words)
{
    const auto parsed = NPParseProgramOptions(words);
    EXPECT_TRUE(parsed) << parsed.error();
    return parsed.value_or(NPProgramOptions());
}

std::string refusal(const std::vector<std::string>& words)
{
    const auto parsed = NPParseProgramOptions(words);
    return parsed ? std::string("accepted") : parsed.error();
}

} // namespace

TEST(NPProgramOptions, NoWordsRunTheProgramOnTheSessionsDisplays)
{
    const NPProgramOptions none = options({});
    EXPECT_EQ(none.action, NPProgramAction::run);
    EXPECT_EQ(none.platform, "auto");
    EXPECT_EQ(none.file, "");
}

TEST(NPProgramOptions, EachActionHasItsWord)
{
    EXPECT_EQ(options({"--toggle"}).action, NPProgramAction::toggle);
    EXPECT_EQ(options({"--preferences"}).action, NPProgramAction::preferences);
    EXPECT_EQ(options({"--quit"}).action, NPProgramAction::quit);
    EXPECT_EQ(options({"--help"}).action, NPProgramAction::help);
    EXPECT_EQ(options({"--version"}).action, NPProgramAction::version);
}

TEST(NPProgramOptions, OneActionAtATime)
{
    EXPECT_EQ(refusal({"--toggle", "--quit"}), "--toggle and --quit: one of them at a time");
    EXPECT_EQ(options({"--quit", "--quit"}).action, NPProgramAction::quit);
}

TEST(NPProgramOptions, FileIsHandedOverAsItIs)
{
    EXPECT_EQ(options({"My Night.nightpane"}).file, "My Night.nightpane");
    EXPECT_EQ(options({"--preferences", "/a/b"}).file, "/a/b");
    EXPECT_EQ(refusal({"a", "b"}), "one effect file at a time");
}

TEST(NPProgramOptions, FileGoesWithNoActionThatWouldNotOpenIt)
{
    EXPECT_EQ(refusal({"--toggle", "a"}), "--toggle takes no file");
    EXPECT_EQ(refusal({"a", "--quit"}), "--quit takes no file");
}

TEST(NPProgramOptions, PlatformIsOneOfThoseThatThereAre)
{
    for (const std::string name : {"auto", "x11", "simulated", "simulated:day.plist"}) {
        EXPECT_EQ(options({"--platform", name}).platform, name);
    }
    EXPECT_EQ(refusal({"--platform", "beos"}), "'beos' is no platform: auto, x11, simulated or simulated:FILE");
    EXPECT_EQ(refusal({"--platform", "simulated:"}),
              "'simulated:' is no platform: auto, x11, simulated or simulated:FILE");
    EXPECT_EQ(refusal({"--platform"}), "--platform: which one?");
}

TEST(NPProgramOptions, WhatIsNoOptionIsNamed)
{
    EXPECT_EQ(refusal({"--colour"}), "there is no option '--colour'; --help lists them");
    EXPECT_EQ(refusal({"-v"}), "there is no option '-v'; --help lists them");
}

TEST(NPProgramOptions, UsageNamesEveryOption)
{
    const std::string usage = NPProgramUsage();
    for (const char* const word :
         {"--toggle", "--preferences", "--quit", "--platform", "--help", "--version", "FILE"}) {
        EXPECT_NE(usage.find(word), std::string::npos) << word;
    }
}
