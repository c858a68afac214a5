#include "Platform/Linux/NPControlBus.h"

#include "Platform/Linux/NPControlBusTesting.h"

// Connecting, being found, and losing each other.

namespace {

class NPControlBusTest : public NPControlBusTesting {};

const std::string nameTaken = "the name org.nightpane.Nightpane1 is taken on the session bus";

// Runs a copy of a program that opens the bus and says what comes of it, so that the program's folder is the
// test's to fill.
std::string outputOfClientIn(const std::filesystem::path& folder)
{
    std::filesystem::copy_file(NP_TEST_CONTROL_CLIENT, folder / "client");
    return NPTestOutputOf({folder / "client"});
}

void linkModuleInto(const std::filesystem::path& folder)
{
    std::filesystem::create_directories(folder);
    std::filesystem::create_symlink(std::string(NP_TEST_MODULE_FOLDER) + "/nightpane-dbus.so",
                                    folder / "nightpane-dbus.so");
}

} // namespace

TEST(NPControlBus, HasNothingToSayWhereThereIsNoBus)
{
    const NPTestVariable address("DBUS_SESSION_BUS_ADDRESS", std::nullopt);
    const NPTestVariable runtime("XDG_RUNTIME_DIR", std::nullopt);
    const NPTemporaryFolder folder;
    EXPECT_EQ("error: \n", outputOfClientIn(folder.path()));
}

TEST(NPControlBus, SaysThatTheBusCannotBeReached)
{
    const NPTestVariable address("DBUS_SESSION_BUS_ADDRESS", "unix:path=/no/such/socket");
    const NPTemporaryFolder folder;
    EXPECT_EQ("error: the session bus cannot be reached: No such file or directory\n",
              outputOfClientIn(folder.path()));
}

TEST(NPControlBus, SaysThatAnAddressIsUnusable)
{
    const NPTestVariable address("DBUS_SESSION_BUS_ADDRESS", "tcp:host=localhost,port=1");
    const auto opened = NPOpenControlBusFromFolders({NP_TEST_MODULE_FOLDER}, "tcp:host=localhost,port=1");
    EXPECT_TRUE(opened.error().starts_with("the session bus cannot be reached: ")) << opened.error();
    EXPECT_FALSE(opened.error().contains('\n'));
}

TEST(NPControlBus, SaysThatTheModuleIsMissing)
{
    const NPTestSessionBus bus;
    EXPECT_EQ("error: the session bus cannot be used: nightpane-dbus.so is missing\n",
              outputOfClientIn(bus.folder().path()));
}

TEST(NPControlBus, SaysThatTheModuleIsBroken)
{
    const NPTestSessionBus bus;
    writeFile(bus.folder() / "nightpane-dbus.so", std::string("not a library"));
    const std::string output = outputOfClientIn(bus.folder().path());
    EXPECT_TRUE(output.starts_with("error: the session bus cannot be used: ")) << output;
    EXPECT_EQ(output.size() - 1, output.find('\n')) << output;
}

TEST(NPControlBus, FindsTheModuleBesideTheProgram)
{
    const NPTestSessionBus bus;
    linkModuleInto(bus.folder().path());
    EXPECT_EQ("nobody runs\n", outputOfClientIn(bus.folder().path()));
}

TEST(NPControlBus, FindsTheModuleInTheLibraryFolderBesideThePrograms)
{
    const NPTestSessionBus bus;
    linkModuleInto(bus.folder() / "lib/nightpane");
    std::filesystem::create_directory(bus.folder() / "bin");
    EXPECT_EQ("nobody runs\n", outputOfClientIn(bus.folder() / "bin"));
}

TEST_F(NPControlBusTest, FindsTheInstanceThatRuns)
{
    publish();
    linkModuleInto(bus.folder().path());
    EXPECT_EQ("1.2.3 runs\n", whileServing([&] { return outputOfClientIn(bus.folder().path()); }));
}

TEST_F(NPControlBusTest, FindsNobodyBeforeAnInstanceIsPublished)
{
    EXPECT_EQ(nullptr, connect()->runningInstance());
    EXPECT_TRUE(log.empty());
}

TEST_F(NPControlBusTest, FindsNobodyAfterTheInstanceHasGone)
{
    publish();
    instance.reset();
    EXPECT_EQ(nullptr, connect()->runningInstance());
}

TEST_F(NPControlBusTest, DoesNotTakeItselfForAnotherInstance)
{
    publish();
    EXPECT_EQ(nullptr, instanceBus->runningInstance());
}

TEST_F(NPControlBusTest, StartsNobodyToFindTheInstance)
{
    const std::filesystem::path mark = bus.folder() / "started";
    bus.addActivatableService("org.nightpane.Nightpane1", "/bin/sh -c 'touch " + mark.string() + "; exit 1'");
    EXPECT_EQ(nullptr, connect()->runningInstance());
    EXPECT_FALSE(std::filesystem::exists(mark));
    NPTestOutputOf({"dbus-send", "--session", "--print-reply", "--dest=org.nightpane.Nightpane1", "/", "a.b.C"});
    EXPECT_TRUE(std::filesystem::exists(mark)); // a plain call does
}

TEST_F(NPControlBusTest, SaysWhenTheBusDoesNotTellWhoRuns)
{
    const std::shared_ptr<NPControlBus> client = connect();
    bus.end();
    EXPECT_EQ(nullptr, client->runningInstance());
    ASSERT_EQ(1u, log.size());
    EXPECT_TRUE(log.front().starts_with("The session bus cannot be used: ")) << log.front();
}

TEST_F(NPControlBusTest, LetsTheNameBeTakenOnce)
{
    publish();
    const auto second = connect()->publish(control, loop, [] {});
    ASSERT_FALSE(second);
    EXPECT_EQ(nameTaken, second.error());
    EXPECT_TRUE(ask([](NPControl& client) { return client.restore(); })); // the first serves on
}

TEST_F(NPControlBusTest, GivesTheNameBackWhenTheInstanceGoes)
{
    publish();
    instance.reset();
    const std::shared_ptr<NPControlBus> successor = connect();
    EXPECT_TRUE(successor->publish(control, loop, [] {}));
}

TEST_F(NPControlBusTest, CanBePublishedAgainOnTheSameConnection)
{
    publish();
    instance.reset();
    publish();
    EXPECT_TRUE(ask([](NPControl& client) { return client.restore(); }));
}

TEST_F(NPControlBusTest, SaysOnceThatTheBusHasGone)
{
    publish();
    bus.end();
    const double start = loop.monotonicTime();
    while (log.empty() && loop.monotonicTime() < start + 10.0) {
        loop.processEvents(100);
    }
    loop.processEvents(10);
    EXPECT_EQ(
        std::vector<std::string>{"The session bus has gone; commands cannot reach this instance until it is back"},
        log);
    EXPECT_TRUE(hasLostBus);
}

TEST_F(NPControlBusTest, LeavesTheLoopAloneOnceTheBusHasGone)
{
    publish();
    bus.end();
    while (log.empty()) {
        loop.processEvents(100);
    }
    const double start = loop.monotonicTime();
    loop.processEvents(300);
    EXPECT_GE(loop.monotonicTime() - start, 0.29);
}

TEST_F(NPControlBusTest, AnnouncesIntoTheVoidOnceTheBusHasGone)
{
    publish();
    bus.end();
    instance->emitEffectsChanged(); // before the loop has noticed
    while (log.empty()) {
        loop.processEvents(100);
    }
    instance->emitEffectsChanged();
    instance->emitStateChanged(true);
    instance.reset();
    EXPECT_EQ(1u, log.size());
}

TEST_F(NPControlBusTest, EndsAtOnceWhenTheBusHangs)
{
    publish();
    bus.freeze();
    const double start = loop.monotonicTime();
    instance->emitStateChanged(true);
    instance.reset();
    instanceBus.reset();
    EXPECT_LT(loop.monotonicTime() - start, 1.0);
}

TEST_F(NPControlBusTest, SleepsWhileNobodyAsks)
{
    publish();
    ask([](NPControl& client) { return client.restore(); });
    loop.processEvents(50); // the client has gone
    const double start = loop.monotonicTime();
    loop.processEvents(300);
    EXPECT_GE(loop.monotonicTime() - start, 0.29);
}

TEST_F(NPControlBusTest, ServesManyClientsAtOnce)
{
    publish();
    const auto askTwentyTimes = [] {
        const std::shared_ptr<NPControlBus> connection = connect();
        const std::unique_ptr<NPControl> client = connection->runningInstance();
        int answers = 0;
        for (int i = 0; i < 20; ++i) {
            answers += client->toggle("Dusk", "none").has_value() ? 1 : 0;
        }
        return answers;
    };
    const int answers = whileServing([&] {
        auto first = std::async(std::launch::async, askTwentyTimes);
        auto second = std::async(std::launch::async, askTwentyTimes);
        return askTwentyTimes() + first.get() + second.get();
    });
    EXPECT_EQ(60, answers);
    EXPECT_EQ(60u, control.requests.size());
}

TEST_F(NPControlBusTest, LeavesOthersTheirTurnInAFloodOfRequests)
{
    publish();
    for (int i = 0; i < 40; ++i) { // none of them waits for an answer
        NPTestOutputOf({"dbus-send", "--session", "--type=method_call", "--dest=org.nightpane.Nightpane1",
                        "/org/nightpane/Nightpane1", "org.nightpane.Nightpane1.Restore"});
    }
    connect(); // by now the bus has passed them on
    loop.processEvents();
    EXPECT_GT(control.requests.size(), 10u);
    EXPECT_LT(control.requests.size(), 40u);
    loop.processEvents();
    loop.processEvents();
    EXPECT_EQ(40u, control.requests.size());
}

TEST_F(NPControlBusTest, LetsARequestServeEventsItself)
{
    publish();
    double waited = 0.0;
    control.duringRequest = [&] {
        const double start = loop.monotonicTime();
        for (int i = 0; i < 3; ++i) {
            loop.processEvents(100); // the other client's request is there, and does not wake the loop
        }
        waited = loop.monotonicTime() - start;
        control.duringRequest = nullptr;
    };
    const auto askOnce = [] { return connect()->runningInstance()->restore().has_value(); };
    const bool answered = whileServing([&] {
        auto other = std::async(std::launch::async, askOnce);
        const bool one = askOnce();
        return other.get() && one;
    });
    EXPECT_TRUE(answered);
    EXPECT_EQ(2u, control.requests.size());
    EXPECT_GE(waited, 0.15);
}

TEST_F(NPControlBusTest, TellsTheClientThatTheInstanceHasEnded)
{
    publish();
    const std::shared_ptr<NPControlBus> clientBus = connect();
    const std::unique_ptr<NPControl> client = clientBus->runningInstance();
    instance.reset();
    instanceBus.reset();
    const auto answer = client->restore();
    ASSERT_FALSE(answer);
    EXPECT_FALSE(answer.error().misuse);
    EXPECT_EQ("the running instance has ended", answer.error().message);
}

TEST_F(NPControlBusTest, TellsTheClientThatTheInstanceDoesNotAnswer)
{
    publish();
    const std::shared_ptr<NPControlBus> clientBus = connect();
    const auto answer = clientBus->runningInstance()->restore(); // the loop stands still meanwhile
    ASSERT_FALSE(answer);
    EXPECT_EQ("the running instance does not answer", answer.error().message);
}

TEST_F(NPControlBusTest, TellsTheClientThatTheBusHasGone)
{
    publish();
    const std::shared_ptr<NPControlBus> clientBus = connect();
    const std::unique_ptr<NPControl> client = clientBus->runningInstance();
    bus.end();
    const auto answer = client->restore();
    ASSERT_FALSE(answer);
    EXPECT_TRUE(answer.error().message.starts_with("the running instance cannot be asked: "))
        << answer.error().message;
}
