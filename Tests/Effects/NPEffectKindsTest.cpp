#include "Effects/NPEffectKinds.h"

#include "Foundation/QXString.h"
#include "Support/GammaTables.h"
#include "Support/NPEngineTest.h"

#include <cmath>
#include <vector>

namespace {

class NPEffectKindsTest : public NPEngineTest {
protected:
    // What an effect makes of a table.
    static QXGammaTable applied(const NPEffect& effect, QXGammaTable table)
    {
        effect.applyEffectOnGammaCurve(table);
        return table;
    }

    std::shared_ptr<NPEffectGroup> group = makeGroup();
    NPInvertEffect& invert = group->invertEffect();
    NPHideStripesEffect& hideStripes = group->overexposureEffect();
    NPDimEffect& dim = group->dimEffect();
    NPColorFilterEffect& colorFilter = group->colorFilterEffect();
    NPHDTVLuminanceEffect& hdtvLuminance = group->hdtvLuminanceEffect();
    NPNotificationCounter changes{platform.notifications, NPEffectGroupDidChangeNotification};
};

TEST_F(NPEffectKindsTest, NamesAndPrioritiesAreFixed)
{
    std::vector<std::string> names;
    std::vector<int> priorities;
    for (const NPEffect* effect : group->orderedEffects()) {
        names.emplace_back(effect->name());
        priorities.push_back(effect->priority());
    }
    EXPECT_EQ(names,
              (std::vector<std::string>{"InvertScreen", "Overexposure", "Dim", "ColorFilter", "HDTVLuminance"}));
    EXPECT_EQ(priorities, (std::vector{10, 13, 20, 30, 40}));
}

TEST_F(NPEffectKindsTest, ShortDescriptionsAreLocalizedTexts)
{
    QXSetStringTables([](std::string_view key, std::string_view table) -> std::optional<std::string> {
        return table.empty() ? std::optional("<" + std::string(key) + ">") : std::nullopt;
    });
    std::string descriptions;
    for (const NPEffect* effect : group->orderedEffects()) {
        descriptions += effect->localizedShortDescription();
    }
    QXSetStringTables({});
    EXPECT_EQ(descriptions, "<Invert><Overexposure><Dim><Tint><HDTV Lum.>");
    EXPECT_EQ(colorFilter.localizedShortDescription(), "Tint");
}

TEST_F(NPEffectKindsTest, HueThirtyKeepsRedHalvesGreenAndTakesBlueAway)
{
    colorFilter.setVividness(1.0F);
    const QXGammaTable table = applied(colorFilter, flatTable(1.0F));
    EXPECT_EQ(colorFilter.hue(), 30.0F);
    EXPECT_EQ(bitsOf(table.redTable[0]), 0x3F800000U);
    EXPECT_EQ(bitsOf(table.greenTable[0]), 0x3EFFFFFEU); // 0.49999994
    EXPECT_EQ(bitsOf(table.blueTable[0]), 0U);
}

TEST_F(NPEffectKindsTest, HueZeroKeepsRedAndLeavesAlmostNothingOfBlue)
{
    colorFilter.setHue(0.0F);
    colorFilter.setVividness(1.0F);
    const QXGammaTable table = applied(colorFilter, flatTable(1.0F));
    EXPECT_EQ(bitsOf(table.redTable[255]), 0x3F800000U);
    EXPECT_EQ(bitsOf(table.greenTable[255]), 0U);
    EXPECT_EQ(bitsOf(table.blueTable[255]), 0x34000000U);
}

TEST_F(NPEffectKindsTest, ColorAmountsAreExactToTheBit)
{
    const auto amount = [](float hue, std::uint32_t phase) {
        return bitsOf(NPColorFilterEffect::colorAmmountForHue(hue, floatOf(phase)));
    };
    constexpr std::uint32_t green = 0x3EAAAAAB;
    constexpr std::uint32_t blue = 0x3F2AAAAB;
    EXPECT_EQ(amount(30.0F, 0), 0x3F800000U);
    EXPECT_EQ(amount(30.0F, green), 0x3EFFFFFEU);
    EXPECT_EQ(amount(30.0F, blue), 0U);
    EXPECT_EQ(amount(0.0F, blue), 0x33E82A94U); // 1.1e-7, from the single-precision phase
    EXPECT_EQ(amount(200.0F, green), 0x3F2C7436U);
}

TEST_F(NPEffectKindsTest, VividnessScalesWhatTheHueTakesAway)
{
    colorFilter.setHue(200.0F);
    colorFilter.setVividness(0.7F);
    const QXGammaTable table = applied(colorFilter, flatTable(0.5F, 1.0F, 1.0F));
    EXPECT_EQ(bitsOf(table.redTable[9]), 0x3E19999AU); // 0.5 · (1 − 0.7)
    EXPECT_EQ(bitsOf(table.greenTable[9]), 0x3F45848CU);
    EXPECT_EQ(table.blueTable[9], 1.0F);
}

TEST_F(NPEffectKindsTest, VividnessAboveOneMakesSamplesNegative)
{
    colorFilter.setVividness(2.0F);
    EXPECT_EQ(applied(colorFilter, flatTable(1.0F)).blueTable[0], -1.0F);
}

TEST_F(NPEffectKindsTest, ColorFilterWithoutItsFlagHasNoVividness)
{
    group->setFloat(0.8F, NPColorFilterVividnessKey);
    EXPECT_EQ(colorFilter.vividness(), 0.0F);
    EXPECT_FALSE(colorFilter.isSelected());
}

TEST_F(NPEffectKindsTest, SettingVividnessSwitchesTheFlagForAnythingButZero)
{
    colorFilter.setVividness(0.4F);
    EXPECT_TRUE(colorFilter.isSelected());
    EXPECT_EQ(colorFilter.vividness(), 0.4F);
    colorFilter.setVividness(0.0F);
    EXPECT_EQ(group->objectForKey("ColorFilter"), QXValue(false));
    colorFilter.setVividness(-0.4F);
    EXPECT_EQ(group->objectForKey("ColorFilter"), QXValue(true));
    EXPECT_EQ(colorFilter.vividness(), -0.4F);
    EXPECT_FALSE(colorFilter.isSelected()); // only above 0
    colorFilter.setVividness(0.0F);
    colorFilter.setVividness(std::nanf(""));
    EXPECT_EQ(group->objectForKey("ColorFilter"), QXValue(true));
    EXPECT_FALSE(colorFilter.isSelected());
}

TEST_F(NPEffectKindsTest, ColorFilterFlagAloneDoesNotSelect)
{
    colorFilter.setSelected(true);
    EXPECT_FALSE(colorFilter.isSelected());
    EXPECT_FALSE(group->hasEffectSelected());
}

TEST_F(NPEffectKindsTest, SettingVividnessOrLevelStoresTheFlagFirst)
{
    std::vector<float> seen;
    QXNotificationObserver observer;
    platform.notifications.addObserver(
        observer, std::string(NPEffectGroupDidChangeNotification), nullptr, [&](const QXNotification&) {
            seen.push_back(group->floatForKey(NPColorFilterVividnessKey) + group->floatForKey(NPDimLevelKey));
        });
    colorFilter.setVividness(0.5F);
    dim.setLevel(-0.25F);
    EXPECT_EQ(seen, (std::vector{0.0F, 0.5F, 0.5F, 0.25F}));
}

TEST_F(NPEffectKindsTest, SettingTheHueLeavesTheFlagAlone)
{
    colorFilter.setHue(120.0F);
    EXPECT_EQ(colorFilter.hue(), 120.0F);
    EXPECT_EQ(group->objectForKey("ColorFilter"), std::nullopt);
}

TEST_F(NPEffectKindsTest, HueIsThirtyOnlyWhileNothingIsStored)
{
    EXPECT_EQ(colorFilter.hue(), 30.0F);
    group->setObject("green", NPColorFilterHueKey);
    EXPECT_EQ(colorFilter.hue(), 0.0F);
    group->setInteger(90, NPColorFilterHueKey);
    EXPECT_EQ(colorFilter.hue(), 90.0F);
}

TEST_F(NPEffectKindsTest, DimLevelAboveZeroIsStoredButSwitchesTheFlagOff)
{
    dim.setLevel(0.3F);
    EXPECT_EQ(group->floatForKey(NPDimLevelKey), 0.3F);
    EXPECT_EQ(group->objectForKey("Dim"), QXValue(false));
    EXPECT_EQ(dim.level(), 0.0F);
    EXPECT_FALSE(dim.isSelected());
}

TEST_F(NPEffectKindsTest, DimLevelBelowZeroSelectsAndScalesEverySample)
{
    dim.setLevel(-0.3F);
    EXPECT_TRUE(dim.isSelected());
    const QXGammaTable table = applied(dim, flatTable(1.0F, 0.2F, 0.0F));
    EXPECT_EQ(bitsOf(table.redTable[0]), 0x3F333333U); // 0.7
    EXPECT_EQ(bitsOf(table.greenTable[255]), 0x3E0F5C29U);
    EXPECT_EQ(table.blueTable[0], 0.0F);
}

TEST_F(NPEffectKindsTest, DimLevelZeroSwitchesTheFlagOff)
{
    dim.setLevel(-0.3F);
    dim.setLevel(0.0F);
    EXPECT_EQ(group->objectForKey("Dim"), QXValue(false));
}

TEST_F(NPEffectKindsTest, DimLevelBelowMinusOneMakesSamplesNegative)
{
    dim.setLevel(-1.5F);
    EXPECT_EQ(applied(dim, flatTable(1.0F)).redTable[0], -0.5F);
}

TEST_F(NPEffectKindsTest, StoredDimLevelAboveZeroBlendsTowardWhiteButIsNotSelected)
{
    dim.setSelected(true);
    group->setFloat(0.3F, NPDimLevelKey);
    EXPECT_EQ(dim.level(), 0.3F);
    EXPECT_FALSE(dim.isSelected());
    EXPECT_EQ(bitsOf(applied(dim, flatTable(0.2F)).redTable[0]), 0x3EE147AEU); // 0.44
}

TEST_F(NPEffectKindsTest, DimFlagAloneDoesNotSelect)
{
    dim.setSelected(true);
    EXPECT_EQ(dim.level(), 0.0F);
    EXPECT_FALSE(dim.isSelected());
}

TEST_F(NPEffectKindsTest, SettingTheDimLevelAnnouncesTheFlagAndTheLevel)
{
    dim.setLevel(-0.3F);
    EXPECT_EQ(changes.take(), 2);
    dim.setLevel(-0.4F); // the flag stays
    EXPECT_EQ(changes.take(), 1);
    dim.setLevel(-0.4F);
    EXPECT_EQ(changes.take(), 0);
}

TEST_F(NPEffectKindsTest, InvertExchangesTheSamplesFromTheEndsInward)
{
    const QXGammaTable three = applied(invert, QXGammaTableIdentity(3));
    EXPECT_EQ(three.redTable[0], 1.0F);
    EXPECT_EQ(three.redTable[1], 0.5F);
    EXPECT_EQ(three.redTable[2], 0.0F);
    const QXGammaTable ramp = QXGammaTableIdentity();
    const QXGammaTable all = applied(invert, ramp);
    for (std::size_t i = 0; i < 256; ++i) {
        EXPECT_EQ(all.greenTable[i], ramp.greenTable[255 - i]);
    }
}

TEST_F(NPEffectKindsTest, InvertTwiceRestoresTheTable)
{
    const QXGammaTable table = scaledTable(0.4F, 77);
    EXPECT_TRUE(sameRecord(applied(invert, applied(invert, table)), table));
}

TEST_F(NPEffectKindsTest, HideStripesOnARampBrightensByATenthAndMergesTheTop)
{
    const QXGammaTable ramp = QXGammaTableIdentity();
    const QXGammaTable table = applied(hideStripes, ramp);
    for (std::size_t i = 0; i < 256; ++i) {
        const float tenthMore = static_cast<float>(1.1 * static_cast<double>(ramp.redTable[i]));
        EXPECT_FLOAT_EQ(table.redTable[i], i < 232 ? tenthMore : 1.0F) << i;
        EXPECT_FLOAT_EQ(table.blueTable[i], table.redTable[i]);
    }
    EXPECT_LT(table.redTable[231], 1.0F);
    EXPECT_EQ(table.redTable[232], 1.0F);
}

TEST_F(NPEffectKindsTest, HideStripesOnAnInvertedRampMovesAwayFromWhite)
{
    const QXGammaTable table = applied(hideStripes, applied(invert, QXGammaTableIdentity()));
    EXPECT_EQ(table.redTable[0], 1.0F);
    EXPECT_EQ(bitsOf(table.redTable[255]), 0xBDCCCCCDU); // −0.1: left for the final clamp
    EXPECT_GT(table.redTable[1], table.redTable[2]);
}

TEST_F(NPEffectKindsTest, HideStripesAddsTheFirstSamplesInSinglePrecision)
{
    QXGammaTable table = flatTable(1.0F, floatOf(0x3EFFFFFF), 0.0F, 2); // 1.49999997 rounds to 1.5
    EXPECT_EQ(bitsOf(applied(hideStripes, table).blueTable[1]), 0xBDCCCCCDU);
    table.greenTable.fill(floatOf(0x3EFFFFFD)); // 1.4999999
    EXPECT_EQ(applied(hideStripes, table).blueTable[1], 0.0F);
}

TEST_F(NPEffectKindsTest, HideStripesTakesNotANumberForBright)
{
    QXGammaTable table = flatTable(0.0F, 2);
    table.greenTable[0] = std::nanf("");
    EXPECT_EQ(bitsOf(applied(hideStripes, table).redTable[0]), 0xBDCCCCCDU);
}

TEST_F(NPEffectKindsTest, HDTVLuminanceMapsTheEndsToItsRange)
{
    const QXGammaTable table = applied(hdtvLuminance, QXGammaTableIdentity());
    for (const QXGammaTable::Channel& channel : {table.redTable, table.greenTable, table.blueTable}) {
        EXPECT_EQ(bitsOf(channel[0]), 0x3D808081U);
        EXPECT_EQ(bitsOf(channel[255]), 0x3F6BEBECU);
    }
}

TEST_F(NPEffectKindsTest, FlagsAloneSelectTheKindsWithoutParameters)
{
    for (NPEffect* effect : {static_cast<NPEffect*>(&invert), static_cast<NPEffect*>(&hideStripes),
                             static_cast<NPEffect*>(&hdtvLuminance)}) {
        EXPECT_FALSE(effect->isSelected());
        effect->setSelected(true);
        EXPECT_TRUE(effect->isSelected()) << effect->name();
    }
}

} // namespace
