// What becomes of an effect when somebody gives the display another profile meanwhile.
#include "Screens/NPScreenManager.h"

#include "Support/ColorProfiles.h"
#include "Support/NPRecordingProfiles.h"
#include "Support/NPScreensTest.h"

namespace {

// Display 1 with a profile whose table ends at 0.8, under management with custom profiles, and group G, which
// dims it to a half, over 2 seconds when it is done by hand.
class NPDisplayProfileChangesTest : public NPScreensTest {
protected:
    NPDisplayProfileChangesTest()
    {
        scope.instance<NPProfileApplying>([this] { return profiles; });
        storeGroups({dimming("G", -0.5F, {{"NPManualTransitionDuration", 2.0}})});
        platform.displays.plug({.identifier = 1, .profile = profileEndingAt(0.8F, "file:///former.icc")});
    }

    void SetUp() override
    {
        manager().setColorProfileManagementEnabled(true);
        manager().setScreenManagementEnabled(true);
    }

    static QXColorProfile profileEndingAt(float level, const std::string& url)
    {
        QXColorProfile profile = colorProfileOf({}, url);
        QXColorProfileSetGammaTable(profile, scaledTable(level));
        return profile;
    }

    void activate(NPTransitionKind transition = NPTransitionKind::none)
    {
        manager().activateEffectGroup(groupAt(0), transition, now());
    }

    void changeProfile() { platform.displays.changeProfile(1, profileEndingAt(0.4F, "file:///other.icc")); }

    std::shared_ptr<NPRecordingProfiles> profiles = std::make_shared<NPRecordingProfiles>(platform.log);
};

TEST_F(NPDisplayProfileChangesTest, EffectGoesOnOverTheNewBaseTableAtOnce)
{
    activate();
    changeProfile();
    EXPECT_NEAR(white(1), 0.2F, 1e-4F);
}

TEST_F(NPDisplayProfileChangesTest, ProfileIsWrittenAnewFromTheNewOne)
{
    activate();
    profiles->finish(0, "file:///custom.icc");
    changeProfile();
    ASSERT_EQ(profiles->writes().size(), 2U);
    EXPECT_EQ(profiles->writes().back().own.location, "file:///other.icc");
    EXPECT_NEAR(profiles->writes().back().own.baseTable.redTable[255], 0.4F, 1e-4F);
}

TEST_F(NPDisplayProfileChangesTest, WriteUnderWayFromTheFormerProfileIsDropped)
{
    activate();
    changeProfile();
    platform.log.clear();
    profiles->finish(0, "file:///custom.icc");
    EXPECT_EQ(logged("custom 1 set file:///custom.icc"), 0);
    profiles->finish(1, "file:///custom.icc");
    EXPECT_EQ(logged("custom 1 set file:///custom.icc"), 1);
}

TEST_F(NPDisplayProfileChangesTest, NewProfileComesBackWhenTheEffectsAreSwitchedOff)
{
    activate();
    changeProfile();
    manager().setScreenManagementEnabled(false);
    EXPECT_EQ(logged("custom 1 set file:///other.icc"), 1);
    EXPECT_NEAR(white(1), 0.4F, 1e-4F);
}

TEST_F(NPDisplayProfileChangesTest, FadeUnderWayEndsAtTheNewTable)
{
    activate(NPTransitionKind::manual);
    platform.clock.advance(1.0);
    changeProfile();
    EXPECT_EQ(profiles->writes().size(), 0U);
    platform.clock.advance(1.1);
    EXPECT_NEAR(white(1), 0.2F, 1e-4F);
    EXPECT_EQ(profiles->writes().size(), 1U);
}

TEST_F(NPDisplayProfileChangesTest, DisplayWithoutAnEffectGetsNoCustomProfile)
{
    changeProfile();
    EXPECT_EQ(profiles->writes().size(), 0U);
    EXPECT_NEAR(white(1), 0.4F, 1e-4F);
}

TEST_F(NPDisplayProfileChangesTest, NothingIsDoneWhileManagementIsOff)
{
    activate();
    manager().setScreenManagementEnabled(false);
    platform.log.clear();
    changeProfile();
    EXPECT_EQ(platform.log.text(), "");
}

TEST_F(NPDisplayProfileChangesTest, DisplaysThatNobodyKnowsDoNotMatter)
{
    platform.displays.plug({.identifier = 2, .online = false});
    platform.displays.changeProfile(2, profileEndingAt(0.4F, "file:///other.icc"));
    platform.displays.changeProfile(3, profileEndingAt(0.4F, "file:///other.icc"));
    EXPECT_EQ(manager().screenControllers()->size(), 1U);
}

} // namespace
