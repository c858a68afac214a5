#include "CommandLine/NPCommands.h"

#include "Platform/Linux/NPTestControl.h"
#include "Platform/Simulated/NPSimulatedPlatform.h"

#include <gtest/gtest.h>

namespace {

class NPCommandsTest : public testing::Test {
protected:
    NPControlResult<void> perform(const std::vector<std::string>& words)
    {
        const NPPlatform& services = platform.services();
        return NPPerformCommand(
            NPParseArguments(words).value(), control,
            {services.timeZones.systemTimeZone(), services.clock, services.defaults, keyboardLayout});
    }

    std::string errorOf(const std::vector<std::string>& words)
    {
        const NPControlResult<void> result = perform(words);
        return result ? "" : result.error().message;
    }

    NPSimulatedPlatform platform{QXDate{0.0}};
    NPUSKeyboardLayout keyboardLayout;
    NPTestControl control;
};

TEST_F(NPCommandsTest, AnswersOfAnotherVersionAreRefusedInOneLine)
{
    control.list = {QXDictionary{{"identifier", "A"}, {"name", 5}, {"settings", QXDictionary()}}};
    EXPECT_EQ(errorOf({"list"}),
              "the running instance describes its effects in another form; is it of another version?");
    control.list = {7};
    EXPECT_EQ(errorOf({"screens"}),
              "the running instance describes its screens in another form; is it of another version?");
}

TEST_F(NPCommandsTest, ANewEffectHasOneName)
{
    EXPECT_EQ(errorOf({"new", "Night", "name=Day"}), "the name is given twice: 'Night' and 'Day'");
    EXPECT_TRUE(control.requests.empty());
}

} // namespace
