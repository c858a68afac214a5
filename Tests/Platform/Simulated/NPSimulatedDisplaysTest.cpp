#include "Platform/Simulated/NPSimulatedDisplays.h"

#include "Support/GammaTables.h"

namespace {

class NPSimulatedDisplaysTest : public testing::Test {
protected:
    NPSimulatedDisplaysTest()
    {
        for (NPDisplayID identifier = 1; identifier <= 3; ++identifier) {
            displays.plug({.identifier = identifier, .name = "Display " + std::to_string(identifier)});
        }
        subscription = displays.registerReconfigurationCallback([this](NPDisplayID display, std::uint32_t flags) {
            changes += std::to_string(display) + ':' + std::to_string(flags) + ' ';
        });
    }

    NPActionLog log;
    NPSimulatedDisplays displays{log};
    std::string changes;
    NPDisplaySubscription subscription;
};

TEST_F(NPSimulatedDisplaysTest, ListsAreInTheOrderOfPluggingAndHoldNoMoreThanAskedFor)
{
    EXPECT_EQ(displays.onlineDisplayList(10), (NPDisplayList{1, 2, 3}));
    EXPECT_EQ(displays.onlineDisplayList(2), (NPDisplayList{1, 2}));
    EXPECT_EQ(displays.mainDisplay(), 1U);
    EXPECT_EQ(displays.displayName(2), "Display 2");
    EXPECT_EQ(displays.displayName(9), "");
}

TEST_F(NPSimulatedDisplaysTest, SleepingDisplaysAreOnlineButNotActive)
{
    displays.display(1)->active = false;
    EXPECT_EQ(displays.onlineDisplayList(10), (NPDisplayList{1, 2, 3}));
    EXPECT_EQ(displays.activeDisplayList(10), (NPDisplayList{2, 3}));
    EXPECT_EQ(displays.displaysWithRect({0, 0, 1, 1}, 10), (NPDisplayList{2, 3}));
}

TEST_F(NPSimulatedDisplaysTest, ListsFailWhileTheyAreTold)
{
    displays.setListsFail(true);
    EXPECT_EQ(displays.onlineDisplayList(10), std::nullopt);
    EXPECT_EQ(displays.activeDisplayList(10), std::nullopt);
    EXPECT_EQ(displays.displaysWithRect({0, 0, 1, 1}, 10), std::nullopt);
    EXPECT_EQ(displays.mainDisplay(), 0U);
    displays.setListsFail(false);
    EXPECT_EQ(displays.mainDisplay(), 1U);
}

TEST_F(NPSimulatedDisplaysTest, WhatIsWrittenIsRead)
{
    EXPECT_TRUE(displays.setDisplayTransferTable(2, scaledTable(0.5F, 100)));
    QXGammaTable table;
    EXPECT_TRUE(displays.getDisplayTransferTable(2, table));
    EXPECT_TRUE(sameTable(table, scaledTable(0.5F, 100)));
    EXPECT_EQ(log.text(), "write 2 100 0.5 0.5 0.5\nread 2\n");
}

TEST_F(NPSimulatedDisplaysTest, UnpluggedDisplaysAreNeitherReadNorWritten)
{
    displays.unplug(2);
    QXGammaTable table;
    EXPECT_FALSE(displays.getDisplayTransferTable(2, table));
    EXPECT_FALSE(displays.setDisplayTransferTable(2, scaledTable(0.5F)));
    EXPECT_TRUE(sameTable(displays.display(2)->table, QXGammaTableIdentity()));
    EXPECT_EQ(displays.copyDisplayProfile(2).baseTable.sampleCount, 0U);
    EXPECT_EQ(displays.onlineDisplayList(10), (NPDisplayList{1, 3}));
    EXPECT_EQ(log.text(), "read 2 failed\nwrite 2 failed\nprofile 2\n");
}

TEST_F(NPSimulatedDisplaysTest, FailingReadsAndWritesAreThatDisplaysAlone)
{
    displays.display(2)->readsFail = true;
    displays.display(3)->writesFail = true;
    QXGammaTable table;
    EXPECT_FALSE(displays.getDisplayTransferTable(2, table));
    EXPECT_TRUE(displays.setDisplayTransferTable(2, table));
    EXPECT_TRUE(displays.getDisplayTransferTable(3, table));
    EXPECT_FALSE(displays.setDisplayTransferTable(3, table));
}

TEST_F(NPSimulatedDisplaysTest, ProfileIsTheDisplaysOwnWhateverItShows)
{
    displays.plug({.identifier = 2, .baseTable = scaledTable(0.9F), .profileLocation = "file:///own"});
    displays.setDisplayTransferTable(2, scaledTable(0.5F));
    const NPDisplayProfile profile = displays.copyDisplayProfile(2);
    EXPECT_TRUE(sameTable(profile.baseTable, scaledTable(0.9F)));
    EXPECT_EQ(profile.location, "file:///own");
}

TEST_F(NPSimulatedDisplaysTest, RestoringLeavesDisplaysWithoutABaseTable)
{
    displays.display(2)->baseTable.sampleCount = 0;
    displays.setDisplayTransferTable(1, scaledTable(0.5F));
    displays.setDisplayTransferTable(2, scaledTable(0.5F));
    displays.restoreColorSyncSettings();
    EXPECT_TRUE(sameTable(displays.display(1)->table, QXGammaTableIdentity()));
    EXPECT_TRUE(sameTable(displays.display(2)->table, scaledTable(0.5F)));
}

TEST_F(NPSimulatedDisplaysTest, ChangesAreAnnouncedWithTheirFlagsAfterTheyTookEffect)
{
    displays.unplug(2);
    displays.plugAgain(2);
    displays.changeMode(2);
    displays.plug({.identifier = 4});
    EXPECT_EQ(changes, "2:32 2:16 2:8 4:16 ");
    EXPECT_EQ(displays.onlineDisplayList(10), (NPDisplayList{1, 2, 3, 4}));
}

TEST_F(NPSimulatedDisplaysTest, DisplayThatIsNotOnlineIsAddedWithoutAWord)
{
    displays.plug({.identifier = 4, .online = false});
    EXPECT_EQ(changes, "");
    EXPECT_EQ(displays.onlineDisplayList(10), (NPDisplayList{1, 2, 3}));
    displays.plugAgain(4);
    EXPECT_EQ(changes, "4:16 ");
}

TEST_F(NPSimulatedDisplaysTest, UnknownDisplaysCannotBePlugged)
{
    displays.unplug(9);
    displays.plugAgain(9);
    EXPECT_EQ(changes, "");
    EXPECT_EQ(displays.display(9), nullptr);
}

TEST_F(NPSimulatedDisplaysTest, CallbackEndsWithItsSubscription)
{
    subscription.reset();
    displays.changeMode(1);
    EXPECT_EQ(changes, "");
}

TEST_F(NPSimulatedDisplaysTest, CallbackMayEndItsOwnSubscriptionAndTakeAnother)
{
    std::string calls;
    NPDisplaySubscription once;
    once = displays.registerReconfigurationCallback([&](NPDisplayID, std::uint32_t) {
        calls += "once ";
        once = displays.registerReconfigurationCallback([&](NPDisplayID, std::uint32_t) { calls += "then "; });
    });
    displays.changeMode(1);
    EXPECT_EQ(calls, "once ");
    displays.changeMode(1);
    EXPECT_EQ(calls, "once then ");
}

} // namespace
