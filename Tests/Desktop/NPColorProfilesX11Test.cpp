// The displays' profiles as an X server has them, where no colour service decides.
#include "Desktop/Support/NPTestEngine.h"
#include "Foundation/QXLog.h"
#include "Foundation/QXURL.h"
#include "Platform/Linux/NPColorProfilesLinux.h"
#include "Platform/Linux/NPTestSessionBus.h"
#include "Support/ColorProfiles.h"
#include "Support/GammaTables.h"
#include "Support/NPTestEdid.h"

#include <gtest/gtest.h>

namespace {

constexpr const char* property = "_ICC_PROFILE";

// A profile whose gamma table ends at that level, with a tag of that text.
QXColorProfile profileEndingAt(float level, std::string_view text)
{
    QXColorProfile profile = colorProfileOf({{"cprt", bytesOf(text)}});
    QXColorProfileSetGammaTable(profile, scaledTable(level));
    return profile;
}

QXData fileOf(const QXColorProfile& profile)
{
    return profile.copyData().value();
}

// Three displays; nothing but the X server knows of profiles.
class NPColorProfilesX11 : public testing::Test {
protected:
    NPColorProfilesX11()
    {
        server.switchOn(3);
        for (const std::string name : {"DUMMY0", "DUMMY1", "DUMMY2"}) {
            randr.setGamma(name, NPTestIdentityGamma());
        }
        open();
    }

    void open()
    {
        profiles.reset();
        displays = NPTestOpen(server, loop);
        profiles = std::make_shared<NPColorProfilesLinux>(*displays, loop);
    }

    void start()
    {
        bool isReady = false;
        profiles->start([&] { isReady = true; });
        ASSERT_TRUE(NPTestTurnUntil(loop, [&] { return isReady; }));
    }

    NPDisplayID display(const std::string& name) const { return NPTestDisplay(*displays, name); }
    NPDisplayProfile profileOf(const std::string& name) { return profiles->copyDisplayProfile(display(name)); }

    // The file of a custom profile that the display could be given.
    std::string customFile(const std::string& name, float level)
    {
        const NPDisplayProfile own = profileOf(name);
        QXColorProfile custom = *own.profile;
        QXColorProfileSetBaseURL(custom, own.location);
        QXColorProfileSetBaseGammaTable(custom, own.baseTable);
        QXColorProfileSetGammaTable(custom, scaledTable(level));
        writeFile(folder / (name + ".icc"), fileOf(custom));
        return QXFileURLFromPath((folder / (name + ".icc")).string());
    }

    NPTemporaryFolder folder;
    NPTestVariable noService{"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + (folder / "none").string()};
    std::vector<std::string> log;
    QXLogRedirection redirection{[this](std::string_view line) { log.emplace_back(line); }};
    NPTestXServer server = NPTestXServer::xorg();
    NPTestRandR randr{server.displayName()};
    NPMainLoopLinux loop;
    std::unique_ptr<NPDisplayServicesX11> displays;
    std::shared_ptr<NPColorProfilesLinux> profiles;
};

TEST_F(NPColorProfilesX11, OutputsProfileDecidesTheBaseTable)
{
    const QXColorProfile own = profileEndingAt(0.7F, "own");
    randr.setOutputProperty("DUMMY1", property, fileOf(own));
    const NPDisplayProfile found = profileOf("DUMMY1");
    EXPECT_NEAR(found.baseTable.redTable[255], 0.7F, 1e-4F);
    EXPECT_EQ(found.profile->copyData(), own.copyData());
    EXPECT_FALSE(found.location);
    EXPECT_EQ(profileOf("DUMMY0").baseTable.redTable[255], 1.0F);
}

TEST_F(NPColorProfilesX11, RootWindowHasAProfileForEachMonitor)
{
    randr.setRootBytes("_ICC_PROFILE", fileOf(profileEndingAt(0.7F, "first")));
    randr.setRootBytes("_ICC_PROFILE_2", fileOf(profileEndingAt(0.5F, "third")));
    EXPECT_NEAR(profileOf("DUMMY0").baseTable.redTable[255], 0.7F, 1e-4F);
    EXPECT_EQ(profileOf("DUMMY1").baseTable.redTable[255], 1.0F);
    EXPECT_NEAR(profileOf("DUMMY2").baseTable.redTable[255], 0.5F, 1e-4F);
}

TEST_F(NPColorProfilesX11, PrimaryMonitorIsTheFirstOnTheRootWindow)
{
    server.xrandr("--output DUMMY2 --primary");
    open();
    randr.setRootBytes("_ICC_PROFILE", fileOf(profileEndingAt(0.7F, "first")));
    randr.setRootBytes("_ICC_PROFILE_1", fileOf(profileEndingAt(0.5F, "second")));
    EXPECT_NEAR(profileOf("DUMMY2").baseTable.redTable[255], 0.7F, 1e-4F);
    EXPECT_NEAR(profileOf("DUMMY0").baseTable.redTable[255], 0.5F, 1e-4F);
}

TEST_F(NPColorProfilesX11, OutputGoesBeforeTheRootWindow)
{
    randr.setRootBytes(property, fileOf(profileEndingAt(0.7F, "root")));
    randr.setOutputProperty("DUMMY0", property, fileOf(profileEndingAt(0.5F, "output")));
    EXPECT_NEAR(profileOf("DUMMY0").baseTable.redTable[255], 0.5F, 1e-4F);
}

TEST_F(NPColorProfilesX11, DamagedPropertyCountsAsNone)
{
    const NPTestGamma shown = NPTestSeededGamma(5);
    randr.setGamma("DUMMY0", shown);
    open();
    randr.setOutputProperty("DUMMY0", property, {1, 2, 3});
    EXPECT_EQ(NPTestGammaOf(profileOf("DUMMY0").baseTable), shown);
}

TEST_F(NPColorProfilesX11, ProfileWithoutATableLeavesTheTableThatIsShown)
{
    const NPTestGamma shown = NPTestSeededGamma(5);
    randr.setGamma("DUMMY0", shown);
    open();
    randr.setOutputProperty("DUMMY0", property, fileOf(colorProfileOf({{"cprt", bytesOf("own")}})));
    EXPECT_EQ(NPTestGammaOf(profileOf("DUMMY0").baseTable), shown);
}

TEST_F(NPColorProfilesX11, ProfileWhoseTableShowsNothingLeavesTheTableThatIsShown)
{
    randr.setOutputProperty("DUMMY0", property, fileOf(profileEndingAt(0.0F, "dark")));
    EXPECT_EQ(NPTestGammaOf(profileOf("DUMMY0").baseTable), NPTestIdentityGamma());
}

TEST_F(NPColorProfilesX11, DisplayWithoutAProfileGetsOneOfItsOwnColours)
{
    auto edid = NPTestEdid{.monitorName = "Wide"}.block();
    edid[23] = 140; // gamma 2.4
    const std::vector<std::uint8_t> colors = {0xEE, 0x91, 0xA3, 0x54, 0x4C, 0x99, 0x26, 0x0F, 0x50, 0x54};
    std::ranges::copy(colors, edid.begin() + 25);
    NPTestEdid::seal(edid);
    randr.setOutputProperty("DUMMY0", "EDID", edid);
    open();
    const NPDisplayProfile found = profileOf("Wide");
    ASSERT_TRUE(found.profile);
    const QXColorProfile standard = profileOf("DUMMY1").profile.value();
    const auto red = QXMakeTagSignature("rXYZ");
    EXPECT_NE(dataOf(*found.profile->tag(red)), dataOf(*standard.tag(red)));
    EXPECT_FALSE(found.location);
}

TEST_F(NPColorProfilesX11, RestoringGoesBackToTheProfilesTableWhateverWasShown)
{
    randr.setOutputProperty("DUMMY0", property, fileOf(profileEndingAt(0.7F, "own")));
    const QXGammaTable base = profileOf("DUMMY0").baseTable;
    displays->setDisplayTransferTable(display("DUMMY0"), NPTestHalf(base));
    displays->restoreColorSyncSettings();
    EXPECT_EQ(randr.gamma("DUMMY0"), NPTestGammaOf(base));
    EXPECT_TRUE(randr.rootPropertyNames("_NIGHTPANE_BASE").empty());
}

TEST_F(NPColorProfilesX11, TableLoadedWithOtherRoundingStaysAsItIs)
{
    const QXColorProfile own = profileEndingAt(0.7F, "own");
    NPTestGamma loaded = NPTestGammaOf(QXColorProfileGetGammaTable(own));
    --loaded[0][100];
    ++loaded[1][101];
    randr.setGamma("DUMMY0", loaded);
    open();
    randr.setOutputProperty("DUMMY0", property, fileOf(own));
    const QXGammaTable base = profileOf("DUMMY0").baseTable;
    displays->setDisplayTransferTable(display("DUMMY0"), NPTestHalf(base));
    displays->restoreColorSyncSettings();
    EXPECT_EQ(randr.gamma("DUMMY0"), loaded);
}

TEST_F(NPColorProfilesX11, RecordAndGuardHoldTheProfilesTable)
{
    const QXColorProfile own = profileEndingAt(0.7F, "own");
    randr.setOutputProperty("DUMMY0", property, fileOf(own));
    NPTestEngine engine(
        [&](const NPTestEngine::Ready& ready) { NPTestShowHalfUntilKilled(server.displayName(), true, ready); });
    engine.kill();
    EXPECT_TRUE(
        NPTestWaitUntil([&] { return randr.gamma("DUMMY0") == NPTestGammaOf(QXColorProfileGetGammaTable(own)); }));
}

TEST_F(NPColorProfilesX11, CustomProfileStandsInBothPlacesAndTheFormerOneComesBack)
{
    const QXData output = fileOf(profileEndingAt(0.7F, "output"));
    const QXData root = fileOf(profileEndingAt(0.6F, "root"));
    randr.setOutputProperty("DUMMY1", property, output);
    randr.setRootBytes("_ICC_PROFILE_1", root);
    const std::string custom = customFile("DUMMY1", 0.3F);
    ASSERT_TRUE(profiles->setCustomProfile(display("DUMMY1"), custom));
    EXPECT_EQ(randr.bytes("DUMMY1", property), contentOf<QXData>(*QXPathFromFileURL(custom)));
    EXPECT_EQ(randr.bytes("", "_ICC_PROFILE_1"), contentOf<QXData>(*QXPathFromFileURL(custom)));
    EXPECT_FALSE(randr.bytes("DUMMY0", property));

    ASSERT_TRUE(profiles->setCustomProfile(display("DUMMY1"), std::nullopt));
    EXPECT_EQ(randr.bytes("DUMMY1", property), output);
    EXPECT_EQ(randr.bytes("", "_ICC_PROFILE_1"), root);
    EXPECT_TRUE(randr.rootPropertyNames("_NIGHTPANE").empty());
}

TEST_F(NPColorProfilesX11, DisplayThatHadNoProfileHasNoneAgain)
{
    ASSERT_TRUE(profiles->setCustomProfile(display("DUMMY0"), customFile("DUMMY0", 0.3F)));
    ASSERT_TRUE(profiles->setCustomProfile(display("DUMMY0"), std::nullopt));
    EXPECT_FALSE(randr.bytes("DUMMY0", property));
    EXPECT_FALSE(randr.bytes("", property));
}

TEST_F(NPColorProfilesX11, SecondCustomProfileKeepsWhatWasThereBeforeTheFirst)
{
    const QXData own = fileOf(profileEndingAt(0.7F, "own"));
    randr.setOutputProperty("DUMMY0", property, own);
    for (const float level : {0.3F, 0.2F}) {
        ASSERT_TRUE(profiles->setCustomProfile(display("DUMMY0"), customFile("DUMMY0", level)));
    }
    EXPECT_NEAR(profileOf("DUMMY0").baseTable.redTable[255], 0.7F, 1e-4F);
    ASSERT_TRUE(profiles->setCustomProfile(display("DUMMY0"), std::nullopt));
    EXPECT_EQ(randr.bytes("DUMMY0", property), own);
}

TEST_F(NPColorProfilesX11, WhatOthersHaveSetSinceStays)
{
    ASSERT_TRUE(profiles->setCustomProfile(display("DUMMY0"), customFile("DUMMY0", 0.3F)));
    const QXData others = fileOf(profileEndingAt(0.5F, "others"));
    randr.setOutputProperty("DUMMY0", property, others);
    ASSERT_TRUE(profiles->setCustomProfile(display("DUMMY0"), std::nullopt));
    EXPECT_EQ(randr.bytes("DUMMY0", property), others);
}

TEST_F(NPColorProfilesX11, LaterRunFindsTheTrueTableAndGivesTheOwnProfileBack)
{
    const QXData own = fileOf(profileEndingAt(0.7F, "own"));
    randr.setOutputProperty("DUMMY0", property, own);
    ASSERT_TRUE(profiles->setCustomProfile(display("DUMMY0"), customFile("DUMMY0", 0.3F)));
    open(); // as after a crash
    EXPECT_NEAR(profileOf("DUMMY0").baseTable.redTable[255], 0.7F, 1e-4F);
    ASSERT_TRUE(profiles->setCustomProfile(display("DUMMY0"), std::nullopt));
    EXPECT_EQ(randr.bytes("DUMMY0", property), own);
}

TEST_F(NPColorProfilesX11, BaseTableHoldsWhenTheLocationOfTheOwnProfileHasGone)
{
    QXColorProfile custom = profileEndingAt(0.3F, "custom");
    QXColorProfileSetBaseURL(custom, "file:///gone.icc");
    QXColorProfileSetBaseGammaTable(custom, scaledTable(0.7F));
    randr.setOutputProperty("DUMMY0", property, fileOf(custom)); // and nothing else is known
    open();
    const NPDisplayProfile found = profileOf("DUMMY0");
    EXPECT_EQ(found.location, "file:///gone.icc");
    EXPECT_NEAR(found.baseTable.redTable[255], 0.7F, 1e-4F);
    EXPECT_TRUE(profiles->setCustomProfile(display("DUMMY0"), found.location));
    EXPECT_FALSE(randr.bytes("DUMMY0", property));
    displays->setDisplayTransferTable(display("DUMMY0"), NPTestHalf(found.baseTable));
    displays->restoreColorSyncSettings();
    EXPECT_EQ(randr.gamma("DUMMY0"), NPTestGammaOf(found.baseTable));
}

TEST_F(NPColorProfilesX11, ProfileThatTakesMoreThanOnePartIsWhole)
{
    const QXData own = fileOf(colorProfileOf({{"A2B0", QXData(3U << 20, std::uint8_t{0x5A})}}));
    randr.setOutputProperty("DUMMY0", property, own);
    const std::string custom = customFile("DUMMY0", 0.3F);
    ASSERT_TRUE(profiles->setCustomProfile(display("DUMMY0"), custom));
    EXPECT_EQ(randr.bytes("DUMMY0", property), contentOf<QXData>(*QXPathFromFileURL(custom)));
    EXPECT_EQ(randr.bytes("DUMMY0", "_NIGHTPANE_ICC_PROFILE"), own);
    ASSERT_TRUE(profiles->setCustomProfile(display("DUMMY0"), std::nullopt));
    EXPECT_EQ(randr.bytes("DUMMY0", property), own);
}

TEST_F(NPColorProfilesX11, RemnantOfACustomProfileIsReplacedByWhatStoodThere)
{
    const QXData own = fileOf(profileEndingAt(0.7F, "own"));
    randr.setOutputProperty("DUMMY0", property, own);
    const std::string custom = customFile("DUMMY0", 0.3F);
    ASSERT_TRUE(profiles->setCustomProfile(display("DUMMY0"), custom));
    QXData remnant = contentOf<QXData>(*QXPathFromFileURL(custom));
    remnant.resize(remnant.size() / 2);
    for (const bool isSetAgain : {false, true}) {
        randr.setOutputProperty("DUMMY0", property, remnant);
        if (isSetAgain) {
            ASSERT_TRUE(profiles->setCustomProfile(display("DUMMY0"), custom));
        }
        ASSERT_TRUE(profiles->setCustomProfile(display("DUMMY0"), std::nullopt));
        EXPECT_EQ(randr.bytes("DUMMY0", property), own);
        ASSERT_TRUE(profiles->setCustomProfile(display("DUMMY0"), custom));
    }
}

TEST_F(NPColorProfilesX11, ServerThatDoesNotAnswerLeavesTheProfileAndTheBaseTable)
{
    const QXColorProfile own = profileEndingAt(0.7F, "own");
    randr.setOutputProperty("DUMMY0", property, fileOf(own));
    const QXGammaTable base = profileOf("DUMMY0").baseTable;
    displays->setDisplayTransferTable(display("DUMMY0"), NPTestHalf(base));
    ASSERT_TRUE(displays->finishWriting());
    server.suspend();
    const NPDisplayProfile found = profileOf("DUMMY0");
    EXPECT_TRUE(QXGammaTableEqual(found.baseTable, base));
    EXPECT_EQ(found.profile->copyData(), own.copyData());
    server.resume();
    displays->restoreColorSyncSettings();
    EXPECT_TRUE(NPTestWaitUntil([&] { return randr.gamma("DUMMY0") == NPTestGammaOf(base); }));
}

TEST_F(NPColorProfilesX11, ServerThatGoesOnTakesProfilesAgain)
{
    const QXData own = fileOf(profileEndingAt(0.7F, "own"));
    randr.setOutputProperty("DUMMY0", property, own);
    const std::string custom = customFile("DUMMY0", 0.3F);
    start();
    server.suspend();
    EXPECT_FALSE(profiles->setCustomProfile(display("DUMMY0"), custom));
    server.resume();
    EXPECT_TRUE(NPTestTurnUntil(loop, [&] { return profiles->setCustomProfile(display("DUMMY0"), custom); }));
    EXPECT_EQ(randr.bytes("DUMMY0", property), contentOf<QXData>(*QXPathFromFileURL(custom)));
    ASSERT_TRUE(profiles->setCustomProfile(display("DUMMY0"), std::nullopt));
    EXPECT_EQ(randr.bytes("DUMMY0", property), own);
}

TEST_F(NPColorProfilesX11, UnknownDisplayAndUnreadableFileChangeNothing)
{
    EXPECT_FALSE(profiles->setCustomProfile(4711, std::nullopt));
    const QXData own = fileOf(profileEndingAt(0.7F, "own"));
    randr.setOutputProperty("DUMMY0", property, own);
    profileOf("DUMMY0");
    profiles->setCustomProfile(display("DUMMY0"), "file:///nowhere.icc");
    EXPECT_EQ(randr.bytes("DUMMY0", property), own);
}

TEST_F(NPColorProfilesX11, WithoutAColourServiceOneLineSaysSo)
{
    start();
    EXPECT_EQ(log.size(), 1U);
    EXPECT_TRUE(log.at(0).starts_with("Custom colour profiles go into the X server alone: ")) << log.at(0);
}

TEST_F(NPColorProfilesX11, ProfileOfAnOutputIsNoticedBeforeTheColourServiceIsAsked)
{
    profileOf("DUMMY1");
    std::vector<NPDisplayID> changes;
    const auto subscription =
        profiles->registerProfileCallback([&](NPDisplayID changed) { changes.push_back(changed); });
    randr.setOutputProperty("DUMMY1", property, fileOf(profileEndingAt(0.5F, "other")));
    EXPECT_TRUE(NPTestTurnUntil(loop, [&] { return !changes.empty(); }));
    EXPECT_EQ(changes, std::vector<NPDisplayID>{display("DUMMY1")});
    EXPECT_TRUE(log.empty());
}

class NPColorProfilesX11Changes : public NPColorProfilesX11 {
protected:
    NPColorProfilesX11Changes()
    {
        start();
        for (const std::string name : {"DUMMY0", "DUMMY1", "DUMMY2"}) {
            profileOf(name);
        }
        subscription = profiles->registerProfileCallback([this](NPDisplayID changed) {
            changes.push_back(displays->displayName(changed));
            profiles->copyDisplayProfile(changed); // as whoever listens does
        });
    }

    // Whether nothing is announced until the loop has seen a change of another output that is.
    void settle()
    {
        randr.setOutputProperty("DUMMY2", property, fileOf(profileEndingAt(0.9F, "last")));
        ASSERT_TRUE(NPTestTurnUntil(loop, [&] { return !changes.empty() && changes.back() == "DUMMY2"; }));
    }

    std::vector<std::string> changes;
    NPDisplaySubscription subscription;
};

TEST_F(NPColorProfilesX11Changes, ProfileThatAnotherProgramSetsIsNoticed)
{
    randr.setOutputProperty("DUMMY1", property, fileOf(profileEndingAt(0.5F, "other")));
    EXPECT_TRUE(NPTestTurnUntil(loop, [&] { return !changes.empty(); }));
    EXPECT_EQ(changes, std::vector<std::string>{"DUMMY1"});
    randr.setRootBytes("_ICC_PROFILE_2", fileOf(profileEndingAt(0.5F, "other")));
    EXPECT_TRUE(NPTestTurnUntil(loop, [&] { return changes.size() == 2; }));
    EXPECT_EQ(changes.back(), "DUMMY2");
}

TEST_F(NPColorProfilesX11Changes, CustomProfileOfOursIsNoNews)
{
    ASSERT_TRUE(profiles->setCustomProfile(display("DUMMY0"), customFile("DUMMY0", 0.3F)));
    settle();
    EXPECT_EQ(changes, std::vector<std::string>{"DUMMY2"});
}

TEST_F(NPColorProfilesX11Changes, FormerProfileThatSomebodyPutsBackIsNoticed)
{
    const QXData own = fileOf(profileEndingAt(0.7F, "own"));
    randr.setOutputProperty("DUMMY0", property, own);
    EXPECT_TRUE(NPTestTurnUntil(loop, [&] { return changes.size() == 1; }));
    ASSERT_TRUE(profiles->setCustomProfile(display("DUMMY0"), customFile("DUMMY0", 0.3F)));
    settle();
    randr.setOutputProperty("DUMMY0", property, own);
    EXPECT_TRUE(NPTestTurnUntil(loop, [&] { return changes.size() == 3; }));
    EXPECT_EQ(changes.back(), "DUMMY0");
}

TEST_F(NPColorProfilesX11Changes, ProfileThatIsNotThereYetAsAWholeIsNoNews)
{
    QXData part = fileOf(profileEndingAt(0.7F, "own"));
    part.resize(part.size() / 2);
    randr.setOutputProperty("DUMMY0", property, part);
    settle();
    EXPECT_EQ(changes, std::vector<std::string>{"DUMMY2"});
    randr.setOutputProperty("DUMMY0", property, fileOf(profileEndingAt(0.7F, "own")));
    EXPECT_TRUE(NPTestTurnUntil(loop, [&] { return changes.size() == 2; }));
    EXPECT_EQ(changes.back(), "DUMMY0");
}

TEST_F(NPColorProfilesX11Changes, ChangeJustBeforeTheServerStopsIsNoticedWhenItGoesOn)
{
    randr.setOutputProperty("DUMMY0", property, fileOf(profileEndingAt(0.7F, "own")));
    server.suspend();
    const auto start = std::chrono::steady_clock::now();
    NPTestTurnUntil(loop, [&] { return NPTestMillisecondsSince(start) > 2500.0; }); // it is waited for meanwhile
    EXPECT_TRUE(changes.empty());
    server.resume();
    EXPECT_TRUE(NPTestTurnUntil(loop, [&] { return !changes.empty(); }));
    EXPECT_EQ(changes, std::vector<std::string>{"DUMMY0"});
    EXPECT_NEAR(profileOf("DUMMY0").baseTable.redTable[255], 0.7F, 1e-4F);
}

TEST_F(NPColorProfilesX11Changes, SamePropertyOnceMoreIsNoNews)
{
    const QXData own = fileOf(profileEndingAt(0.7F, "own"));
    randr.setOutputProperty("DUMMY0", property, own);
    EXPECT_TRUE(NPTestTurnUntil(loop, [&] { return changes.size() == 1; }));
    randr.setOutputProperty("DUMMY0", property, own);
    settle();
    EXPECT_EQ(changes, (std::vector<std::string>{"DUMMY0", "DUMMY2"}));
}

TEST_F(NPColorProfilesX11Changes, NewProfileWithoutATableEndsTheFormerOnesTable)
{
    randr.setOutputProperty("DUMMY0", property, fileOf(profileEndingAt(0.7F, "calibrated")));
    EXPECT_TRUE(NPTestTurnUntil(loop, [&] { return changes.size() == 1; }));
    displays->setDisplayTransferTable(display("DUMMY0"), NPTestHalf(profileOf("DUMMY0").baseTable));
    randr.setOutputProperty("DUMMY0", property, fileOf(colorProfileOf({})));
    EXPECT_TRUE(NPTestTurnUntil(loop, [&] { return changes.size() == 2; }));
    EXPECT_EQ(NPTestGammaOf(profileOf("DUMMY0").baseTable), NPTestIdentityGamma());
    displays->restoreColorSyncSettings();
    EXPECT_EQ(randr.gamma("DUMMY0"), NPTestIdentityGamma());
}

} // namespace
