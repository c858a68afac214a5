// Custom profiles from the effect to the display and back: the real engine, colord, xiccd and Xorg.
#include "Desktop/Support/NPTestColorService.h"
#include "Desktop/Support/NPTestEngine.h"
#include "Desktop/Support/NPTestProgram.h"
#include "ScreenGamma/QXDisplayColors.h"
#include "Support/ColorProfiles.h"
#include "Support/GammaTables.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <sstream>

namespace {

using Connectors = std::vector<std::string>;
const Connectors connectors = {"DUMMY0", "DUMMY1", "DUMMY2"};

// Whoever loads a profile rounds in a way of their own.
bool isAlmost(const NPTestGamma& left, const NPTestGamma& right)
{
    const auto alike = [](const std::vector<std::uint16_t>& one, const std::vector<std::uint16_t>& other) {
        return std::ranges::equal(one, other, [](int a, int b) { return std::abs(a - b) <= 16; });
    };
    return alike(left[0], right[0]) && alike(left[1], right[1]) && alike(left[2], right[2]);
}

long linesAboutColours(const std::string& text)
{
    std::istringstream stream(text);
    long count = 0;
    for (std::string line; std::getline(stream, line);) {
        count += line.contains("olour") ? 1 : 0;
    }
    return count;
}

// Three displays, each with a profile whose gamma table ends at 0.8, and effect Night, which dims to a half.
class NPColorServiceTest : public testing::Test {
protected:
    explicit NPColorServiceTest(bool isPermitted = true) : service(isPermitted)
    {
        server.switchOn(3);
        for (const std::string& connector : connectors) {
            randr.setGamma(connector, NPTestIdentityGamma());
        }
        writeProfile("own", 0.8F);
        writeProfile("other", 0.6F);
    }

    void startService()
    {
        service.start(connectors);
        for (const std::string& connector : connectors) {
            service.use(connector, folder / "own.icc");
        }
        ASSERT_TRUE(eventuallyShows(0.8F));
    }

    void writeProfile(const std::string& name, float level)
    {
        QXColorProfile profile = QXColorProfileForDisplay(QXStandardColors, name.c_str()).value();
        QXColorProfileSetGammaTable(profile, scaledTable(level));
        writeFile(folder / (name + ".icc"), profile.copyData().value());
    }

    static std::string run(std::vector<std::string> words)
    {
        words.insert(words.begin(), NP_TEST_CLI);
        NPTestProgram program(words);
        EXPECT_EQ(program.wait(), 0) << words[1] << ": " << program.errors();
        return program.output();
    }

    static NPTestProgram startEngine(const std::vector<std::string>& options = {})
    {
        std::vector<std::string> words = {NP_TEST_CLI, "run"};
        words.insert(words.end(), options.begin(), options.end());
        NPTestProgram engine(words);
        if (!NPTestEventually([&] { return engine.output().contains("white"); })) {
            throw std::runtime_error("the engine does not start: " + engine.errors());
        }
        return engine;
    }

    // With Night on, whose profiles the displays use.
    NPTestProgram startWithNight()
    {
        run({"new", "Night", "dim=50%"});
        run({"activate", "Night", "--fade", "none"});
        NPTestProgram engine = startEngine();
        EXPECT_TRUE(eventuallyUses("nightpane"));
        return engine;
    }

    static void end(NPTestProgram& engine)
    {
        engine.signal(SIGTERM);
        EXPECT_EQ(engine.wait(), 0) << engine.errors();
    }

    bool eventuallyShows(float level)
    {
        const NPTestGamma expected = NPTestGammaOf(scaledTable(level));
        return NPTestEventually([&] {
            return std::ranges::all_of(connectors, [&](const std::string& connector) {
                return isAlmost(randr.gamma(connector), expected);
            });
        });
    }

    // Whether the profile in use of every display comes to be one of that name.
    bool eventuallyUses(const std::string& name)
    {
        return NPTestEventually([&] {
            return std::ranges::all_of(connectors, [&](const std::string& connector) {
                return service.profiles(connector).starts_with(name);
            });
        });
    }

    std::string customFile(const std::string& screen) const
    {
        const std::string out = folder / (screen + ".icc");
        run({"profile", screen, "--out", out});
        return out;
    }

    NPTestXServer server = NPTestXServer::xorg();
    NPTestRandR randr{server.displayName()};
    NPTemporaryFolder folder;
    NPTestVariable display{"DISPLAY", server.displayName()};
    NPTestVariable config{"XDG_CONFIG_HOME", (folder / "config").string()};
    NPTestVariable caches{"XDG_CACHE_HOME", (folder / "caches").string()};
    NPTestVariable runtime{"XDG_RUNTIME_DIR", folder.path().string()};
    NPTestSessionBus sessionBus;
    NPTestColorService service;
};

TEST_F(NPColorServiceTest, EffectMakesOurProfileTheDefaultAndItsTableIsShown)
{
    startService();
    NPTestProgram engine = startWithNight();
    EXPECT_TRUE(eventuallyShows(0.4F));
    for (const std::string screen : {"1", "2", "3"}) {
        const auto profile = QXColorProfile::profileWithData(contentOf<QXData>(customFile(screen)));
        ASSERT_TRUE(profile);
        EXPECT_NEAR(QXColorProfileGetGammaTable(*profile).redTable[255], 0.8F, 1e-4F);
        EXPECT_EQ(QXColorProfileCopyBaseURL(*profile), "file://" + (folder / "own.icc").string());
        EXPECT_EQ(profile->tag(QXDescriptionTag)->size(), 63U);
        QXColorProfile shown = *profile;
        QXColorProfileSetGammaTable(shown, QXColorProfileGetGammaTable(*profile));
        EXPECT_NE(shown.copyData(), profile->copyData());
    }
    EXPECT_NE(NPTestOutputOf("dispwin -d1 -V '" + customFile("1") + "' || true").find("IS loaded"),
              std::string::npos);
    end(engine);
}

TEST_F(NPColorServiceTest, SwitchingOffBringsTheFormerProfileAndTableBack)
{
    startService();
    NPTestProgram engine = startWithNight();
    run({"off"});
    EXPECT_TRUE(eventuallyUses("test_own"));
    EXPECT_TRUE(eventuallyShows(0.8F));
    run({"on"});
    EXPECT_TRUE(eventuallyUses("nightpane"));
    EXPECT_TRUE(eventuallyShows(0.4F));
    end(engine);
}

TEST_F(NPColorServiceTest, DeactivatingBringsTheFormerProfileAndTableBack)
{
    startService();
    NPTestProgram engine = startWithNight();
    run({"deactivate", "Night", "--fade", "none"});
    EXPECT_TRUE(eventuallyUses("test_own"));
    EXPECT_TRUE(eventuallyShows(0.8F));
    run({"activate", "Night", "--fade", "none"});
    EXPECT_TRUE(eventuallyUses("nightpane"));
    EXPECT_TRUE(eventuallyShows(0.4F));
    end(engine);
    EXPECT_TRUE(eventuallyUses("test_own"));
}

TEST_F(NPColorServiceTest, DeactivatingOnOneDisplayBringsItsProfileBackAlone)
{
    startService();
    NPTestProgram engine = startWithNight();
    run({"set", "Night", "screens=1,3"});
    run({"new", "Day", "dim=50%", "screens=2"});
    run({"activate", "Day", "--fade", "none"});
    run({"deactivate", "Day", "--fade", "none"});
    EXPECT_TRUE(NPTestEventually([&] { return service.profiles("DUMMY1").starts_with("test_own"); }));
    EXPECT_TRUE(isAlmost(randr.gamma("DUMMY1"), NPTestGammaOf(scaledTable(0.8F))));
    for (const std::string connector : {"DUMMY0", "DUMMY2"}) {
        EXPECT_TRUE(service.profiles(connector).starts_with("nightpane"));
        EXPECT_TRUE(isAlmost(randr.gamma(connector), NPTestGammaOf(scaledTable(0.4F))));
    }
    end(engine);
}

TEST_F(NPColorServiceTest, QuittingGivesEveryDisplayItsProfileAndLeavesNoFile)
{
    startService();
    NPTestProgram engine = startWithNight();
    end(engine);
    for (const std::string& connector : connectors) {
        EXPECT_TRUE(service.profiles(connector).starts_with("test_own")) << service.profiles(connector);
    }
    EXPECT_TRUE(eventuallyShows(0.8F));
    EXPECT_FALSE(std::filesystem::exists(folder / "caches/org.nightpane.Nightpane/Color Profiles"));
    EXPECT_EQ(linesAboutColours(engine.errors()), 0) << engine.errors();
}

TEST_F(NPColorServiceTest, KilledEngineGivesTheProfilesBackAndTheNextOneDoesNotStack)
{
    startService();
    for (int round = 0; round < 2; ++round) {
        NPTestProgram engine = round == 0 ? startWithNight() : startEngine();
        EXPECT_TRUE(eventuallyUses("nightpane"));
        EXPECT_TRUE(eventuallyShows(0.4F));
        engine.signal(SIGKILL);
        EXPECT_EQ(engine.wait(), -SIGKILL);
        EXPECT_TRUE(eventuallyUses("test_own"));
        EXPECT_TRUE(eventuallyShows(0.8F));
    }
    run({"restore"});
    EXPECT_TRUE(eventuallyShows(0.8F));
}

TEST_F(NPColorServiceTest, ProfileThatAnotherProgramChoosesIsTheNewBase)
{
    startService();
    NPTestProgram engine = startWithNight();
    for (const std::string& connector : connectors) {
        service.use(connector, folder / "other.icc");
    }
    EXPECT_TRUE(eventuallyShows(0.3F));
    EXPECT_TRUE(eventuallyUses("nightpane"));
    end(engine);
    EXPECT_TRUE(eventuallyUses("test_other"));
    EXPECT_TRUE(eventuallyShows(0.6F));
}

TEST_F(NPColorServiceTest, FormerProfileThatAnotherProgramChoosesAgainDoesNotEndTheEffect)
{
    startService();
    NPTestProgram engine = startWithNight();
    EXPECT_TRUE(eventuallyShows(0.4F));
    for (const std::string& connector : connectors) {
        service.use(connector, folder / "own.icc");
    }
    EXPECT_TRUE(eventuallyUses("nightpane"));
    EXPECT_TRUE(eventuallyShows(0.4F));
    end(engine);
}

TEST_F(NPColorServiceTest, ServiceThatStartsLaterIsUsedFromThenOn)
{
    run({"new", "Night", "dim=50%"});
    run({"activate", "Night", "--fade", "none"});
    NPTestProgram engine = startEngine();
    EXPECT_TRUE(eventuallyShows(0.5F));
    service.start(connectors);
    for (const std::string& connector : connectors) {
        service.use(connector, folder / "own.icc");
    }
    EXPECT_TRUE(eventuallyUses("nightpane"));
    EXPECT_TRUE(eventuallyShows(0.4F));
    end(engine);
    EXPECT_EQ(linesAboutColours(engine.errors()), 1) << engine.errors();
}

TEST_F(NPColorServiceTest, FrozenServiceDoesNotHangTheQuitAndTheDisplaysAreNamed)
{
    startService();
    NPTestProgram engine = startWithNight();
    service.freeze();
    engine.signal(SIGTERM);
    EXPECT_EQ(engine.wait(), 0);
    EXPECT_TRUE(eventuallyShows(0.8F));
    EXPECT_NE(engine.errors().find("These displays have not been given their own colour profiles back: "),
              std::string::npos)
        << engine.errors();
}

TEST_F(NPColorServiceTest, FrozenBusHoldsUpNeitherTheEffectNorTheQuit)
{
    service.freezeBus();
    run({"new", "Night", "dim=50%"});
    run({"activate", "Night", "--fade", "none"});
    NPTestProgram engine = startEngine();
    EXPECT_TRUE(eventuallyShows(0.5F));
    end(engine);
    EXPECT_TRUE(eventuallyShows(1.0F));
    EXPECT_EQ(linesAboutColours(engine.errors()), 1) << engine.errors();
}

TEST_F(NPColorServiceTest, FrozenBusDoesNotHangTheQuitOfOneThatHasUsedIt)
{
    startService();
    NPTestProgram engine = startWithNight();
    service.freezeBus();
    engine.signal(SIGTERM);
    EXPECT_EQ(engine.wait(), 0);
    EXPECT_TRUE(eventuallyShows(0.8F));
    EXPECT_NE(engine.errors().find("These displays have not been given their own colour profiles back: "),
              std::string::npos)
        << engine.errors();
}

TEST_F(NPColorServiceTest, ServiceThatEndsLeavesEverythingElseWorking)
{
    startService();
    NPTestProgram engine = startWithNight();
    service.end();
    run({"off"});
    EXPECT_TRUE(eventuallyShows(0.8F));
    run({"on"});
    EXPECT_TRUE(eventuallyShows(0.4F));
    end(engine);
    EXPECT_TRUE(eventuallyShows(0.8F));
}

TEST_F(NPColorServiceTest, ServiceOnABusThatWasStartedAnewIsUsedAgain)
{
    startService();
    NPTestProgram engine = startWithNight();
    EXPECT_TRUE(eventuallyUses("nightpane"));
    service.restartBus();
    service.start(connectors);
    for (const std::string& connector : connectors) {
        service.use(connector, folder / "own.icc");
    }
    EXPECT_TRUE(eventuallyUses("nightpane")) << engine.errors();
    EXPECT_TRUE(eventuallyShows(0.4F));
    end(engine);
    EXPECT_TRUE(eventuallyUses("test_own"));
    EXPECT_TRUE(eventuallyShows(0.8F));
}

TEST_F(NPColorServiceTest, WithoutProfilesTheServiceIsLeftAlone)
{
    startService();
    run({"new", "Night", "dim=50%"});
    run({"activate", "Night", "--fade", "none"});
    NPTestProgram engine = startEngine({"--no-profiles"});
    EXPECT_TRUE(eventuallyShows(0.4F));
    run({"off"});
    run({"on"});
    end(engine);
    EXPECT_FALSE(std::filesystem::exists(folder / "caches"));
    EXPECT_EQ(service.profiles("DUMMY0").find("nightpane"), std::string::npos);
}

class NPForbiddenColorServiceTest : public NPColorServiceTest {
protected:
    NPForbiddenColorServiceTest() : NPColorServiceTest(false) {}
};

TEST_F(NPForbiddenColorServiceTest, EverythingElseWorksAfterOneLine)
{
    run({"new", "Night", "dim=50%"});
    run({"activate", "Night", "--fade", "none"});
    NPTestProgram engine = startEngine();
    EXPECT_TRUE(eventuallyShows(0.5F));
    run({"off"});
    EXPECT_TRUE(eventuallyShows(1.0F));
    end(engine);
    EXPECT_EQ(linesAboutColours(engine.errors()), 1) << engine.errors();
}

} // namespace
