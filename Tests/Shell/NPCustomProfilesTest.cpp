// The application with custom colour profiles, from the effect to the file and back.
#include "Foundation/QXLog.h"
#include "Platform/Simulated/NPSimulatedProfiles.h"
#include "Screens/NPProfileManager.h"
#include "Support/ColorProfiles.h"
#include "Support/NPApplicationTest.h"

namespace {

const std::string folder = "file:///caches/org.nightpane.Nightpane/Color%20Profiles";

std::string fileOf(NPDisplayID screen)
{
    return folder + "/Nightpane%20Profile%20" + std::to_string(screen) + ".icc";
}

// Two displays with profiles of their own, the first of which calibrates, and group G, which dims to a half.
class NPCustomProfilesTest : public NPApplicationTest {
protected:
    NPCustomProfilesTest()
    {
        scope.instance<NPProfileApplying>([this] {
            return std::make_shared<NPProfileManager>(
                NPProfileManager::Services{profiles, profiles, platform.clock, platform.clock});
        });
        QXColorProfile first = colorProfileOf({{"cprt", bytesOf("text")}}, "file:///first.icc");
        QXColorProfileSetGammaTable(first, calibration());
        plugWith(1, first);
        plugWith(2, colorProfileOf({}));
        stopContinuousApplying();
        storeGroups({dimming("G", -0.5F, {{"NPManualTransitionDuration", 0.0}})});
    }

    static QXGammaTable calibration() { return flatTable(1.0F, 13107 / 65535.0F, 0.0F); }

    void plugWith(NPDisplayID screen, const QXColorProfile& profile)
    {
        platform.displays.plug({.identifier = screen, .profile = profile});
    }

    // At rest, with an empty log.
    void launchAndSettle()
    {
        launch();
        settle();
        platform.log.clear();
    }

    // Lets what is under way come to its end.
    void settle()
    {
        sharedProfileManager()->waitUntilNoPendingProfile(); // the writers at least have begun
        while (controllerOf(1)->profileNeedsUpdate() || controllerOf(2)->profileNeedsUpdate()) {
            platform.clock.advance(0.0);
        }
        sharedProfileManager()->waitUntilNoPendingProfile();
    }

    void activate() { manager().activateEffectGroup(groupAt(0), NPTransitionKind::none, now()); }

    std::vector<std::string> linesWith(std::string_view begin) const
    {
        std::vector<std::string> found;
        for (const std::string& line : platform.log.lines()) {
            if (line.starts_with(begin)) {
                found.push_back(line);
            }
        }
        return found;
    }

    QXColorProfile custom(NPDisplayID screen) const
    {
        return QXColorProfile::profileWithData(profiles.file(fileOf(screen)).value(), fileOf(screen)).value();
    }

    NPSimulatedProfiles profiles{platform.log};
    QXLogRedirection silence{[](std::string_view) {}};
};

TEST_F(NPCustomProfilesTest, EffectAtRestIsInTheProfileThatTheDisplayUses)
{
    launchAndSettle();
    activate();
    settle();
    EXPECT_EQ(linesWith("use "), (std::vector<std::string>{"use 1 " + fileOf(1), "use 2 " + fileOf(2)}));
    const QXColorProfile profile = custom(1);
    EXPECT_EQ(dataOf(profile.tag(QXMakeTagSignature("cprt")).value()), bytesOf("text"));
    EXPECT_EQ(profile.tag(QXDescriptionTag).value().size(), 63U);
    QXColorProfile expected = profile;
    QXColorProfileSetGammaTable(expected, shown(1));
    QXColorProfileSetBaseGammaTable(expected, calibration());
    EXPECT_EQ(profile.copyData(), expected.copyData());
    EXPECT_EQ(QXColorProfileCopyBaseURL(profile), "file:///first.icc");
}

TEST_F(NPCustomProfilesTest, ProfileWithoutAFileHasNoLocationToGoBackTo)
{
    launchAndSettle();
    activate();
    settle();
    EXPECT_FALSE(custom(2).tag(QXBaseURLTag));
}

TEST_F(NPCustomProfilesTest, DisplayThatUsesOneOfOursYieldsItsTrueTableAndLocation)
{
    launchAndSettle();
    activate();
    settle();
    plugWith(1, custom(1)); // as it is found after a crash
    const NPDisplayProfile found = platform.displays.copyDisplayProfile(1);
    EXPECT_TRUE(sameTable(found.baseTable, calibration()));
    EXPECT_EQ(found.location, "file:///first.icc");
}

TEST_F(NPCustomProfilesTest, QuittingRestoresTheDisplaysDeletesTheFolderAndWaits)
{
    launchAndSettle();
    activate();
    settle();
    platform.log.clear();
    controller->applicationWillTerminate();
    EXPECT_EQ(linesWith("use "), (std::vector<std::string>{"use 1 file:///first.icc", "use 2 none"}));
    EXPECT_EQ(linesWith("remove folder"), std::vector<std::string>{"remove folder " + folder});
    EXPECT_FALSE(profiles.file(fileOf(1)));
    EXPECT_TRUE(sameTable(shown(1), calibration()));
}

TEST_F(NPCustomProfilesTest, QuittingWhileAProfileIsBeingWrittenLeavesNoFile)
{
    launchAndSettle();
    activate(); // both displays' files are being written now
    controller->applicationWillTerminate();
    EXPECT_FALSE(profiles.file(fileOf(1)));
    EXPECT_FALSE(profiles.file(fileOf(2)));
    platform.log.clear();
    platform.clock.advance(10.0); // the completions come too late for anything
    EXPECT_EQ(platform.log.text(), "");
}

TEST_F(NPCustomProfilesTest, QuittingInAFadeAppliesTheDisplaysOwnProfiles)
{
    launchAndSettle();
    groupAt(0)->setManualTransitionDuration(10.0);
    manager().activateEffectGroup(groupAt(0), NPTransitionKind::manual, now());
    platform.clock.advance(1.0);
    platform.log.clear();
    controller->applicationWillTerminate();
    EXPECT_EQ(linesWith("use "), (std::vector<std::string>{"use 1 file:///first.icc", "use 2 none"}));
}

TEST_F(NPCustomProfilesTest, QuittingWithoutCustomProfilesTouchesNone)
{
    setDefault(NPApplyToColorProfileKey, false);
    launch();
    activate();
    controller->applicationWillTerminate();
    EXPECT_EQ(linesWith("use "), std::vector<std::string>());
    EXPECT_EQ(linesWith("file "), std::vector<std::string>());
}

TEST_F(NPCustomProfilesTest, WriteThatFailsTakesTheCustomProfileOff)
{
    launchAndSettle();
    profiles.filesCanBeWritten = false;
    activate();
    settle();
    EXPECT_EQ(linesWith("use "), (std::vector<std::string>{"use 1 none", "use 2 none"}));
}

} // namespace
