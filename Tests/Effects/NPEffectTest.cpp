#include "Effects/NPEffect.h"

#include "Support/GammaTables.h"
#include "Support/NPEngineTest.h"

namespace {

// An effect of some priority that sets every red sample to 0.5.
class RedHalfEffect final : public NPEffect {
public:
    RedHalfEffect(NPEffectInfoSource* infoSource, int priority) : NPEffect(infoSource), _priority(priority) {}

    using NPEffect::applyEffectOnGammaCurve;
    using NPEffect::infoSource;
    std::string_view name() const override { return "RedHalf"; }
    int priority() const override { return _priority; }
    void applyEffectOnGammaCurve(QXGammaTable& table) const override { table.redTable.fill(0.5F); }

private:
    int _priority;
};

class NPEffectTest : public NPEngineTest {
protected:
    std::shared_ptr<NPEffectGroup> group = makeGroup();
};

TEST_F(NPEffectTest, BaseEffectIsCalledByItsClassAndDoesNothing)
{
    const NPEffect effect(group.get());
    EXPECT_EQ(effect.name(), "NPEffect");
    EXPECT_EQ(effect.localizedShortDescription(), "NPEffect");
    EXPECT_EQ(effect.priority(), 0);
    QXGammaTable table = scaledTable(0.7F);
    effect.applyEffectOnGammaCurve(table);
    effect.applyEffectOnGammaCurve(table, 1.0);
    EXPECT_TRUE(sameRecord(table, scaledTable(0.7F)));
}

TEST_F(NPEffectTest, ShortDescriptionOfAKindWithoutOneIsItsName)
{
    EXPECT_EQ(RedHalfEffect(group.get(), 0).localizedShortDescription(), "RedHalf");
}

TEST_F(NPEffectTest, ApplyingAtATimeIsApplying)
{
    const RedHalfEffect effect(group.get(), 0);
    QXGammaTable table = QXGammaTableIdentity();
    effect.applyEffectOnGammaCurve(table, 12345.0);
    EXPECT_EQ(table.redTable[7], 0.5F);
}

TEST_F(NPEffectTest, SelectedFlagIsStoredUnderTheName)
{
    RedHalfEffect effect(group.get(), 0);
    EXPECT_FALSE(effect.isSelected());
    effect.setSelected(true);
    EXPECT_TRUE(effect.isSelected());
    EXPECT_EQ(group->objectForKey("RedHalf"), QXValue(true));
    group->setBool(false, "RedHalf");
    EXPECT_FALSE(effect.isSelected());
}

TEST_F(NPEffectTest, EqualPrioritiesCompareAsEqual)
{
    const RedHalfEffect one(group.get(), 3);
    const RedHalfEffect other(group.get(), 3);
    EXPECT_EQ(one.priorityCompare(other), std::strong_ordering::equal);
}

TEST_F(NPEffectTest, LowerPriorityComparesAsAscending)
{
    const RedHalfEffect first(group.get(), -1);
    const RedHalfEffect second(group.get(), 2);
    EXPECT_EQ(first.priorityCompare(second), std::strong_ordering::less);
    EXPECT_EQ(second.priorityCompare(first), std::strong_ordering::greater);
}

TEST_F(NPEffectTest, AnimationIsDueInTheDistantFuture)
{
    const NPEffect effect(group.get());
    EXPECT_EQ(effect.animationTimeInterval(QXDate{0.0}), 63113904000.0);
    EXPECT_EQ(effect.animationTimeInterval(QXDate{86400.0}), 63113817600.0);
}

TEST_F(NPEffectTest, InfoSourceIsTheGroup)
{
    EXPECT_EQ(&RedHalfEffect(group.get(), 0).infoSource(), group.get());
}

TEST_F(NPEffectTest, FreshGroupReportsNoBaseFlagSet)
{
    for (const NPEffect* effect : group->orderedEffects()) {
        EXPECT_FALSE(effect->NPEffect::isSelected()) << effect->name();
    }
}

TEST(NPEffectDeathTest, MissingInfoSourceStopsTheProgram)
{
    const NPEffect effect(nullptr);
    EXPECT_DEATH((void)effect.isSelected(), "_infoSource");
}

} // namespace
