// The engine and its commands with custom colour profiles where nobody but the X server knows of profiles.
#include "Desktop/Support/NPTestEngine.h"
#include "Desktop/Support/NPTestProgram.h"
#include "Foundation/QXURL.h"
#include "Platform/Linux/NPTestSessionBus.h"
#include "Support/ColorProfiles.h"
#include "Support/GammaTables.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <sstream>

namespace {

constexpr const char* output = "screen"; // Xvfb's
constexpr const char* property = "_ICC_PROFILE";

QXData calibration(float level)
{
    QXColorProfile profile = colorProfileOf({{"cprt", bytesOf("own")}});
    QXColorProfileSetGammaTable(profile, scaledTable(level));
    return profile.copyData().value();
}

// The guard process of an engine.
pid_t guardOf(pid_t engine)
{
    const std::string number = std::to_string(engine);
    std::string children;
    std::getline(std::ifstream("/proc/" + number + "/task/" + number + "/children"), children);
    return children.empty() ? 0 : std::stoi(children);
}

bool isGone(pid_t process)
{
    std::string state;
    std::ifstream stat("/proc/" + std::to_string(process) + "/stat");
    return !(stat >> state >> state >> state) || state == "Z";
}

// All but the line which says that there is no colour service.
std::string withoutServiceLine(const std::string& errors)
{
    std::string rest;
    std::istringstream stream(errors);
    for (std::string line; std::getline(stream, line);) {
        rest += line.contains("Custom colour profiles go into the X server alone") ? "" : line + '\n';
    }
    return rest;
}

// A display with a profile whose gamma table ends at 0.8, and effect Night, which dims to a half.
class NPProfilesOfEngineTest : public testing::Test {
protected:
    NPProfilesOfEngineTest()
    {
        randr.setGamma(output, NPTestIdentityGamma());
        randr.setOutputProperty(output, property, own);
    }

    struct Ended {
        int status;
        std::string output;
        std::string errors;
    };

    static Ended run(std::vector<std::string> words)
    {
        words.insert(words.begin(), NP_TEST_CLI);
        NPTestProgram program(words);
        const int status = program.wait();
        return {status, program.output(), program.errors()};
    }

    static NPTestProgram startEngine()
    {
        run({"new", "Night", "dim=50%"});
        run({"activate", "Night", "--fade", "none"});
        return NPTestProgram({NP_TEST_CLI, "run"});
    }

    // Whose custom profile the display uses.
    NPTestProgram startWithNight()
    {
        NPTestProgram engine = startEngine();
        if (!NPTestEventually([&] { return usesCustomProfile(); })) {
            throw std::runtime_error("no custom profile: " + engine.errors());
        }
        return engine;
    }

    QXData used() const { return randr.bytes(output, property).value_or(QXData()); }

    bool usesCustomProfile() const
    {
        const auto profile = QXColorProfile::profileWithData(used());
        return profile && QXColorProfileIsCustom(*profile) && !randr.rootPropertyNames(property).empty();
    }

    bool hasItsOwnProfile() const
    {
        return used() == own && randr.rootPropertyNames("_ICC").empty() && !randr.bytes(output, former)
               && randr.rootPropertyNames("_NIGHTPANE_ICC").empty();
    }

    bool shows(float level) const { return randr.gamma(output) == NPTestGammaOf(scaledTable(level)); }

    // Kills the engine and its guard, so that nobody gives anything back.
    static void crash(NPTestProgram& engine)
    {
        const pid_t guard = guardOf(engine.process());
        ASSERT_GT(guard, 0);
        ::kill(engine.process(), SIGSTOP); // it would start another guard
        ::kill(guard, SIGKILL);
        ASSERT_TRUE(NPTestEventually([&] { return isGone(guard); }));
        engine.signal(SIGKILL);
        engine.wait();
    }

    static constexpr const char* former = "_NIGHTPANE_ICC_PROFILE";
    const QXData own = calibration(0.8F);
    NPTestXServer server = NPTestXServer::xvfb();
    NPTestRandR randr{server.displayName()};
    NPTemporaryFolder folder;
    NPTestVariable display{"DISPLAY", server.displayName()};
    NPTestVariable config{"XDG_CONFIG_HOME", (folder / "config").string()};
    NPTestVariable caches{"XDG_CACHE_HOME", (folder / "caches").string()};
    NPTestVariable runtime{"XDG_RUNTIME_DIR", folder.path().string()};
    NPTestVariable noService{"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + (folder / "none").string()};
    NPTestSessionBus sessionBus;
};

TEST_F(NPProfilesOfEngineTest, EffectAtRestIsInTheProfileThatTheServerHolds)
{
    NPTestProgram engine = startWithNight();
    const auto profile = QXColorProfile::profileWithData(used());
    EXPECT_NEAR(QXColorProfileGetGammaTable(*profile).redTable[255], 0.8F, 1e-4F);
    EXPECT_EQ(randr.bytes("", property), used());
    EXPECT_NEAR(randr.gamma(output)[0].back() / 65535.0, 0.4, 1e-4);
    engine.signal(SIGTERM);
    EXPECT_EQ(engine.wait(), 0);
    EXPECT_TRUE(hasItsOwnProfile());
    EXPECT_TRUE(shows(0.8F));
}

TEST_F(NPProfilesOfEngineTest, DeactivatingBringsTheFormerProfileAndTableBack)
{
    NPTestProgram engine = startWithNight();
    run({"deactivate", "Night", "--fade", "none"});
    EXPECT_TRUE(NPTestEventually([&] { return hasItsOwnProfile(); }));
    EXPECT_TRUE(shows(0.8F));
    run({"activate", "Night", "--fade", "none"});
    EXPECT_TRUE(NPTestEventually([&] { return usesCustomProfile(); }));
    engine.signal(SIGTERM);
    EXPECT_EQ(engine.wait(), 0);
    EXPECT_TRUE(hasItsOwnProfile());
}

TEST_F(NPProfilesOfEngineTest, KilledEnginesGuardPutsTheProfileBack)
{
    NPTestProgram engine = startWithNight();
    engine.signal(SIGKILL);
    engine.wait();
    EXPECT_TRUE(NPTestEventually([&] { return hasItsOwnProfile(); }));
    EXPECT_TRUE(NPTestEventually([&] { return shows(0.8F); }));
}

TEST_F(NPProfilesOfEngineTest, RestoreGivesProfileAndTableBackWhenTheGuardWasKilledToo)
{
    NPTestProgram engine = startWithNight();
    crash(engine);
    EXPECT_TRUE(usesCustomProfile());
    EXPECT_FALSE(shows(0.8F));
    const Ended restored = run({"restore"});
    EXPECT_EQ(restored.status, 0) << restored.errors;
    EXPECT_TRUE(hasItsOwnProfile());
    EXPECT_TRUE(shows(0.8F));
    EXPECT_FALSE(std::filesystem::exists(folder / "caches/org.nightpane.Nightpane/Color Profiles"));
}

TEST_F(NPProfilesOfEngineTest, EngineAfterACrashOfBothDoesNotStack)
{
    NPTestProgram engine = startWithNight();
    crash(engine);
    NPTestProgram next({NP_TEST_CLI, "run"});
    EXPECT_TRUE(NPTestEventually([&] { return usesCustomProfile() && next.output().contains("white"); }));
    EXPECT_NEAR(randr.gamma(output)[0].back() / 65535.0, 0.4, 1e-4);
    next.signal(SIGTERM);
    EXPECT_EQ(next.wait(), 0);
    EXPECT_TRUE(hasItsOwnProfile());
    EXPECT_TRUE(shows(0.8F));
}

TEST_F(NPProfilesOfEngineTest, SettingRulesProfilesOut)
{
    std::filesystem::create_directories(folder / "config/nightpane");
    writeFile(folder / "config/nightpane/org.nightpane.Nightpane.plist",
              bytesOf("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
                      "<key>ApplyToColorProfile</key><false/></dict></plist>"));
    NPTestProgram engine = startEngine();
    ASSERT_TRUE(NPTestEventually([&] { return engine.output().contains("white"); }));
    run({"off"}); // far beyond the time in which a profile would have been used
    run({"on"});
    EXPECT_TRUE(NPTestEventually([&] { return std::abs(randr.gamma(output)[0].back() - 26214) <= 1; }));
    EXPECT_TRUE(hasItsOwnProfile());
    engine.signal(SIGTERM);
    EXPECT_EQ(engine.wait(), 0);
    EXPECT_TRUE(hasItsOwnProfile());
    EXPECT_TRUE(shows(0.8F));
    EXPECT_FALSE(std::filesystem::exists(folder / "caches"));
    EXPECT_FALSE(engine.errors().contains("olour")) << engine.errors(); // no service was looked for
}

TEST_F(NPProfilesOfEngineTest, ProfileIsWrittenAsItStandsInTheServer)
{
    const std::string out = folder / "out.icc";
    const Ended ended = run({"profile", "1", "--out", out});
    EXPECT_EQ(ended.status, 0) << ended.errors;
    EXPECT_EQ(contentOf<QXData>(out), own);
    EXPECT_NE(ended.output.find("In use        its own profile, " + std::to_string(own.size()) + " bytes\n"),
              std::string::npos)
        << ended.output;
    NPTestProgram engine = startWithNight();
    EXPECT_EQ(run({"profile", "1", "--out", out}).status, 0);
    EXPECT_EQ(contentOf<QXData>(out), used());
}

TEST_F(NPProfilesOfEngineTest, ProfileIsDescribedInJSON)
{
    const std::string ownText = run({"profile", "1", "--json"}).output;
    EXPECT_NE(ownText.find(R"("baseFrom":"table","custom":false,"samples":256,)"), std::string::npos) << ownText;
    NPTestProgram engine = startWithNight();
    const std::string text = run({"profile", "1", "--json"}).output;
    EXPECT_NE(text.find(R"("baseFrom":"private","custom":true,"samples":256,)"), std::string::npos) << text;
    EXPECT_NE(text.find(R"({"signature":"NP^b","size":1554})"), std::string::npos) << text;
    EXPECT_EQ(text.find("location"), std::string::npos) << text; // a property has none
}

TEST_F(NPProfilesOfEngineTest, ProfileThatCannotBeWrittenOrFoundFailsInOneLine)
{
    const std::string out = folder / "missing" / "out.icc";
    const Ended unwritable = run({"profile", "1", "--out", out});
    EXPECT_EQ(unwritable.status, 1);
    EXPECT_EQ(withoutServiceLine(unwritable.errors), "nightpane-cli: " + out + ": No such file or directory\n");
    const Ended unknown = run({"profile", "7"});
    EXPECT_NE(unknown.status, 0);
    EXPECT_EQ(withoutServiceLine(unknown.errors), "nightpane-cli: there is no screen '7'\n");
}

TEST_F(NPProfilesOfEngineTest, StalledServerDoesNotHangTheQuitAndGetsTheProfileBackLater)
{
    NPTestProgram engine = startWithNight();
    server.suspend();
    engine.signal(SIGTERM);
    EXPECT_NE(engine.wait(), 0); // gives up after thirty seconds
    EXPECT_NE(engine.errors().find("These displays have not been given their own colour profiles back: "),
              std::string::npos)
        << engine.errors();
    server.resume();
    EXPECT_TRUE(NPTestEventually([&] { return hasItsOwnProfile(); }));
    EXPECT_TRUE(NPTestEventually([&] { return shows(0.8F); }));
}

} // namespace
