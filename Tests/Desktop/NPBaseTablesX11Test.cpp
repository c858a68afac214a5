// What counts as a display's own table, and that it survives whatever happens to the program.
#include "Desktop/Support/NPTestEngine.h"
#include "Support/NPTestEdid.h"

#include <gtest/gtest.h>

namespace {

constexpr const char* recordPrefix = "_NIGHTPANE_BASE_TABLE_";

using Names = std::vector<std::string>;

Names recordNames(const NPTestRandR& randr)
{
    return randr.rootPropertyNames(recordPrefix);
}

std::string recordName(const NPTestRandR& randr, const std::string& output)
{
    return recordPrefix + std::to_string(randr.output(output).crtc);
}

QXGammaTable baseTableOf(NPDisplayServicesX11& displays)
{
    return displays.copyDisplayProfile(displays.mainDisplay()).baseTable;
}

void showHalf(NPDisplayServicesX11& displays, NPDisplayID display)
{
    displays.setDisplayTransferTable(display, NPTestHalf(displays.copyDisplayProfile(display).baseTable));
    displays.finishWriting();
}

void showHalf(NPDisplayServicesX11& displays)
{
    showHalf(displays, displays.mainDisplay());
}

// A run of the program that changes every display and is killed.
void crashOn(const NPTestXServer& server)
{
    NPTestEngine engine(
        [&](const NPTestEngine::Ready& ready) { NPTestShowHalfUntilKilled(server.displayName(), false, ready); });
    engine.kill();
}

NPTestGamma halfOf(const NPTestGamma& gamma)
{
    return NPTestGammaOf(NPTestHalf(NPTestRecordOf(gamma)));
}

const NPTestGamma ownTable = NPTestSeededGamma(3);

// An Xvfb whose display has a table of its own.
class NPBaseTablesX11 : public testing::Test {
protected:
    NPBaseTablesX11() { randr.setGamma("screen", ownTable); }

    std::unique_ptr<NPDisplayServicesX11> open() { return NPTestOpen(server, loop); }
    NPTestGamma shown() const { return randr.gamma("screen"); }

    NPTestXServer server = NPTestXServer::xvfb();
    NPTestRandR randr{server.displayName()};
    NPMainLoopLinux loop;
};

} // namespace

TEST_F(NPBaseTablesX11, BaseOfAFreshDisplayIsWhatItShows)
{
    const auto displays = open();
    EXPECT_TRUE(QXGammaTableEqual(baseTableOf(*displays), NPTestRecordOf(ownTable)));
    EXPECT_EQ(displays->copyDisplayProfile(displays->mainDisplay()).location, std::nullopt);
}

TEST_F(NPBaseTablesX11, BaseFollowsOtherProgramsWhileNothingIsChanged)
{
    const auto displays = open();
    baseTableOf(*displays);
    loop.processEvents();
    randr.setGamma("screen", NPTestSeededGamma(4));
    EXPECT_TRUE(QXGammaTableEqual(baseTableOf(*displays), NPTestRecordOf(NPTestSeededGamma(4))));
}

TEST_F(NPBaseTablesX11, DisplayOfZerosHasTheNeutralTable)
{
    randr.setGamma("screen", {std::vector<std::uint16_t>(256), std::vector<std::uint16_t>(256),
                              std::vector<std::uint16_t>(256)});
    EXPECT_TRUE(QXGammaTableEqual(baseTableOf(*open()), QXGammaTableIdentity()));
}

TEST_F(NPBaseTablesX11, RestoringADisplayOfZerosMakesItNeutral)
{
    randr.setGamma("screen", {std::vector<std::uint16_t>(256), std::vector<std::uint16_t>(256),
                              std::vector<std::uint16_t>(256)});
    const auto displays = open();
    showHalf(*displays);
    displays->restoreColorSyncSettings();
    EXPECT_EQ(shown(), NPTestIdentityGamma());
}

TEST_F(NPBaseTablesX11, NothingIsRecordedBeforeAChange)
{
    const auto displays = open();
    displays->setDisplayTransferTable(displays->mainDisplay(), baseTableOf(*displays));
    displays->finishWriting();
    EXPECT_EQ(recordNames(randr), Names{});
    EXPECT_EQ(shown(), ownTable);
}

TEST_F(NPBaseTablesX11, ChangeRecordsTheOwnTable)
{
    const auto displays = open();
    showHalf(*displays);
    EXPECT_EQ(shown(), halfOf(ownTable));
    const auto record = randr.rootProperty(recordName(randr, "screen"));
    ASSERT_TRUE(record);
    ASSERT_EQ(record->size(), 8U + 3U * 256U);
    EXPECT_EQ((*record)[0], 1);
    EXPECT_EQ(std::uint32_t{(*record)[1]} << 16 | (*record)[2], displays->mainDisplay());
    EXPECT_EQ((*record)[7], 256);
    for (std::size_t channel = 0; channel < 3; ++channel) {
        const auto begin = record->begin() + 8 + static_cast<std::ptrdiff_t>(channel) * 256;
        EXPECT_EQ(std::vector<std::uint16_t>(begin, begin + 256), ownTable[channel]) << channel;
    }
}

TEST_F(NPBaseTablesX11, BaseIsNotTakenFromAChangedDisplay)
{
    const auto displays = open();
    showHalf(*displays);
    EXPECT_TRUE(QXGammaTableEqual(baseTableOf(*displays), NPTestRecordOf(ownTable)));
    loop.processEvents();
    EXPECT_TRUE(QXGammaTableEqual(baseTableOf(*displays), NPTestRecordOf(ownTable)));
}

TEST_F(NPBaseTablesX11, WritingTheOwnTableBackDeletesTheRecord)
{
    const auto displays = open();
    showHalf(*displays);
    displays->setDisplayTransferTable(displays->mainDisplay(), baseTableOf(*displays));
    displays->finishWriting();
    EXPECT_EQ(recordNames(randr), Names{});
    EXPECT_EQ(shown(), ownTable);
}

TEST_F(NPBaseTablesX11, SecondChangeIsRecordedAgain)
{
    const auto displays = open();
    showHalf(*displays);
    displays->setDisplayTransferTable(displays->mainDisplay(), baseTableOf(*displays));
    showHalf(*displays);
    EXPECT_EQ(recordNames(randr), Names{recordName(randr, "screen")});
}

TEST_F(NPBaseTablesX11, DisplayThatIsWrittenUnreadIsRecordedToo)
{
    const auto displays = open();
    displays->setDisplayTransferTable(displays->mainDisplay(), NPTestRecordOf(NPTestSeededGamma(9)));
    displays->restoreColorSyncSettings();
    EXPECT_EQ(shown(), ownTable);
}

TEST_F(NPBaseTablesX11, RestoringWritesTheOwnTableBackAndDeletesTheRecord)
{
    const auto displays = open();
    showHalf(*displays);
    displays->restoreColorSyncSettings();
    EXPECT_EQ(shown(), ownTable);
    EXPECT_EQ(recordNames(randr), Names{});
}

TEST_F(NPBaseTablesX11, RestoringLeavesUnchangedDisplaysAlone)
{
    const auto displays = open();
    baseTableOf(*displays);
    randr.setGamma("screen", NPTestSeededGamma(4)); // by another program
    displays->restoreColorSyncSettings();
    EXPECT_EQ(shown(), NPTestSeededGamma(4));
}

TEST_F(NPBaseTablesX11, RecordSurvivesACrash)
{
    crashOn(server);
    EXPECT_EQ(shown(), halfOf(ownTable));
    EXPECT_TRUE(QXGammaTableEqual(baseTableOf(*open()), NPTestRecordOf(ownTable)));
}

TEST_F(NPBaseTablesX11, TwoCrashesDoNotStack)
{
    crashOn(server);
    crashOn(server);
    EXPECT_EQ(shown(), halfOf(ownTable));
    const auto displays = open();
    EXPECT_TRUE(QXGammaTableEqual(baseTableOf(*displays), NPTestRecordOf(ownTable)));
    showHalf(*displays);
    EXPECT_EQ(shown(), halfOf(ownTable));
}

TEST_F(NPBaseTablesX11, RestoringAfterACrashGivesTheOwnTableBack)
{
    crashOn(server);
    open()->restoreColorSyncSettings();
    EXPECT_EQ(shown(), ownTable);
    EXPECT_EQ(recordNames(randr), Names{});
}

TEST_F(NPBaseTablesX11, WritingTheBaseAfterACrashGivesTheOwnTableBack)
{
    crashOn(server);
    const auto displays = open();
    displays->setDisplayTransferTable(displays->mainDisplay(), baseTableOf(*displays));
    displays->finishWriting();
    EXPECT_EQ(shown(), ownTable);
    EXPECT_EQ(recordNames(randr), Names{});
}

TEST_F(NPBaseTablesX11, CommandThatLeavesATableOnLeavesTheRecord)
{
    {
        const auto displays = open();
        showHalf(*displays);
    }
    EXPECT_EQ(shown(), halfOf(ownTable));
    EXPECT_TRUE(QXGammaTableEqual(baseTableOf(*open()), NPTestRecordOf(ownTable)));
}

TEST_F(NPBaseTablesX11, IsChangedFromTheFirstChangeUntilTheOwnTableIsBack)
{
    const auto displays = open();
    baseTableOf(*displays);
    EXPECT_FALSE(displays->isChanged());
    showHalf(*displays);
    EXPECT_TRUE(displays->isChanged());
    displays->restoreColorSyncSettings();
    EXPECT_FALSE(displays->isChanged());
}

TEST_F(NPBaseTablesX11, IsChangedByAnEarlierRun)
{
    crashOn(server);
    const auto displays = open();
    EXPECT_TRUE(displays->isChanged());
    displays->restoreColorSyncSettings();
    EXPECT_FALSE(open()->isChanged());
}

TEST_F(NPBaseTablesX11, BrokenRecordIsNotBelieved)
{
    const std::string name = recordName(randr, "screen");
    const std::vector<std::vector<std::uint16_t>> contents = {{},
                                                              {1},
                                                              {1, 0, 0, 0, 0, 0, 0, 256},
                                                              std::vector<std::uint16_t>(8 + 768),
                                                              std::vector<std::uint16_t>(200000, 1)};
    for (const std::vector<std::uint16_t>& content : contents) {
        randr.setRootProperty(name, content);
        EXPECT_TRUE(QXGammaTableEqual(baseTableOf(*open()), NPTestRecordOf(ownTable))) << content.size();
    }
}

TEST_F(NPBaseTablesX11, DarkRecordIsNotBelieved)
{
    std::vector<std::uint16_t> content(8 + 768);
    content[0] = 1;
    content[7] = 256;
    randr.setRootProperty(recordName(randr, "screen"), content);
    const auto displays = open();
    displays->restoreColorSyncSettings();
    EXPECT_EQ(shown(), ownTable);
}

TEST_F(NPBaseTablesX11, RecordOfAnotherSizeIsResampled)
{
    // What a server leaves whose tables had 3 samples before: red 0, 20000, 65535 and so on.
    randr.setRootProperty(recordName(randr, "screen"),
                          {1, 0, 0, 0, 0, 0, 1, 3, 0, 20000, 65535, 0, 32768, 65535, 65535, 32768, 0});
    const auto displays = open();
    const QXGammaTable base = baseTableOf(*displays);
    ASSERT_EQ(base.sampleCount, 256U);
    EXPECT_NEAR(base.redTable[64], 20000.0 * 64 / 127.5 / 65535.0, 1e-6);
    EXPECT_EQ(base.blueTable[0], 1.0F);
    displays->restoreColorSyncSettings();
    EXPECT_EQ(shown()[0][0], 0);
    EXPECT_EQ(shown()[0][255], 65535);
    EXPECT_NEAR(shown()[0][64], 20000.0 * 64 / 127.5, 1.0);
    EXPECT_EQ(recordNames(randr), Names{});
}

TEST(NPBaseTablesOfSeveralDisplaysX11, EachDisplayHasItsOwn)
{
    const NPTestXServer server = NPTestXServer::xorg();
    server.switchOn(3);
    const NPTestRandR randr(server.displayName());
    for (const std::uint32_t i : {0U, 1U, 2U}) {
        randr.setGamma("DUMMY" + std::to_string(i), NPTestSeededGamma(i));
    }
    crashOn(server);
    EXPECT_EQ(recordNames(randr).size(), 3U);
    NPMainLoopLinux loop;
    NPTestOpen(server, loop)->restoreColorSyncSettings();
    for (const std::uint32_t i : {0U, 1U, 2U}) {
        EXPECT_EQ(randr.gamma("DUMMY" + std::to_string(i)), NPTestSeededGamma(i)) << i;
    }
    EXPECT_EQ(recordNames(randr), Names{});
}

TEST(NPBaseTablesOfSeveralDisplaysX11, CrtcThatDrivesNothingIsRestored)
{
    const NPTestXServer server = NPTestXServer::xorg();
    server.switchOn(2);
    const NPTestRandR randr(server.displayName());
    randr.setGamma("DUMMY1", ownTable);
    crashOn(server);
    const xcb_randr_crtc_t crtc = randr.output("DUMMY1").crtc;
    server.xrandr("--output DUMMY1 --off");
    NPMainLoopLinux loop;
    NPTestOpen(server, loop)->restoreColorSyncSettings();
    EXPECT_EQ(randr.gamma(crtc), ownTable);
    EXPECT_EQ(recordNames(randr), Names{});
}

TEST(NPBaseTablesOfSeveralDisplaysX11, CrtcThatIsSwitchedOffWhileChangedIsRestored)
{
    const NPTestXServer server = NPTestXServer::xorg();
    server.switchOn(2);
    const NPTestRandR randr(server.displayName());
    randr.setGamma("DUMMY1", ownTable);
    const xcb_randr_crtc_t crtc = randr.output("DUMMY1").crtc;
    NPMainLoopLinux loop;
    const auto displays = NPTestOpen(server, loop);
    showHalf(*displays, NPTestDisplay(*displays, "DUMMY1"));
    server.xrandr("--output DUMMY1 --off");
    ASSERT_TRUE(NPTestTurnUntil(loop, [&] { return displays->onlineDisplayList(10)->size() == 1; }));
    EXPECT_EQ(randr.gamma(crtc), halfOf(ownTable)); // as it may come back
    displays->restoreColorSyncSettings();
    EXPECT_EQ(randr.gamma(crtc), ownTable);
}

namespace {

// Two displays, of which the second shows half of its own table and has been switched off since.
class NPBaseTablesOfAnOfflineDisplayX11 : public testing::Test {
protected:
    NPBaseTablesOfAnOfflineDisplayX11()
    {
        server.switchOn(2);
        randr.setGamma("DUMMY1", ownTable);
        crtc = randr.output("DUMMY1").crtc;
        displays = NPTestOpen(server, loop);
        showHalf(*displays, NPTestDisplay(*displays, "DUMMY1"));
        server.xrandr("--output DUMMY1 --off");
        EXPECT_TRUE(turnUntilThereAre(1));
    }

    bool turnUntilThereAre(std::size_t count)
    {
        return NPTestTurnUntil(loop, [&] { return displays->onlineDisplayList(10)->size() == count; });
    }

    void switchOn()
    {
        server.xrandr("--output DUMMY1 --mode 640x480 --right-of DUMMY0");
        EXPECT_TRUE(turnUntilThereAre(2));
        displays->finishWriting();
    }

    NPTestXServer server = NPTestXServer::xorg();
    NPTestRandR randr{server.displayName()};
    NPMainLoopLinux loop;
    std::unique_ptr<NPDisplayServicesX11> displays;
    xcb_randr_crtc_t crtc = 0;
};

} // namespace

TEST_F(NPBaseTablesOfAnOfflineDisplayX11, ComesBackWithItsOwnWhenNobodyWantsAnother)
{
    ASSERT_EQ(randr.gamma(crtc), halfOf(ownTable));
    switchOn();
    EXPECT_EQ(randr.gamma("DUMMY1"), ownTable);
    EXPECT_EQ(recordNames(randr), Names{});
}

TEST_F(NPBaseTablesOfAnOfflineDisplayX11, WhoHearsOfItsReturnSeesItsOwnAndWritesTheLastWord)
{
    const NPTestGamma wanted = NPTestSeededGamma(8);
    std::optional<QXGammaTable> seen;
    const auto subscription =
        displays->registerReconfigurationCallback([&](NPDisplayID display, std::uint32_t flags) {
            if ((flags & NPDisplayChangeAdd) != 0) {
                displays->getDisplayTransferTable(display, seen.emplace());
                displays->setDisplayTransferTable(display, NPTestRecordOf(wanted));
            }
        });
    switchOn();
    ASSERT_TRUE(seen);
    EXPECT_TRUE(QXGammaTableEqual(*seen, NPTestRecordOf(ownTable)));
    EXPECT_EQ(randr.gamma("DUMMY1"), wanted);
    EXPECT_EQ(recordNames(randr), Names{recordName(randr, "DUMMY1")});
}

TEST_F(NPBaseTablesOfAnOfflineDisplayX11, RestoringOfflineDisplaysLeavesTheOthersAlone)
{
    showHalf(*displays);
    const NPTestGamma shown = randr.gamma("DUMMY0");
    displays->restoreOfflineDisplays();
    displays->finishWriting();
    EXPECT_EQ(randr.gamma(crtc), ownTable);
    EXPECT_EQ(randr.gamma("DUMMY0"), shown);
    EXPECT_EQ(recordNames(randr), Names{recordName(randr, "DUMMY0")});
}

TEST_F(NPBaseTablesOfAnOfflineDisplayX11, WhatAnEarlierRunLeftOnStaysOnWhenTheNextOpens)
{
    server.xrandr("--output DUMMY1 --mode 640x480 --right-of DUMMY0");
    const auto next = NPTestOpen(server, loop);
    next->finishWriting();
    EXPECT_EQ(randr.gamma("DUMMY1"), halfOf(ownTable));
}

TEST(NPBaseTablesOfSeveralDisplaysX11, DisplayTakesItsTableAlongToAnotherCrtc)
{
    const NPTestXServer server = NPTestXServer::xorg();
    server.switchOn(2);
    const NPTestRandR randr(server.displayName());
    const auto first = NPTestEdid{.serial = 1, .monitorName = "First"}.block();
    const auto second = NPTestEdid{.serial = 2, .monitorName = "Second"}.block();
    randr.setOutputProperty("DUMMY0", "EDID", first);
    randr.setOutputProperty("DUMMY1", "EDID", second);
    randr.setGamma("DUMMY0", NPTestSeededGamma(1));
    randr.setGamma("DUMMY1", NPTestSeededGamma(2));
    crashOn(server);
    randr.setOutputProperty("DUMMY0", "EDID", second);
    randr.setOutputProperty("DUMMY1", "EDID", first);

    NPMainLoopLinux loop;
    const auto displays = NPTestOpen(server, loop);
    const NPDisplayID moved = NPTestDisplay(*displays, "First");
    EXPECT_TRUE(
        QXGammaTableEqual(displays->copyDisplayProfile(moved).baseTable, NPTestRecordOf(NPTestSeededGamma(1))));
    showHalf(*displays, moved);
    EXPECT_EQ(randr.gamma("DUMMY1"), halfOf(NPTestSeededGamma(1)));
    displays->restoreColorSyncSettings();
    EXPECT_EQ(randr.gamma("DUMMY1"), NPTestSeededGamma(1));
    EXPECT_EQ(randr.gamma("DUMMY0"), NPTestSeededGamma(2));
    EXPECT_EQ(recordNames(randr), Names{});
}

TEST(NPBaseTablesOfSeveralDisplaysX11, CrtcThatItsDisplayHasLeftIsRestoredAtOnce)
{
    const NPTestXServer server = NPTestXServer::xorg();
    server.switchOn(2);
    const NPTestRandR randr(server.displayName());
    const auto edid = NPTestEdid{.serial = 1, .monitorName = "First"}.block();
    randr.setOutputProperty("DUMMY1", "EDID", edid);
    randr.setGamma("DUMMY0", NPTestSeededGamma(1));
    randr.setGamma("DUMMY1", NPTestSeededGamma(2));
    crashOn(server);
    const xcb_randr_crtc_t left = randr.output("DUMMY1").crtc;
    server.xrandr("--output DUMMY1 --off");
    randr.setOutputProperty("DUMMY1", "EDID", NPTestEdid{.serial = 9}.block());
    randr.setOutputProperty("DUMMY0", "EDID", edid);

    NPMainLoopLinux loop;
    const auto displays = NPTestOpen(server, loop);
    displays->finishWriting();
    EXPECT_EQ(randr.gamma(left), NPTestSeededGamma(2));
    EXPECT_TRUE(QXGammaTableEqual(baseTableOf(*displays), NPTestRecordOf(NPTestSeededGamma(2))));
}
