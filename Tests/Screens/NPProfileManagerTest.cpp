#include "Screens/NPProfileManager.h"

#include "Platform/Simulated/NPSimulatedPlatform.h"
#include "Platform/Simulated/NPSimulatedProfiles.h"
#include "Support/ColorProfiles.h"
#include "Support/GammaTables.h"

#include "Foundation/QXLog.h"

#include <gtest/gtest.h>

#include <mutex>

namespace {

const std::string folder = "file:///caches/org.nightpane.Nightpane/Color%20Profiles";
const std::string file7 = folder + "/Nightpane%20Profile%207.icc";

class NPProfileManagerTest : public testing::Test {
protected:
    // Waits until the manager's threads have nothing more to do, and returns what has happened since.
    std::string happened()
    {
        manager.reset(); // which lets them finish
        return platform.log.text();
    }

    // What has happened once so many threads make a pause.
    std::string happenedBeforePause()
    {
        EXPECT_TRUE(platform.clock.waitForSleepers(1));
        return platform.log.text();
    }

    static NPDisplayProfile displayProfile()
    {
        return NPDisplayProfileFromColorProfile(colorProfileOf({{"cprt", bytesOf("text")}}, "file:///own.icc"));
    }

    void write(NPDisplayID screen, const QXGammaTable& table = scaledTable(0.5F))
    {
        manager->writeProfile(screen, displayProfile(), table, [this](std::optional<std::string> location) {
            platform.log.add("written " + location.value_or("none"));
        });
    }

    NPSimulatedPlatform platform;
    NPSimulatedProfiles profiles{platform.log};
    std::vector<std::string> logLines;
    std::mutex logMutex;
    QXLogRedirection redirection{[this](std::string_view line) {
        const std::lock_guard lock(logMutex);
        logLines.emplace_back(line);
    }};
    std::unique_ptr<NPProfileManager> manager = std::make_unique<NPProfileManager>(
        NPProfileManager::Services{profiles, profiles, platform.clock, platform.clock});
};

} // namespace

TEST_F(NPProfileManagerTest, OnlyRecordsWhileApplyingIsDisabled)
{
    EXPECT_FALSE(manager->applyEnabled());
    manager->setProfileURL("file:///a", 7);
    manager->applyPendingProfiles();
    EXPECT_EQ(happened(), "");
}

TEST_F(NPProfileManagerTest, AppliesWhatWaitsWhenApplyingIsEnabled)
{
    manager->setProfileURL("file:///a", 7);
    manager->setApplyEnabled(true);
    EXPECT_EQ(happened(), "use 7 file:///a\n");
}

TEST_F(NPProfileManagerTest, AppliesNoCustomProfile)
{
    manager->setApplyEnabled(true);
    manager->setProfileURL({}, 7);
    EXPECT_EQ(happened(), "use 7 none\n");
}

TEST_F(NPProfileManagerTest, AppliesAProfileOnce)
{
    manager->setApplyEnabled(true);
    manager->setProfileURL("file:///a", 7);
    EXPECT_EQ(happenedBeforePause(), "use 7 file:///a\n");
    manager->applyPendingProfiles();
    platform.clock.advance(1.0);
    manager->applyPendingProfiles();
    EXPECT_EQ(happened(), "use 7 file:///a\n");
}

TEST_F(NPProfileManagerTest, ReplacesWhatWaitsForADisplay)
{
    manager->setProfileURL("file:///a", 7);
    manager->setProfileURL("file:///b", 7);
    manager->setApplyEnabled(true);
    EXPECT_EQ(happened(), "use 7 file:///b\n");
}

TEST_F(NPProfileManagerTest, AppliesTwoDisplaysASecondApart)
{
    manager->setProfileURL("file:///a", 1);
    manager->setProfileURL("file:///b", 2);
    manager->setApplyEnabled(true);
    EXPECT_EQ(happenedBeforePause(), "use 1 file:///a\n");
    platform.clock.advance(0.999);
    EXPECT_EQ(happenedBeforePause(), "use 1 file:///a\n");
    platform.clock.advance(0.001);
    EXPECT_EQ(happenedBeforePause(), "use 1 file:///a\nuse 2 file:///b\n");
    platform.clock.advance(1.0);
    EXPECT_TRUE(platform.clock.waitForSleepers(0));
}

TEST_F(NPProfileManagerTest, PausesAlsoBeforeWhatIsAddedMeanwhile)
{
    manager->setApplyEnabled(true);
    manager->setProfileURL("file:///a", 7);
    EXPECT_EQ(happenedBeforePause(), "use 7 file:///a\n");
    manager->setProfileURL("file:///b", 7);
    platform.clock.advance(0.5);
    EXPECT_EQ(happenedBeforePause(), "use 7 file:///a\n");
    platform.clock.advance(0.5);
    EXPECT_EQ(happenedBeforePause(), "use 7 file:///a\nuse 7 file:///b\n");
}

TEST_F(NPProfileManagerTest, AppliesNothingInABatchAndAllAfterIt)
{
    manager->setApplyEnabled(true);
    manager->beginUpdate();
    manager->beginUpdate();
    manager->setProfileURL("file:///a", 1);
    manager->setProfileURL("file:///b", 2);
    manager->applyPendingProfiles(); // ends at the batch
    manager->endUpdate();
    platform.log.add("end");
    manager->endUpdate();
    EXPECT_EQ(happened(), "end\nuse 1 file:///a\nuse 2 file:///b\n");
}

TEST_F(NPProfileManagerTest, AppliesNoDisplayWhileAProfileIsInProgress)
{
    manager->setApplyEnabled(true);
    manager->waitProfileURLForScreen(2);
    manager->setProfileURL("file:///a", 1);
    platform.log.add("in progress");
    manager->setProfileURL("file:///b", 2);
    EXPECT_EQ(happened(), "in progress\nuse 1 file:///a\nuse 2 file:///b\n");
}

TEST_F(NPProfileManagerTest, StopsBetweenDisplaysForAProfileInProgress)
{
    manager->setProfileURL("file:///a", 1);
    manager->setProfileURL("file:///b", 2);
    manager->setApplyEnabled(true);
    EXPECT_EQ(happenedBeforePause(), "use 1 file:///a\n");
    manager->waitProfileURLForScreen(1);
    platform.clock.advance(1.0);
    EXPECT_TRUE(platform.clock.waitForSleepers(0));
    EXPECT_EQ(happened(), "use 1 file:///a\n");
}

TEST_F(NPProfileManagerTest, AppliesWhatAMarkHeldBackWhenItIsInvalidated)
{
    manager->setApplyEnabled(true);
    manager->waitProfileURLForScreen(2);
    manager->setProfileURL("file:///a", 1);
    platform.log.add("in progress");
    manager->invalidateProfileURLForScreen(2);
    EXPECT_EQ(happened(), "in progress\nuse 1 file:///a\n");
}

TEST_F(NPProfileManagerTest, ForgetsWhatIsInvalidated)
{
    manager->setProfileURL("file:///a", 1);
    manager->invalidateProfileURLForScreen(1);
    manager->setApplyEnabled(true);
    EXPECT_EQ(happened(), "");
}

TEST_F(NPProfileManagerTest, GoesOnAfterAProfileThatCannotBeApplied)
{
    profiles.devicesAccept = false;
    manager->setProfileURL("file:///a", 1);
    manager->setApplyEnabled(true);
    EXPECT_EQ(happenedBeforePause(), "use 1 file:///a failed\n");
    profiles.devicesAccept = true;
    manager->setProfileURL("file:///b", 2);
    EXPECT_EQ(happened(), "use 1 file:///a failed\nuse 2 file:///b\n");
    EXPECT_EQ(logLines, std::vector<std::string>{"ColorSyncDeviceSetCustomProfiles error: (null)"});
}

TEST_F(NPProfileManagerTest, LetsTheMainThreadGoOnWhileADisplayIsSlow)
{
    manager->setApplyEnabled(true);
    {
        const auto held = profiles.holdDevices();
        manager->setProfileURL("file:///a", 1);
        manager->setProfileURL("file:///b", 1);
        manager->beginUpdate();
        manager->endUpdate();
        platform.log.add("goes on");
    }
    EXPECT_TRUE(happened().starts_with("goes on\n"));
}

TEST_F(NPProfileManagerTest, WaitsForNothingWhileApplyingIsDisabled)
{
    manager->setProfileURL("file:///a", 1);
    manager->waitUntilNoPendingProfile();
    EXPECT_EQ(platform.log.text(), "");
}

TEST_F(NPProfileManagerTest, WaitsUntilEveryDisplayHasItsProfile)
{
    manager->setApplyEnabled(true);
    manager->beginUpdate();
    for (NPDisplayID screen = 1; screen <= 3; ++screen) {
        manager->setProfileURL("file:///own", screen);
    }
    manager->endUpdate();
    const double before = platform.clock.monotonicTime();
    manager->waitUntilNoPendingProfile();
    EXPECT_EQ(platform.log.text(), "use 1 file:///own\nuse 2 file:///own\nuse 3 file:///own\n");
    EXPECT_GE(platform.clock.monotonicTime() - before, 2.0);
    EXPECT_TRUE(logLines.empty());
}

TEST_F(NPProfileManagerTest, NamesTheDisplaysThatCouldNotBeRestoredInOneLine)
{
    manager->setApplyEnabled(true);
    profiles.devicesAccept = false;
    manager->beginUpdate();
    manager->setProfileURL("file:///own", 0x4280a80);
    manager->setProfileURL({}, 7);
    manager->endUpdate();
    manager->waitUntilNoPendingProfile();
    const std::string error = "ColorSyncDeviceSetCustomProfiles error: (null)";
    EXPECT_EQ(logLines,
              (std::vector<std::string>{
                  error, error, "These displays have not been given their own colour profiles back: 7 4280a80"}));
}

TEST_F(NPProfileManagerTest, DoesNotNameADisplayThatWasGivenItsProfileInTheEnd)
{
    manager->setApplyEnabled(true);
    profiles.devicesAccept = false;
    manager->setProfileURL("file:///a", 7);
    EXPECT_EQ(happenedBeforePause(), "use 7 file:///a failed\n");
    profiles.devicesAccept = true;
    manager->setProfileURL("file:///own", 7);
    manager->waitUntilNoPendingProfile();
    EXPECT_EQ(logLines.size(), 1U);
}

TEST_F(NPProfileManagerTest, DoesNotWaitForAMarkThatNobodyCanReplace)
{
    manager->setApplyEnabled(true);
    manager->waitProfileURLForScreen(7);
    manager->waitUntilNoPendingProfile();
    EXPECT_EQ(logLines,
              std::vector<std::string>{"These displays have not been given their own colour profiles back: 7"});
}

TEST_F(NPProfileManagerTest, WritesTheFileWithTheTable)
{
    write(7);
    manager.reset();
    platform.clock.advance(0.0); // the completion comes on the main thread
    EXPECT_EQ(platform.log.text(), "folder " + folder + "\nfile " + file7 + "\nwritten " + file7 + "\n");
    const auto custom = QXColorProfile::profileWithData(profiles.file(file7).value()).value();
    QXColorProfile expected = *displayProfile().profile;
    QXColorProfileSetGammaTable(expected, scaledTable(0.5F));
    EXPECT_EQ(custom.copyData(), expected.copyData());
}

TEST_F(NPProfileManagerTest, NamesTheFileByTheDisplayInHexadecimal)
{
    write(0x4280a80);
    manager.reset();
    EXPECT_TRUE(profiles.file(folder + "/Nightpane%20Profile%204280a80.icc"));
}

TEST_F(NPProfileManagerTest, HasNoLocationWhenTheFileCannotBeWritten)
{
    profiles.filesCanBeWritten = false;
    write(7);
    manager.reset();
    platform.clock.advance(0.0);
    EXPECT_EQ(platform.log.lines().back(), "written none");
    EXPECT_EQ(logLines, std::vector<std::string>{"NPProfileWrite error; url=" + file7});
}

TEST_F(NPProfileManagerTest, HasNoLocationWhenTheFolderCannotBeMade)
{
    profiles.foldersCanBeMade = false;
    write(7);
    manager.reset();
    platform.clock.advance(0.0);
    EXPECT_EQ(platform.log.text(), "folder " + folder + " failed\nwritten none\n");
    EXPECT_EQ(logLines, std::vector<std::string>{"NPProfileWrite error creating directory; url=" + folder
                                                 + "; error=simulated"});
}

TEST_F(NPProfileManagerTest, HasNoLocationWithoutACachesFolder)
{
    profiles.hasCachesFolder = false;
    write(7);
    manager->removeProfileFileForScreen(7);
    manager->removeProfileFolder();
    manager.reset();
    platform.clock.advance(0.0);
    EXPECT_EQ(platform.log.text(), "written none\n");
}

TEST_F(NPProfileManagerTest, SaysWhyThereIsNoCachesFolder)
{
    profiles.hasCachesFolder = false;
    write(7);
    manager.reset();
    EXPECT_EQ(logLines, std::vector<std::string>{"NPProfileWrite error creating directory; url=(null); "
                                                 "error=there is no caches folder"});
}

TEST_F(NPProfileManagerTest, CompletesAtOnceWhenThereIsNothingToSerialise)
{
    manager->writeProfile(7, {}, scaledTable(0.5F), [this](std::optional<std::string> location) {
        platform.log.add("written " + location.value_or("none"));
    });
    EXPECT_EQ(platform.log.text(), "written none\n");
    EXPECT_EQ(logLines, std::vector<std::string>{"ColorSyncProfileCopyData error: the display has no profile"});
}

TEST_F(NPProfileManagerTest, LeavesTheNewestOfSeveralWritesInTheFile)
{
    for (int round = 0; round < 50; ++round) {
        write(7, scaledTable(static_cast<float>(round) / 100.0F));
    }
    manager.reset();
    const auto custom = QXColorProfile::profileWithData(profiles.file(file7).value()).value();
    QXColorProfile expected = *displayProfile().profile;
    QXColorProfileSetGammaTable(expected, scaledTable(0.49F));
    EXPECT_EQ(custom.copyData(), expected.copyData());
}

TEST_F(NPProfileManagerTest, RemovesTheFileOfADisplay)
{
    write(7);
    write(8);
    manager->removeProfileFileForScreen(7);
    manager.reset();
    EXPECT_FALSE(profiles.file(file7));
    EXPECT_TRUE(profiles.file(folder + "/Nightpane%20Profile%208.icc"));
}

TEST_F(NPProfileManagerTest, KeepsAFileThatIsWrittenAfterItsRemoval)
{
    write(7);
    manager->removeProfileFileForScreen(7);
    write(7);
    manager.reset();
    EXPECT_TRUE(profiles.file(file7));
}

TEST_F(NPProfileManagerTest, RemovesTheFolderAfterTheWritesUnderWay)
{
    for (NPDisplayID screen = 1; screen <= 10; ++screen) {
        write(screen);
    }
    manager->removeProfileFolder();
    EXPECT_EQ(platform.log.lines().back(), "remove folder " + folder);
    for (NPDisplayID screen = 1; screen <= 9; ++screen) {
        EXPECT_FALSE(profiles.file(folder + "/Nightpane%20Profile%20" + std::to_string(screen) + ".icc"));
    }
    EXPECT_EQ(happened(), platform.log.text()); // nothing comes after it
}

TEST_F(NPProfileManagerTest, FinishesWhatItHasBegunToApplyBeforeItGoes)
{
    manager->setProfileURL("file:///a", 1);
    manager->setProfileURL("file:///b", 2);
    manager->setApplyEnabled(true);
    EXPECT_EQ(happened(), "use 1 file:///a\nuse 2 file:///b\n");
}
