#include "Screens/NPScreenController.h"

#include "Support/NPRecordingProfiles.h"
#include "Support/NPScreensTest.h"

#include <cmath>
#include <limits>

namespace {

// A controller of display 1, driven by hand, on which groups dim white to 0.5 and 0.25.
class NPScreenControllerTest : public NPScreensTest {
protected:
    NPScreenControllerTest() { plug(1); }

    std::shared_ptr<NPScreenController> makeController(NPDisplayID screen = 1)
    {
        return NPScreenController::screenControllerForScreen(
            screen, {platform.displays, platform.displays, profiles, platform.clock});
    }
    NPScreenController& controller()
    {
        if (!_controller) {
            _controller = makeController();
        }
        return *_controller;
    }

    // A fade of that length from now on.
    void activate(const std::shared_ptr<NPEffectGroup>& group, double duration)
    {
        controller().setActivation(true, group, duration, now().addingTimeInterval(duration));
    }
    void deactivate(const std::shared_ptr<NPEffectGroup>& group, double duration)
    {
        controller().setActivation(false, group, duration, now().addingTimeInterval(duration));
    }
    double step() { return controller().updateEffectForDate(now()); }
    double stepAfter(double seconds)
    {
        platform.clock.advance(seconds);
        return step();
    }

    NPSimulatedDisplay& display() { return *platform.displays.display(1); }

    NPRecordingProfiles profiles{platform.log};
    std::shared_ptr<NPEffectGroup> half = makeGroup(dimming("G", -0.5F));
    std::shared_ptr<NPEffectGroup> quarter = makeGroup(dimming("H", -0.75F));

private:
    std::shared_ptr<NPScreenController> _controller;
};

TEST_F(NPScreenControllerTest, FreshControllerIsInactiveAndHasReadItsDisplay)
{
    EXPECT_EQ(controller().screenID(), 1U);
    EXPECT_FALSE(controller().isActive());
    EXPECT_EQ(controller().effect(), nullptr);
    EXPECT_EQ(controller().targetDate(), std::nullopt);
    EXPECT_EQ(controller().triggerDate(), std::nullopt);
    EXPECT_FALSE(controller().profileNeedsUpdate());
    EXPECT_EQ(platform.log.text(), "profile 1\nread 1\n");
}

TEST_F(NPScreenControllerTest, StepWithoutAnEffectWritesTheBaseTable)
{
    display().baseTable = scaledTable(0.9F);
    EXPECT_EQ(step(), 0.0);
    EXPECT_TRUE(sameTable(shown(1), scaledTable(0.9F)));
}

TEST_F(NPScreenControllerTest, ActivatingTheShownGroupAgainDoesNothingWhateverTheDuration)
{
    activate(half, 2.0);
    const auto target = controller().targetDate();
    platform.clock.advance(1.0);
    activate(half, 10.0);
    EXPECT_EQ(controller().targetDate(), target);
}

TEST_F(NPScreenControllerTest, DeactivatingAnotherGroupThanTheShownOneDoesNothing)
{
    activate(half, 0.0);
    deactivate(quarter, 0.0);
    EXPECT_TRUE(controller().isActive());
    EXPECT_EQ(controller().effect(), half);
    step();
    EXPECT_EQ(white(1), 0.5F);
}

TEST_F(NPScreenControllerTest, DeactivatingWithoutAGroupIsAlwaysAccepted)
{
    activate(half, 0.0);
    deactivate(nullptr, 0.0);
    EXPECT_FALSE(controller().isActive());
    EXPECT_EQ(controller().effect(), nullptr);
    step();
    EXPECT_EQ(white(1), 1.0F);
}

TEST_F(NPScreenControllerTest, GroupIsRememberedAfterItsDeactivation)
{
    activate(half, 0.0);
    deactivate(half, 0.0);
    EXPECT_FALSE(controller().isActive());
    EXPECT_EQ(controller().effect(), half);
}

TEST_F(NPScreenControllerTest, GroupsAreToldApartByIdentityNotByIdentifier)
{
    activate(half, 0.0);
    deactivate(makeGroup(dimming("G", -0.5F)), 0.0);
    EXPECT_TRUE(controller().isActive());
}

TEST_F(NPScreenControllerTest, FadeBlendsLinearlyFromTheStartToTheTarget)
{
    activate(half, 2.0);
    EXPECT_EQ(controller().triggerDate(), now());
    EXPECT_EQ(step(), 2.0 / 256.0);
    EXPECT_EQ(white(1), 1.0F);
    EXPECT_EQ(stepAfter(0.5), 2.0 / 256.0);
    EXPECT_EQ(white(1), 0.875F);
    stepAfter(1.0);
    EXPECT_EQ(white(1), 0.625F);
}

TEST_F(NPScreenControllerTest, FinalTableIsWrittenExactlyAtTheTargetDate)
{
    activate(half, 2.0);
    EXPECT_EQ(stepAfter(2.0), 0.0);
    EXPECT_EQ(now(), controller().targetDate());
    EXPECT_EQ(white(1), 0.5F);
}

TEST_F(NPScreenControllerTest, FadeWeighsEverySampleByTheFractionInSinglePrecision)
{
    display().table = scaledTable(0.83F); // what the fade starts from
    activate(half, 3.0);
    stepAfter(1.0);
    const double remaining = controller().targetDate()->timeIntervalSince(now()) / 3.0;
    QXGammaTable expected = scaledTable(0.5F);
    QXGammaTableMixWithTable(scaledTable(0.83F), expected, static_cast<float>(remaining));
    EXPECT_TRUE(sameTable(shown(1), expected));
}

TEST_F(NPScreenControllerTest, InterruptedFadeStartsTheNextFromTheHalfWayTable)
{
    activate(half, 2.0);
    stepAfter(1.0);
    EXPECT_EQ(white(1), 0.75F);
    deactivate(half, 4.0);
    step();
    EXPECT_EQ(white(1), 0.75F);
    stepAfter(2.0);
    EXPECT_EQ(white(1), 0.875F);
    stepAfter(2.0);
    EXPECT_EQ(white(1), 1.0F);
}

TEST_F(NPScreenControllerTest, FirstFadeStartsFromWhatTheDisplayShows)
{
    display().table = scaledTable(0.25F);
    activate(half, 2.0);
    step();
    EXPECT_EQ(white(1), 0.25F);
}

TEST_F(NPScreenControllerTest, FirstFadeStartsFromTheBaseTableWhenTheDisplayCannotBeRead)
{
    display().table = scaledTable(0.25F);
    display().readsFail = true;
    activate(half, 2.0);
    step();
    EXPECT_EQ(white(1), 1.0F);
}

TEST_F(NPScreenControllerTest, FadeStartsFromAWholeRecordWhateverItsSampleCount)
{
    display().table = flatTable(0.25F, 64); // the entries after the samples as well
    activate(half, 2.0);
    step();
    EXPECT_EQ(shown(1).sampleCount, 256U);
    EXPECT_EQ(shown(1).redTable[200], 0.25F);
}

TEST_F(NPScreenControllerTest, DisplayOfFewerSamplesIsWrittenThatMany)
{
    display().table = display().baseTable = QXGammaTableIdentity(64);
    activate(half, 2.0);
    stepAfter(1.0);
    EXPECT_EQ(shown(1).sampleCount, 64U);
    EXPECT_EQ(shown(1).redTable[63], 0.75F);
    EXPECT_EQ(shown(1).redTable[64], 0.0F);
}

TEST_F(NPScreenControllerTest, DisplayWithoutABaseTableIsNeverWritten)
{
    display().baseTable.sampleCount = 0;
    activate(half, 2.0);
    EXPECT_EQ(step(), 0.0);
    EXPECT_EQ(stepAfter(5.0), 0.0);
    controller().restoreGamma();
    EXPECT_EQ(writesTo(1), 0);
}

TEST_F(NPScreenControllerTest, ControllerOfADisplayThatIsNotConnectedWritesNothing)
{
    const auto absent = makeController(9);
    absent->setActivation(true, half, 0.0, now());
    EXPECT_TRUE(absent->isActive());
    EXPECT_EQ(absent->updateEffectForDate(now()), 0.0);
    EXPECT_EQ(writesTo(9), 0);
}

TEST_F(NPScreenControllerTest, GroupForOtherScreensLeavesTheBaseTableButCountsAsActive)
{
    half->setAffectedScreenSet({2});
    activate(half, 0.0);
    step();
    EXPECT_EQ(white(1), 1.0F);
    EXPECT_TRUE(controller().isActive());
    half->setAffectedScreenSet({1, 2});
    step();
    EXPECT_EQ(white(1), 0.5F);
}

TEST_F(NPScreenControllerTest, EditedGroupShowsAtTheNextStepWithoutAFade)
{
    activate(half, 0.0);
    step();
    half->dimEffect().setLevel(-0.25F);
    EXPECT_EQ(step(), 0.0);
    EXPECT_EQ(white(1), 0.75F);
}

TEST_F(NPScreenControllerTest, ReplacingTheGroupStartsNoFade)
{
    activate(half, 0.0);
    controller().setEffect(quarter);
    EXPECT_EQ(step(), 0.0);
    EXPECT_EQ(white(1), 0.25F);
}

TEST_F(NPScreenControllerTest, SamplesAreClampedBeforeTheyAreWritten)
{
    half->dimEffect().setLevel(-1.5F);
    activate(half, 0.0);
    step();
    EXPECT_EQ(bitsOf(white(1)), 0U);
    display().table = display().baseTable = flatTable(std::nanf(""), 1.75F, -0.0F);
    controller().retriveGammaCurve();
    deactivate(half, 0.0);
    step();
    EXPECT_EQ(bitsOf(shown(1).redTable[0]), 0U);
    EXPECT_EQ(shown(1).greenTable[0], 1.0F);
    EXPECT_EQ(bitsOf(shown(1).blueTable[0]), 0U);
}

TEST_F(NPScreenControllerTest, StepBeforeTheFadeBeganShowsItsStart)
{
    controller().setActivation(true, half, 2.0, now().addingTimeInterval(100.0));
    EXPECT_EQ(step(), 2.0 / 256.0);
    EXPECT_EQ(white(1), 1.0F);
}

TEST_F(NPScreenControllerTest, FadeOfNoLengthEndsAtOnce)
{
    activate(half, 0.0);
    EXPECT_EQ(step(), 0.0);
    EXPECT_EQ(white(1), 0.5F);
}

TEST_F(NPScreenControllerTest, DurationThatIsNotANumberShowsTheTargetAndStopsNothing)
{
    controller().setActivation(true, half, std::nan(""), now().addingTimeInterval(10.0));
    controller().updateEffectForDate(now());
    EXPECT_EQ(white(1), 0.5F);
    activate(quarter, std::nan("")); // and so is the target date
    EXPECT_EQ(step(), 0.0);
    EXPECT_EQ(white(1), 0.25F);
}

TEST_F(NPScreenControllerTest, NegativeAndEndlessDurationsStopNothing)
{
    activate(half, -1.0);
    EXPECT_EQ(step(), 0.0);
    EXPECT_EQ(white(1), 0.5F);
    activate(quarter, std::numeric_limits<double>::infinity());
    step();
    EXPECT_EQ(white(1), 0.25F);
}

TEST_F(NPScreenControllerTest, FailedWriteIsTriedAgainByTheNextStep)
{
    activate(half, 0.0);
    display().writesFail = true;
    EXPECT_EQ(step(), 0.0);
    EXPECT_EQ(white(1), 1.0F);
    display().writesFail = false;
    step();
    EXPECT_EQ(white(1), 0.5F);
}

TEST_F(NPScreenControllerTest, BaseTableIsReadAgainWhenAskedFor)
{
    activate(half, 0.0);
    display().baseTable = scaledTable(0.8F);
    step();
    EXPECT_EQ(white(1), 0.5F);
    controller().retriveGammaCurve();
    step();
    EXPECT_EQ(white(1), 0.4F);
}

TEST_F(NPScreenControllerTest, RestoringWritesTheBaseTableWithItsOwnCount)
{
    display().baseTable = scaledTable(0.9F, 128);
    activate(half, 2.0);
    stepAfter(1.0);
    controller().restoreGamma();
    EXPECT_TRUE(sameTable(shown(1), scaledTable(0.9F, 128)));
}

} // namespace
