// What commands do to a running engine: the list of effects changes under its timers.
#include "Shell/NPLocalControl.h"
#include "Support/NPApplicationTest.h"

namespace {

class NPControlOfEngineTest : public NPApplicationTest {
protected:
    NPControlOfEngineTest()
    {
        plug(1);
        storeGroups({QXDictionary{{"NPEffectIdentifier", "Plain"}, {"NPEffectName", "Plain"}}});
        launch();
        stopContinuousApplying();
        control = std::make_unique<NPLocalControl>(
            platform.services(), *sharedEffectManager(), *sharedScreenManager(), *sharedCalculator(),
            NPProcessDescription{"1", "simulated", 1, true}, controller.get());
    }

    // The clock starts at noon.
    void advanceTo(std::string_view time)
    {
        platform.clock.advance(dateOf("2026-03-01T" + std::string(time) + ":00Z").timeIntervalSince(now()));
    }

    std::string stateOf(std::string_view name)
    {
        const QXArray effects = control->effects().value();
        for (const QXValue& effect : effects) {
            const QXDictionary& fields = *effect.dictionary();
            if (*QXDictionaryValue(fields, "name")->string() == name) {
                return *QXDictionaryValue(fields, "state")->string();
            }
        }
        return "";
    }

    std::unique_ptr<NPLocalControl> control;
};

const NPControlSettings atOnce{{"dim", "50%"}, {"manual-fade", "0"}, {"timed-fade", "0"}};

NPControlSettings with(NPControlSettings settings, const NPControlSettings& further)
{
    settings.insert(further.begin(), further.end());
    return settings;
}

TEST_F(NPControlOfEngineTest, NewEffectComesOnAtItsTime)
{
    ASSERT_TRUE(control->addEffect("Night", with(atOnce, {{"activate", "13:00"}, {"deactivate", "11:00"}})));
    advanceTo("12:59");
    EXPECT_EQ(white(1), 1.0F);
    advanceTo("13:01");
    EXPECT_EQ(white(1), 0.5F);
}

TEST_F(NPControlOfEngineTest, ImportedEffectComesOnAtItsTime)
{
    ASSERT_TRUE(control->addEffect("Night", with(atOnce, {{"activate", "13:00"}, {"deactivate", "11:00"}})));
    const QXData file = control->exportEffect("Night").value();
    ASSERT_TRUE(control->removeEffect("Night"));
    ASSERT_TRUE(control->importEffect(file));
    advanceTo("13:01");
    EXPECT_EQ(white(1), 0.5F);
}

TEST_F(NPControlOfEngineTest, RemovedEffectNeverComesOn)
{
    ASSERT_TRUE(control->addEffect("Night", with(atOnce, {{"activate", "13:00"}, {"deactivate", "11:00"}})));
    ASSERT_TRUE(control->removeEffect("Night"));
    advanceTo("13:01");
    EXPECT_EQ(white(1), 1.0F);
    platform.clock.advance(86400);
    EXPECT_EQ(white(1), 1.0F);
}

TEST_F(NPControlOfEngineTest, RemovingAnEffectThatIsOnFadesItAway)
{
    ASSERT_TRUE(control->addEffect("Night", {{"dim", "50%"}, {"manual-fade", "2"}}));
    ASSERT_TRUE(control->activate("Night", "none"));
    ASSERT_TRUE(control->removeEffect("Night"));
    platform.clock.advance(1.0);
    EXPECT_NEAR(white(1), 0.75F, 0.05F);
    platform.clock.advance(1.1);
    EXPECT_EQ(white(1), 1.0F);
}

TEST_F(NPControlOfEngineTest, RemovingAnEffectThatIsOffLeavesTheOneThatIsOn)
{
    ASSERT_TRUE(control->addEffect("Night", atOnce));
    ASSERT_TRUE(control->addEffect("Other", atOnce));
    ASSERT_TRUE(control->activate("Night", "none"));
    ASSERT_TRUE(control->removeEffect("Other"));
    EXPECT_EQ(white(1), 0.5F);
    EXPECT_EQ(stateOf("Night"), "on");
    ASSERT_TRUE(control->setEffectActive(false));
    ASSERT_TRUE(control->setEffectActive(true));
    EXPECT_EQ(white(1), 0.5F);
}

TEST_F(NPControlOfEngineTest, RemovingAnEffectThatIsOnSomewhereLeavesTheOtherScreens)
{
    plug(2);
    ASSERT_TRUE(control->addEffect("Left", with(atOnce, {{"screens", "2"}})));
    ASSERT_TRUE(control->addEffect("All", {{"dim", "25%"}, {"manual-fade", "0"}}));
    ASSERT_TRUE(control->activate("All", "none"));
    ASSERT_TRUE(control->activate("Left", "none"));
    ASSERT_TRUE(control->removeEffect("All"));
    EXPECT_EQ(white(1), 1.0F);
    EXPECT_EQ(white(2), 0.5F);
    EXPECT_EQ(stateOf("Left"), "on");
}

// 20:00 to 22:30 passes 22:00, which has been an hour ago.
TEST_F(NPControlOfEngineTest, ChangingATimeActsAtNoTimeInBetween)
{
    ASSERT_TRUE(control->addEffect("Night", with(atOnce, {{"activate", "20:00"}})));
    advanceTo("20:30");
    ASSERT_TRUE(control->deactivate("Night", "none"));
    advanceTo("22:15");
    ASSERT_TRUE(control->setEffect("Night", {{"activate", "22:30"}}));
    EXPECT_EQ(white(1), 1.0F);
    advanceTo("22:31");
    EXPECT_EQ(white(1), 0.5F);
}

TEST_F(NPControlOfEngineTest, ChangingADeactivationTimeActsAtNoTimeInBetween)
{
    ASSERT_TRUE(control->addEffect("Night", with(atOnce, {{"deactivate", "20:00"}})));
    advanceTo("20:30");
    ASSERT_TRUE(control->activate("Night", "none"));
    advanceTo("22:15");
    ASSERT_TRUE(control->setEffect("Night", {{"deactivate", "22:30"}}));
    EXPECT_EQ(white(1), 0.5F);
    advanceTo("22:31");
    EXPECT_EQ(white(1), 1.0F);
}

} // namespace
