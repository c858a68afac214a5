#include "Desktop/Application/NPTestApplication.h"

#include "Foundation/QXPropertyList.h"

#include <algorithm>
#include <cmath>
#include <fstream>

NPTestApplication::NPTestApplication()
{
    EXPECT_TRUE(NPTestEventually([] { return !NPTestShell("xdotool get_num_desktops").empty(); })); // it has begun
    for (const NPTestRandR::Output& output : randr.outputs()) {
        if (output.crtc != 0) {
            randr.setGamma(output.crtc, NPTestIdentityGamma());
        }
    }
}

static NPTestEnded runProgram(std::vector<std::string> words, const char* path)
{
    words.insert(words.begin(), path);
    NPTestProgram program(words);
    const int status = program.wait();
    return {status, program.output(), program.errors()};
}

NPTestEnded NPTestApplication::run(std::vector<std::string> words)
{
    return runProgram(std::move(words), NP_TEST_PROGRAM);
}

NPTestEnded NPTestApplication::runCli(std::vector<std::string> words)
{
    return runProgram(std::move(words), NP_TEST_CLI);
}

void NPTestApplication::writeSettings(const std::string& entries) const
{
    std::filesystem::create_directories(folder / "config/nightpane");
    std::ofstream(settingsFile()) << "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\"><dict>"
                                  << entries << "</dict></plist>\n";
}

QXDictionary NPTestApplication::storedSettings() const
{
    const auto value = QXPropertyListFromData(contentOf<QXData>(settingsFile()));
    return value && value->dictionary() ? *value->dictionary() : QXDictionary();
}

void NPTestApplication::addNight() const
{
    const NPTestVariable noBus("DBUS_SESSION_BUS_ADDRESS", std::nullopt);
    ASSERT_EQ(runCli({"new", "Night", "dim=20%", "manual-fade=0"}).status, 0);
    ASSERT_EQ(runCli({"activate", "Night", "--fade", "none"}).status, 0);
}

NPTestProgram NPTestApplication::start(std::vector<std::string> words, const std::string& path) const
{
    words.insert(words.begin(), path);
    NPTestProgram program(words);
    if (!NPTestEventually([&] { return std::filesystem::exists(folder / "nightpane.socket"); })) {
        throw std::runtime_error("nightpane does not start: " + program.errors());
    }
    return program;
}

std::string NPTestApplication::windowNamed(const std::string& title)
{
    std::string found;
    NPTestEventually([&] {
        found = NPTestShell("xdotool search --onlyvisible --name '^" + title + "$'");
        return !found.empty();
    });
    return found.substr(0, found.find('\n'));
}

bool NPTestApplication::isWindowVisible(const std::string& title)
{
    return !NPTestShell("xdotool search --onlyvisible --name '^" + title + "$'").empty();
}

std::string NPTestApplication::listedWindows()
{
    return NPTestShell("wmctrl -lx | awk '{print $3}'");
}

std::string NPTestApplication::activeWindow()
{
    return NPTestShell("xdotool getactivewindow | tr -d '\\n'");
}

NPTestGamma NPTestApplication::gamma() const
{
    for (const NPTestRandR::Output& output : randr.outputs()) {
        if (output.crtc != 0) {
            return randr.gamma(output.crtc);
        }
    }
    throw std::runtime_error("no output is driven");
}

NPTestGamma NPTestDimmedBy20()
{
    NPTestGamma gamma = NPTestIdentityGamma();
    for (auto& channel : gamma) {
        std::ranges::transform(channel, channel.begin(), [](std::uint16_t value) {
            return static_cast<std::uint16_t>(std::lround(value * 0.8));
        });
    }
    return gamma;
}

std::string NPTestShell(const std::string& command)
{
    NPTestProgram shell({"/bin/sh", "-c", command});
    return shell.wait() == 0 ? shell.output() : "";
}
