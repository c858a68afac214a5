#include "CommandLine/NPArguments.h"

#include <gtest/gtest.h>

namespace {

std::string errorOf(const std::vector<std::string>& words)
{
    const auto arguments = NPParseArguments(words);
    return arguments ? "" : arguments.error();
}

TEST(NPArguments, WordsAfterTheCommandAreItsOperands)
{
    const auto arguments = NPParseArguments({"set", "My Night", "dim=30%", "hue=20"});
    ASSERT_TRUE(arguments);
    EXPECT_EQ(arguments->command, "set");
    EXPECT_EQ(arguments->operands, (std::vector<std::string>{"My Night", "dim=30%", "hue=20"}));
}

TEST(NPArguments, OptionsMayStandAnywhereAndCarryTheirValueEitherWay)
{
    const auto arguments = NPParseArguments({"--platform=x11", "activate", "--fade", "timed", "Night"});
    ASSERT_TRUE(arguments);
    EXPECT_EQ(arguments->platform, "x11");
    EXPECT_EQ(arguments->fade, "timed");
    EXPECT_EQ(arguments->operands, std::vector<std::string>{"Night"});
}

TEST(NPArguments, NegativeNumbersAreOperands)
{
    const auto arguments = NPParseArguments({"location", "-33.9", "-.5"});
    ASSERT_TRUE(arguments);
    EXPECT_EQ(arguments->operands, (std::vector<std::string>{"-33.9", "-.5"}));
}

TEST(NPArguments, AfterTwoDashesEverythingIsAnOperand)
{
    const auto arguments = NPParseArguments({"activate", "--", "--json"});
    ASSERT_TRUE(arguments);
    EXPECT_EQ(arguments->operands, std::vector<std::string>{"--json"});
}

TEST(NPArguments, HelpAndVersionNeedNoCommand)
{
    EXPECT_TRUE(NPParseArguments({"--help"})->help);
    EXPECT_TRUE(NPParseArguments({"-h"})->help);
    EXPECT_TRUE(NPParseArguments({"--version"})->version);
}

TEST(NPArguments, ProfilesAreRuledOutForTheEngineAlone)
{
    EXPECT_FALSE(NPParseArguments({"run"})->noProfiles);
    EXPECT_TRUE(NPParseArguments({"run", "--no-profiles"})->noProfiles);
    EXPECT_EQ(errorOf({"restore", "--no-profiles"}), "restore takes no --no-profiles");
    EXPECT_EQ(errorOf({"run", "--no-profiles=1"}), "--no-profiles takes no value");
}

TEST(NPArguments, ProfileOfAScreenMayGoToAFile)
{
    const auto arguments = NPParseArguments({"profile", "2", "--out", "screen.icc", "--json"});
    ASSERT_TRUE(arguments);
    EXPECT_EQ(arguments->operands, std::vector<std::string>{"2"});
    EXPECT_EQ(arguments->out, "screen.icc");
    EXPECT_TRUE(arguments->json);
    EXPECT_FALSE(NPParseArguments({"profile", "2"})->out);
    EXPECT_EQ(errorOf({"profile"}), "usage: nightpane-cli profile SCREEN [--out FILE] [--json]");
    EXPECT_EQ(errorOf({"profile", "2", "--out"}), "--out needs a value");
    EXPECT_EQ(errorOf({"table", "2", "--out", "screen.icc"}), "table takes no --out");
}

TEST(NPArguments, MisuseIsSaidInOneLine)
{
    EXPECT_EQ(errorOf({}), "which command? See --help");
    EXPECT_EQ(errorOf({"dance"}), "there is no command 'dance'; see --help");
    EXPECT_EQ(errorOf({"list", "--loud"}), "there is no option --loud");
    EXPECT_EQ(errorOf({"activate"}), "usage: nightpane-cli activate EFFECT [--fade none|manual|timed]");
    EXPECT_EQ(errorOf({"activate", "a", "b"}), "usage: nightpane-cli activate EFFECT [--fade none|manual|timed]");
    EXPECT_EQ(errorOf({"location", "1"}), "usage: nightpane-cli location [LATITUDE LONGITUDE] [--json]");
    EXPECT_EQ(errorOf({"list", "--fade", "none"}), "list takes no --fade");
    EXPECT_EQ(errorOf({"activate", "a", "--fade"}), "--fade needs a value");
    EXPECT_EQ(errorOf({"sun", "--lat", "north"}), "--lat: 'north' is not a number");
    EXPECT_EQ(errorOf({"sun", "--lat", "1"}), "--lat and --lon go together");
    EXPECT_EQ(errorOf({"list", "--json=yes"}), "--json takes no value");
    EXPECT_EQ(errorOf({"list", "--platform", "simulated:"}),
              "'simulated:' is not a platform; expected auto, x11, simulated or simulated:FILE");
}

TEST(NPArguments, TheHelpNamesEveryCommand)
{
    const std::string help = NPUsageText();
    for (const std::string command :
         {"run",    "list",   "screens", "status",   "activate", "deactivate", "toggle",
          "on",     "off",    "new",     "set",      "rename",   "duplicate",  "remove",
          "import", "export", "sun",     "location", "table",    "restore"}) {
        EXPECT_NE(help.find("\n  " + command), std::string::npos) << command;
    }
}

} // namespace
