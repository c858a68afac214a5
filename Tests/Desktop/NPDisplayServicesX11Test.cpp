#include "Platform/Linux/NPDisplayServicesX11.h"

#include "Desktop/Support/NPTestEngine.h"
#include "Support/NPTestEdid.h"

#include <gtest/gtest.h>

#include <csignal>
#include <set>

namespace {

std::vector<std::string> namesOf(const NPDisplayServices& displays, const NPDisplayList& list)
{
    std::vector<std::string> names;
    for (const NPDisplayID display : list) {
        names.push_back(displays.displayName(display));
    }
    return names;
}

std::vector<std::string> onlineNames(const NPDisplayServices& displays)
{
    return namesOf(displays, displays.onlineDisplayList(NPDisplayListCapacity).value());
}

std::string openError(const std::string& displayName)
{
    NPMainLoopLinux loop;
    const auto displays = NPDisplayServicesX11::open(displayName, loop);
    return displays ? "opened" : displays.error();
}

using Names = std::vector<std::string>;

} // namespace

TEST(NPDisplayServicesX11, ListsTheDrivenDisplaysInTheServersOrder)
{
    const NPTestXServer server = NPTestXServer::xorg();
    server.switchOn(3);
    NPMainLoopLinux loop;
    const auto displays = NPTestOpen(server, loop);
    EXPECT_EQ(onlineNames(*displays), (Names{"DUMMY0", "DUMMY1", "DUMMY2"}));
    EXPECT_EQ(displays->activeDisplayList(10), displays->onlineDisplayList(10));
}

TEST(NPDisplayServicesX11, ListsThePrimaryDisplayFirst)
{
    const NPTestXServer server = NPTestXServer::xorg();
    server.switchOn(3);
    server.xrandr("--output DUMMY2 --primary");
    NPMainLoopLinux loop;
    const auto displays = NPTestOpen(server, loop);
    EXPECT_EQ(onlineNames(*displays), (Names{"DUMMY2", "DUMMY0", "DUMMY1"}));
    EXPECT_EQ(displays->mainDisplay(), NPTestDisplay(*displays, "DUMMY2"));
}

TEST(NPDisplayServicesX11, ListsTenOfSixteenDisplays)
{
    const NPTestXServer server = NPTestXServer::xorg();
    server.switchOn(12);
    NPMainLoopLinux loop;
    const auto displays = NPTestOpen(server, loop);
    EXPECT_EQ(displays->onlineDisplayList(16)->size(), 10U);
    EXPECT_EQ(onlineNames(*displays).back(), "DUMMY9");
}

TEST(NPDisplayServicesX11, ListsNoMoreThanItHasRoomFor)
{
    const NPTestXServer server = NPTestXServer::xorg();
    server.switchOn(3);
    NPMainLoopLinux loop;
    const auto displays = NPTestOpen(server, loop);
    EXPECT_EQ(namesOf(*displays, displays->onlineDisplayList(2).value()), (Names{"DUMMY0", "DUMMY1"}));
}

TEST(NPDisplayServicesX11, LeavesOutDisplaysThatAreSwitchedOff)
{
    const NPTestXServer server = NPTestXServer::xorg();
    server.switchOn(3);
    server.xrandr("--output DUMMY1 --off");
    NPMainLoopLinux loop;
    const auto displays = NPTestOpen(server, loop);
    EXPECT_EQ(onlineNames(*displays), (Names{"DUMMY0", "DUMMY2"}));
}

TEST(NPDisplayServicesX11, FindsDisplaysByRectangleFromTheMainDisplaysCorner)
{
    const NPTestXServer server = NPTestXServer::xorg();
    server.switchOn(3); // at x = 0 (1024 wide), 1024 and 1664 (640 wide)
    server.xrandr("--output DUMMY1 --primary");
    NPMainLoopLinux loop;
    const auto displays = NPTestOpen(server, loop);
    const auto namesAt = [&](const NPRect& rect) {
        return namesOf(*displays, displays->displaysWithRect(rect, 10).value());
    };
    EXPECT_EQ(namesAt({0, 0, 640, 480}), (Names{"DUMMY1"}));
    EXPECT_EQ(namesAt({-1, 0, 2, 2}), (Names{"DUMMY1", "DUMMY0"}));
    EXPECT_EQ(namesAt({639, 479, 2, 2}), (Names{"DUMMY1", "DUMMY2"}));
    EXPECT_EQ(namesAt({-1024, 767, 0, 0}), (Names{"DUMMY0"}));
    EXPECT_EQ(namesAt({0, 480, 5000, 100}), Names{});
    EXPECT_EQ(displays->displaysWithRect({-5000, -5000, 10000, 10000}, 2)->size(), 2U);
}

TEST(NPDisplayServicesX11, WritesEveryEntryToTheDisplayAlone)
{
    const NPTestXServer server = NPTestXServer::xorg();
    server.switchOn(3);
    const NPTestRandR randr(server.displayName());
    for (const std::uint32_t i : {0U, 1U, 2U}) {
        randr.setGamma("DUMMY" + std::to_string(i), NPTestSeededGamma(i));
    }
    NPMainLoopLinux loop;
    const auto displays = NPTestOpen(server, loop);
    const NPTestGamma written = NPTestSeededGamma(77);
    EXPECT_TRUE(displays->setDisplayTransferTable(NPTestDisplay(*displays, "DUMMY1"), NPTestRecordOf(written)));
    EXPECT_TRUE(displays->finishWriting());
    EXPECT_EQ(randr.gamma("DUMMY0"), NPTestSeededGamma(0));
    EXPECT_EQ(randr.gamma("DUMMY1"), written);
    EXPECT_EQ(randr.gamma("DUMMY2"), NPTestSeededGamma(2));
}

TEST(NPDisplayServicesX11, ReadsEveryEntry)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    NPTestRandR(server.displayName()).setGamma("screen", NPTestSeededGamma(5));
    NPMainLoopLinux loop;
    const auto displays = NPTestOpen(server, loop);
    QXGammaTable table;
    ASSERT_TRUE(displays->getDisplayTransferTable(displays->mainDisplay(), table));
    EXPECT_TRUE(QXGammaTableEqual(table, NPTestRecordOf(NPTestSeededGamma(5))));
}

TEST(NPDisplayServicesX11, ReadsWhatAnotherProgramHasWrittenSince)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    NPMainLoopLinux loop;
    const auto displays = NPTestOpen(server, loop);
    loop.processEvents();
    NPTestRandR(server.displayName()).setGamma("screen", NPTestSeededGamma(6));
    QXGammaTable table;
    ASSERT_TRUE(displays->getDisplayTransferTable(displays->mainDisplay(), table));
    EXPECT_TRUE(QXGammaTableEqual(table, NPTestRecordOf(NPTestSeededGamma(6))));
}

TEST(NPDisplayServicesX11, ReadsItsOwnWriteBack)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    NPMainLoopLinux loop;
    const auto displays = NPTestOpen(server, loop);
    const QXGammaTable written = NPTestRecordOf(NPTestSeededGamma(7));
    displays->setDisplayTransferTable(displays->mainDisplay(), written);
    QXGammaTable table;
    ASSERT_TRUE(displays->getDisplayTransferTable(displays->mainDisplay(), table));
    EXPECT_TRUE(QXGammaTableEqual(table, written));
}

TEST(NPDisplayServicesX11, SpreadsFewerSamplesOverTheHardwareTable)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    NPMainLoopLinux loop;
    const auto displays = NPTestOpen(server, loop);
    displays->setDisplayTransferTable(displays->mainDisplay(), QXGammaTableIdentity(2));
    displays->finishWriting();
    EXPECT_EQ(NPTestRandR(server.displayName()).gamma("screen"), NPTestIdentityGamma());
}

TEST(NPDisplayServicesX11, EmptyTableIsNotWritten)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    const NPTestRandR randr(server.displayName());
    randr.setGamma("screen", NPTestSeededGamma(8));
    NPMainLoopLinux loop;
    const auto displays = NPTestOpen(server, loop);
    EXPECT_FALSE(displays->setDisplayTransferTable(displays->mainDisplay(), QXGammaTable{}));
    displays->finishWriting();
    EXPECT_EQ(randr.gamma("screen"), NPTestSeededGamma(8));
}

TEST(NPDisplayServicesX11, OtherProgramsSeeAHalfBrightDisplay)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    NPMainLoopLinux loop;
    const auto displays = NPTestOpen(server, loop);
    displays->setDisplayTransferTable(displays->mainDisplay(), NPTestHalf(QXGammaTableIdentity()));
    displays->finishWriting();
    const std::string seen = NPTestOutputOf("xrandr -d " + server.displayName() + " --verbose");
    EXPECT_NE(seen.find("Brightness: 0.50"), std::string::npos) << seen;
}

TEST(NPDisplayServicesX11, UnknownDisplayIsRefused)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    NPMainLoopLinux loop;
    const auto displays = NPTestOpen(server, loop);
    QXGammaTable table;
    EXPECT_FALSE(displays->setDisplayTransferTable(1, QXGammaTableIdentity()));
    EXPECT_FALSE(displays->getDisplayTransferTable(1, table));
    EXPECT_EQ(displays->copyDisplayProfile(1).baseTable.sampleCount, 0U);
    EXPECT_EQ(displays->displayName(1), "");
}

TEST(NPDisplayServicesX11, DisplayIsCalledWhatItsEdidSays)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    NPTestRandR(server.displayName())
        .setOutputProperty("screen", "EDID", NPTestEdid{.monitorName = "Panorama 34"}.block());
    NPMainLoopLinux loop;
    const auto displays = NPTestOpen(server, loop);
    EXPECT_EQ(onlineNames(*displays), Names{"Panorama 34"});
}

TEST(NPDisplayServicesX11, DisplayKeepsItsIdentifierOnAnotherServerAndPort)
{
    const NPTestEdid edid{.serial = 4711, .monitorName = "Panorama 34"};
    const NPTestXServer home = NPTestXServer::xvfb();
    const NPTestXServer away = NPTestXServer::xorg();
    away.switchOn(2);
    NPTestRandR(home.displayName()).setOutputProperty("screen", "EDID", edid.block());
    NPTestRandR(away.displayName()).setOutputProperty("DUMMY1", "EDID", edid.block());
    NPMainLoopLinux loop;
    const auto atHome = NPTestOpen(home, loop);
    const auto awayFromHome = NPTestOpen(away, loop);
    EXPECT_EQ(NPTestDisplay(*atHome, "Panorama 34"), NPTestDisplay(*awayFromHome, "Panorama 34"));
}

TEST(NPDisplayServicesX11, TwinsHaveIdentifiersOfTheirOwnThatLast)
{
    const NPTestXServer server = NPTestXServer::xorg();
    server.switchOn(3);
    const NPTestRandR randr(server.displayName());
    for (const char* const name : {"DUMMY0", "DUMMY1", "DUMMY2"}) {
        randr.setOutputProperty(name, "EDID", NPTestEdid{}.block());
    }
    NPMainLoopLinux loop;
    const NPDisplayList first = NPTestOpen(server, loop)->onlineDisplayList(10).value();
    EXPECT_EQ(std::set<NPDisplayID>(first.begin(), first.end()).size(), 3U);
    EXPECT_EQ(NPTestOpen(server, loop)->onlineDisplayList(10).value(), first);
}

TEST(NPDisplayServicesX11, DisplayWithAnEdidOfZerosIsKnownByItsConnector)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    NPMainLoopLinux loop;
    const NPDisplayID identifier = NPTestOpen(server, loop)->mainDisplay();
    NPTestRandR(server.displayName()).setOutputProperty("screen", "EDID", std::vector<std::uint8_t>(128));
    EXPECT_EQ(NPTestOpen(server, loop)->mainDisplay(), identifier);
}

TEST(NPDisplayServicesX11, DisplayWithATruncatedEdidIsKnownByItsConnector)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    NPMainLoopLinux loop;
    const NPDisplayID identifier = NPTestOpen(server, loop)->mainDisplay();
    std::vector<std::uint8_t> edid = NPTestEdid{}.block();
    edid.resize(100);
    NPTestRandR(server.displayName()).setOutputProperty("screen", "EDID", edid);
    EXPECT_EQ(NPTestOpen(server, loop)->mainDisplay(), identifier);
}

TEST(NPDisplayServicesX11, MissingServerIsOneLine)
{
    EXPECT_EQ(openError(":9999"), "No X server lets us in at display \":9999\"");
}

TEST(NPDisplayServicesX11, UnreadableDisplayNameIsOneLine)
{
    EXPECT_EQ(openError("nonsense"), "\"nonsense\" is not the name of an X display");
}

TEST(NPDisplayServicesX11, MissingScreenIsOneLine)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    const std::string name = server.displayName() + ".7";
    EXPECT_EQ(openError(name), "The X server has no screen \"" + name + "\"");
}

TEST(NPDisplayServicesX11, ServerWithoutRandRIsRefused)
{
    const NPTestXServer server = NPTestXServer::xvfb({"-extension", "RANDR"});
    EXPECT_EQ(openError(server.displayName()),
              "The X server at \"" + server.displayName() + "\" has no RandR 1.3 or later");
}

TEST(NPDisplayServicesX11, ServerThatOnlyEmulatesGammaIsRefused)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    NPTestRandR(server.displayName()).setOutputProperty("screen", "RANDR Emulation", {1});
    EXPECT_EQ(openError(server.displayName()), "The X server at \"" + server.displayName()
                                                   + "\" is Xwayland, which stores gamma tables but applies none");
}

TEST(NPDisplayServicesX11, LostServerIsToldOnceAndEverythingFailsThen)
{
    NPTestXServer server = NPTestXServer::xvfb();
    NPMainLoopLinux loop;
    const auto displays = NPTestOpen(server, loop);
    const NPDisplayID display = displays->mainDisplay();
    int count = 0;
    displays->onConnectionLost([&] { ++count; });
    displays->setDisplayTransferTable(display, NPTestHalf(QXGammaTableIdentity()));
    server.kill();
    EXPECT_TRUE(NPTestTurnUntil(loop, [&] { return count > 0; }));
    QXGammaTable table;
    EXPECT_FALSE(displays->setDisplayTransferTable(display, QXGammaTableIdentity()));
    EXPECT_FALSE(displays->getDisplayTransferTable(display, table));
    EXPECT_FALSE(displays->finishWriting());
    EXPECT_EQ(displays->onlineDisplayList(10), std::nullopt);
    EXPECT_EQ(displays->mainDisplay(), 0U);
    displays->restoreColorSyncSettings();
    loop.processEvents();
    EXPECT_EQ(count, 1);
}

TEST(NPDisplayServicesX11, ServerThatGoesBetweenTwoWritesEndsNothing)
{
    NPTestXServer server = NPTestXServer::xvfb();
    NPMainLoopLinux loop;
    const auto displays = NPTestOpen(server, loop);
    const NPDisplayID display = displays->mainDisplay();
    server.kill();
    displays->setDisplayTransferTable(display, QXGammaTableIdentity());
    EXPECT_FALSE(displays->finishWriting());
}

TEST(NPDisplayServicesX11, BrokenPipeDoesNotEndTheProcess)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    NPTestEngine engine([&](const NPTestEngine::Ready& ready) {
        std::signal(SIGPIPE, SIG_DFL);
        NPMainLoopLinux loop;
        const auto displays = NPTestOpen(server, loop);
        ready();
        std::raise(SIGPIPE);
    });
    EXPECT_EQ(engine.wait(), 0);
}
