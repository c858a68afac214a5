// Screen savers as desktops announce them.
#include "Platform/Linux/NPBusEventsTesting.h"

#include <map>

namespace {

const std::string kde = "org.freedesktop.ScreenSaver";
const std::string gnome = "org.gnome.ScreenSaver";
const std::string gone = "The session bus has gone; the desktop's screen saver goes unnoticed until it is back";

class NPScreenSaversTest : public NPBusEventsTesting {
protected:
    void watch()
    {
        auto result =
            NPWatchScreenSavers(loop, [this](const std::string& name, bool isActive) { states[name] = isActive; },
                                {NP_TEST_MODULE_FOLDER});
        ASSERT_TRUE(result) << result.error();
        events = std::move(*result);
        turnUntil([this] { return states.size() == 5; }); // it has been told of each that it is not there, or is
    }

    bool becomes(const std::string& name, bool isActive)
    {
        return turnUntil([&] { return states[name] == isActive; });
    }

    // As its method does it: it announces the change and answers accordingly.
    static void setActive(const NPTestMockService& saver, bool isActive)
    {
        saver.tell("dbus.Interface(bus.get_object('org.gnome.ScreenSaver', '/org/gnome/ScreenSaver'),"
                   " 'org.gnome.ScreenSaver').SetActive("
                   + std::string(isActive ? "True" : "False") + ")");
    }

    static void announce(const NPTestMockService& saver, const std::string& name, bool isActive)
    {
        saver.tell("mock.EmitSignal('" + name + "', 'ActiveChanged', 'b', [" + (isActive ? "True" : "False")
                   + "])");
    }

    std::map<std::string, bool> states;
};

} // namespace

TEST_F(NPScreenSaversTest, TellsOfGnomesScreenSaver)
{
    const NPTestMockService saver = NPTestMockService::gnomeScreenSaver();
    watch();
    setActive(saver, true);
    EXPECT_TRUE(becomes(gnome, true));
    setActive(saver, false);
    EXPECT_TRUE(becomes(gnome, false));
}

TEST_F(NPScreenSaversTest, TellsOfTheCommonScreenSaverUnderAnyPath)
{
    const NPTestMockService saver = NPTestMockService::empty(kde, "/ScreenSaver");
    watch();
    announce(saver, kde, true);
    EXPECT_TRUE(becomes(kde, true));
    announce(saver, kde, false);
    EXPECT_TRUE(becomes(kde, false));
}

TEST_F(NPScreenSaversTest, AsksWhetherOneRunsAlready)
{
    const NPTestMockService saver = NPTestMockService::gnomeScreenSaver();
    setActive(saver, true);
    watch();
    EXPECT_TRUE(becomes(gnome, true));
}

TEST_F(NPScreenSaversTest, OneThatGoesAwayHasEnded)
{
    NPTestMockService saver = NPTestMockService::gnomeScreenSaver();
    watch();
    announce(saver, gnome, true);
    ASSERT_TRUE(becomes(gnome, true));
    saver.kill();
    EXPECT_TRUE(becomes(gnome, false));
}

TEST_F(NPScreenSaversTest, FollowsOneThatComesLater)
{
    watch();
    const NPTestMockService saver = NPTestMockService::gnomeScreenSaver();
    setActive(saver, true);
    EXPECT_TRUE(becomes(gnome, true));
}

TEST_F(NPScreenSaversTest, OneThatDoesNotSayIsNotActive)
{
    const NPTestMockService saver = NPTestMockService::empty(gnome, "/org/gnome/ScreenSaver");
    watch();
    EXPECT_FALSE(states[gnome]);
    EXPECT_TRUE(log.empty());
}

TEST_F(NPScreenSaversTest, HasEndedWhenTheBusGoes)
{
    const NPTestMockService saver = NPTestMockService::gnomeScreenSaver();
    watch();
    announce(saver, gnome, true);
    ASSERT_TRUE(becomes(gnome, true));
    bus.end();
    EXPECT_TRUE(becomes(gnome, false));
    EXPECT_EQ(std::vector<std::string>{gone}, log);
}

TEST_F(NPScreenSaversTest, AreNoticedAgainWhenTheBusIsBack)
{
    NPTestMockService saver = NPTestMockService::gnomeScreenSaver();
    watch();
    announce(saver, gnome, true);
    ASSERT_TRUE(becomes(gnome, true));
    saver.kill();
    bus.end();
    bus.begin();
    EXPECT_TRUE(turnUntil([this] { return log.size() == 2; }));
    EXPECT_EQ(
        (std::vector<std::string>{gone, "The session bus is back; the desktop's screen saver is noticed again"}),
        log);
    EXPECT_FALSE(states[gnome]);
    const NPTestMockService another = NPTestMockService::gnomeScreenSaver();
    setActive(another, true);
    EXPECT_TRUE(becomes(gnome, true));
}

TEST_F(NPScreenSaversTest, OthersCannotSpeakForIt)
{
    const NPTestMockService saver = NPTestMockService::gnomeScreenSaver();
    watch();
    NPTestOutputOf({"dbus-send", "--session", "--type=signal", "/org/gnome/ScreenSaver",
                    "org.gnome.ScreenSaver.ActiveChanged", "boolean:true"});
    settle();
    EXPECT_FALSE(states[gnome]);
}
