// Sleep and session as the login manager announces them.
#include "Platform/Linux/NPBusEventsTesting.h"

namespace {

const std::string wake = "wake";
const std::string active = "active";

class NPLoginManagerTest : public NPBusEventsTesting {
protected:
    void watch()
    {
        auto result =
            NPWatchLoginManager(loop, {[this] { heard.push_back(wake); }, [this] { heard.push_back(active); }},
                                {NP_TEST_MODULE_FOLDER});
        ASSERT_TRUE(result) << result.error();
        events = std::move(*result);
    }

    void start()
    {
        if (!manager) {
            manager.emplace(NPTestMockService::loginManager());
        }
    }

    // The session is there and active, and the program is known to have found out.
    void startInSession(const std::string& how = "")
    {
        start();
        manager->tell("mock.AddSession('c2', 'seat0', 500, 'ann', True)\n" + how);
        watch();
        turnUntil([this] { return switchedAway(); });
    }

    // Whether a switch away and back is noticed. Asked anew until the session is followed.
    bool switchedAway()
    {
        setActive(false);
        setActive(true);
        settle();
        return !heard.empty();
    }

    void setActive(bool flag)
    {
        manager->tell("at('/org/freedesktop/login1/session/c2')"
                      ".UpdateProperties('org.freedesktop.login1.Session', {'Active': "
                      + std::string(flag ? "True" : "False") + "})");
    }

    void sleepAndWake()
    {
        prepareForSleep(true);
        prepareForSleep(false);
    }

    void prepareForSleep(bool begins)
    {
        manager->tell("mock.EmitSignal('org.freedesktop.login1.Manager', 'PrepareForSleep', 'b', ["
                      + std::string(begins ? "True" : "False") + "])");
    }

    NPTestVariable session{"XDG_SESSION_ID", "c2"};
    std::optional<NPTestMockService> manager;
};

} // namespace

TEST_F(NPLoginManagerTest, TellsOfTheEndOfSleepAlone)
{
    start();
    watch();
    prepareForSleep(true);
    settle();
    EXPECT_TRUE(heard.empty());
    prepareForSleep(false);
    EXPECT_TRUE(hear({wake}));
}

TEST_F(NPLoginManagerTest, TellsThatTheNamedSessionBecomesActive)
{
    startInSession();
    heard.clear();
    setActive(false);
    settle();
    EXPECT_TRUE(heard.empty());
    setActive(true);
    EXPECT_TRUE(hear({active}));
    EXPECT_TRUE(log.empty());
}

TEST_F(NPLoginManagerTest, IsSilentAboutASessionThatIsActiveAlready)
{
    startInSession();
    heard.clear();
    setActive(true);
    settle();
    EXPECT_TRUE(heard.empty());
}

TEST_F(NPLoginManagerTest, PrefersTheSessionThatTheProcessIsKnownIn)
{
    const NPTestVariable other("XDG_SESSION_ID", "c1");
    startInSession("mock.AddSession('c1', 'seat0', 501, 'bob', True)\n"
                   "mock.AddMethod('org.freedesktop.login1.Manager', 'GetSessionByPID', 'u', 'o',"
                   " 'ret = dbus.ObjectPath(\"/org/freedesktop/login1/session/c2\")')");
    EXPECT_FALSE(heard.empty());
}

TEST_F(NPLoginManagerTest, FallsBackToTheCallersSession)
{
    const NPTestVariable none("XDG_SESSION_ID", std::nullopt);
    startInSession("mock.AddObject('/org/freedesktop/login1/session/auto', 'org.freedesktop.login1.Session',"
                   " {'Id': 'c2'}, [])");
    EXPECT_FALSE(heard.empty());
}

TEST_F(NPLoginManagerTest, SaysOnceThatItKnowsNoSession)
{
    start();
    manager->tell("mock.AddMethod('org.freedesktop.login1.Manager', 'GetSession', 's', 'o',"
                  " 'raise dbus.exceptions.DBusException(\"No session\", name=\"a.b.NoSuchSession\")')");
    watch();
    EXPECT_TRUE(turnUntil([this] { return !log.empty(); }));
    manager->kill();
    manager.reset();
    start();
    sleepAndWake();
    EXPECT_TRUE(hear({wake}));
    EXPECT_EQ(1u, log.size());
    EXPECT_TRUE(
        log.front().starts_with("The login manager knows no session here, so switches of users go unnoticed: "))
        << log.front();
}

TEST_F(NPLoginManagerTest, FollowsALoginManagerThatComesLater)
{
    watch();
    EXPECT_TRUE(turnUntil([this] { return !log.empty(); }));
    EXPECT_EQ(
        std::vector<std::string>{"The login manager does not run: switches of users go unnoticed until it does"},
        log);
    start();
    sleepAndWake();
    EXPECT_TRUE(hear({wake}));
}

TEST_F(NPLoginManagerTest, NoticesASwitchWhileTheLoginManagerWasAway)
{
    startInSession();
    setActive(false);
    settle();
    heard.clear();
    manager->kill();
    manager.reset();
    start();
    manager->tell("mock.AddSession('c2', 'seat0', 500, 'ann', True)");
    setActive(true); // the mock has no session yet when it is asked; a real login manager has it from the start
    EXPECT_TRUE(hear({active}));
}

TEST_F(NPLoginManagerTest, PassesOverMessagesThatAreNotAsTheyShouldBe)
{
    start();
    watch();
    manager->tell("mock.EmitSignal('org.freedesktop.login1.Manager', 'PrepareForSleep', 's', ['no'])");
    manager->tell("mock.EmitSignal('org.freedesktop.login1.Manager', 'PrepareForSleep', '', [])");
    sleepAndWake();
    EXPECT_TRUE(hear({wake}));
}

TEST_F(NPLoginManagerTest, StartsNobody)
{
    const std::filesystem::path mark = bus.folder() / "started";
    bus.addActivatableService("org.freedesktop.login1", "/bin/sh -c 'touch " + mark.string() + "; exit 1'");
    watch();
    EXPECT_TRUE(turnUntil([this] { return !log.empty(); }));
    EXPECT_FALSE(std::filesystem::exists(mark));
}

TEST_F(NPLoginManagerTest, SaysOnceThatTheBusHasGoneAndLeavesTheLoopAlone)
{
    start();
    watch();
    settle();
    log.clear();
    bus.end();
    EXPECT_TRUE(turnUntil([this] { return !log.empty(); }));
    EXPECT_EQ(log,
              std::vector<std::string>{"The system bus has gone; sleep is noticed without it, switches of users "
                                       "are not until it is back"});
    const double begin = loop.monotonicTime();
    loop.processEvents(300);
    EXPECT_GE(loop.monotonicTime() - begin, 0.29);
    events.reset();
}

TEST_F(NPLoginManagerTest, IsFollowedAgainWhenTheBusIsBack)
{
    startInSession();
    settle();
    for (int i = 0; i < 2; ++i) {
        log.clear();
        heard.clear();
        bus.end();
        manager.reset();
        bus.begin();
        start();
        manager->tell("mock.AddSession('c2', 'seat0', 500, 'ann', True)");
        EXPECT_TRUE(turnUntil([this] { return log.size() == 2; }));
        EXPECT_TRUE(log.front().starts_with("The system bus has gone; ")) << log.front();
        EXPECT_EQ(log.back(), "The system bus is back; switches of users are noticed again");
        settle(); // it has asked which session is its own
        sleepAndWake();
        EXPECT_TRUE(hear({wake}));
        setActive(false);
        setActive(true);
        EXPECT_TRUE(hear({wake, active}));
    }
}

TEST_F(NPLoginManagerTest, LeavesABusThatDoesNotComeBackInPeace)
{
    start();
    watch();
    settle();
    log.clear();
    bus.end();
    EXPECT_TRUE(turnUntil([this] { return log.size() == 1; }));
    const double begin = loop.monotonicTime();
    while (loop.monotonicTime() < begin + 2.0) { // past the first attempt
        loop.processEvents(200);
    }
    EXPECT_EQ(log.size(), 1U);
}

TEST_F(NPLoginManagerTest, SaysWhyItCannotBeWatched)
{
    EXPECT_EQ("the system bus cannot be used: nightpane-dbus.so is missing",
              NPWatchLoginManager(loop, {}, {"/no/such/folder"}).error());
    const NPTestVariable nowhere("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/no/such/socket");
    EXPECT_EQ("the system bus cannot be reached: No such file or directory",
              NPWatchLoginManager(loop, {}).error());
}

TEST_F(NPLoginManagerTest, WaitsWithoutWaking)
{
    startInSession();
    settle();
    const double begin = loop.monotonicTime();
    loop.processEvents(500);
    EXPECT_GE(loop.monotonicTime() - begin, 0.49);
}
