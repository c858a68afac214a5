#include "Foundation/QXSharedScope.h"
#include "Platform/Simulated/NPSimulatedPlatform.h"
#include "Shell/NPAppController.h"
#include "Sunset & Sunrise/NPSunriseSunsetCalculator.h"

#include <gtest/gtest.h>

namespace {

// A running application on two simulated displays.
class NPAppControllerTest : public testing::Test {
protected:
    NPAppControllerTest() : platform(*QXDateFromDescription("2026-03-01T12:00:00Z"))
    {
        NPInstallPlatform(platform.services());
        platform.displays.plug({.identifier = 1, .name = "Left"});
        platform.displays.plug({.identifier = 2, .name = "Right"});
    }

    void launch()
    {
        controller = std::make_shared<NPAppController>(platform.services(), *sharedEffectManager(),
                                                       *sharedScreenManager());
        controller->applicationDidFinishLaunching();
    }

    float white(NPDisplayID display) { return platform.displays.display(display)->table.redTable[255]; }

    NPSimulatedPlatform platform; // outlives the scope, whose objects use it
    QXSharedScope scope;
    std::shared_ptr<NPAppController> controller;
};

TEST_F(NPAppControllerTest, FirstLaunchSwitchesOnSavesTheSwitchAndActivatesTheDefaultGroupWithoutFade)
{
    launch();
    EXPECT_TRUE(controller->effectActive());
    EXPECT_EQ(platform.defaults.stored().at("EffectActive"), QXValue(true));
    EXPECT_EQ(sharedScreenManager()->combinedStateForEffectGroup(*controller->currentEffect()), 1);
    EXPECT_EQ(sharedScreenManager()->transitionTimerInterval(), 0.0);
}

TEST_F(NPAppControllerTest, ActivationTimerFadesTheDisplaysAtItsTime)
{
    launch();
    const auto group = controller->currentEffect();
    group->dimEffect().setLevel(-0.5F);
    group->setActivationTimerKind(NPEffectTimerKind::NPEffectTimerKindTime);
    group->setDeactivationTimerKind(NPEffectTimerKind::NPEffectTimerKindTime);
    sharedScreenManager()->deactivateEffectGroup(group, NPTransitionKind::none, platform.clock.now());
    EXPECT_EQ(white(1), 1.0F);
    platform.clock.advanceTo(*QXDateFromDescription("2026-03-01T22:00:01Z"));
    EXPECT_LT(white(1), 0.76F);
    EXPECT_GT(white(1), 0.74F);
    platform.clock.advanceTo(*QXDateFromDescription("2026-03-01T22:00:03Z"));
    EXPECT_EQ(white(2), 0.5F);
    platform.clock.advanceTo(*QXDateFromDescription("2026-03-02T07:00:03Z"));
    EXPECT_EQ(white(2), 1.0F);
}

} // namespace
