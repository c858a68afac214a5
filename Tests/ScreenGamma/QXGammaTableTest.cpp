#include "ScreenGamma/QXGammaTable.h"

#include "Support/GammaTables.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <vector>

namespace {

constexpr float minimumOfHDTV = 16.0F / 255.0F;
constexpr float maximumOfHDTV = 235.0F / 255.0F;

// Every function that changes a table, each with arguments that change every sample of a flat 1.5.
const std::vector<std::function<void(QXGammaTable&)>>& everyFunction()
{
    static const std::vector<std::function<void(QXGammaTable&)>> functions{
        [](QXGammaTable& table) { QXGammaTableMixWithValue(table, 0.25F, 0.5F); },
        [](QXGammaTable& table) { QXGammaTableMixWithValues({0, 0.1F, 0.2F}, {0.5F, 0.5F, 0.5F}, table); },
        [](QXGammaTable& table) { QXGammaTableMixWithTable(flatTable(0.25F), table, 0.5F); },
        [](QXGammaTable& table) { QXGammaTableMixWithTableWeights(flatTable(0.25F), {1, 1, 1}, table); },
        [](QXGammaTable& table) { QXGammaTableScaleToRange(table, 0.25F, 0.5F); },
        [](QXGammaTable& table) { QXGammaTableScaleToRanges({0.25F, 0, 0}, {0.5F, 0.5F, 0}, table); },
        [](QXGammaTable& table) { QXGammaTableClipToOne(table); },
        [](QXGammaTable& table) { QXGammaTableClamp(table); },
    };
    return functions;
}

TEST(QXGammaTable, EmptyTableIsUnchangedByEveryFunction)
{
    for (const auto& function : everyFunction()) {
        QXGammaTable table = flatTable(1.5F, 0);
        function(table);
        EXPECT_TRUE(sameRecord(table, flatTable(1.5F, 0)));
    }
    QXGammaTable table = QXGammaTableIdentity();
    table.sampleCount = 0;
    const QXGammaTable before = table;
    QXGammaTableReverse(table);
    EXPECT_TRUE(sameRecord(table, before));
}

TEST(QXGammaTable, EntriesAfterTheSamplesAreUnchangedByEveryFunction)
{
    for (const auto& function : everyFunction()) {
        QXGammaTable table = flatTable(1.5F, 100);
        function(table);
        EXPECT_TRUE(sameEntries(table, flatTable(1.5F), 100, 256));
        for (const std::size_t i : {0U, 99U}) {
            EXPECT_NE(table.redTable[i], 1.5F);
            EXPECT_NE(table.greenTable[i], 1.5F);
            EXPECT_NE(table.blueTable[i], 1.5F);
        }
    }
}

TEST(QXGammaTable, ReversingAHundredSamplesLeavesTheEntriesAfterThem)
{
    QXGammaTable table = QXGammaTableIdentity(256);
    table.sampleCount = 100;
    QXGammaTableReverse(table);
    const QXGammaTable ramp = QXGammaTableIdentity(256);
    EXPECT_TRUE(sameEntries(table, ramp, 100, 256));
    EXPECT_EQ(table.redTable[0], ramp.redTable[99]);
    EXPECT_EQ(table.greenTable[99], ramp.greenTable[0]);
    EXPECT_EQ(table.blueTable[49], ramp.blueTable[50]);
}

TEST(QXGammaTable, WeightOfMinusATenthTowardZeroMultipliesByElevenTenths)
{
    QXGammaTable table = flatTable(0.95F, -0.05F, 0.5F, 1);
    QXGammaTableMixWithValue(table, 0.0F, -0.1F);
    EXPECT_EQ(bitsOf(table.redTable[0]), 0x3F85C28FU); // 1.045
    EXPECT_EQ(bitsOf(table.greenTable[0]), 0xBD6147AEU);
    EXPECT_FLOAT_EQ(table.blueTable[0], 0.55F);
}

TEST(QXGammaTable, ClippingBringsDownWhatIsAboveOneAndLeavesNegativesAlone)
{
    QXGammaTable table = flatTable(floatOf(0x3F85C28FU), -0.05F, 0.5F, 1);
    QXGammaTableClipToOne(table);
    EXPECT_EQ(table.redTable[0], 1.0F);
    EXPECT_EQ(table.greenTable[0], -0.05F);
    EXPECT_EQ(table.blueTable[0], 0.5F);
}

TEST(QXGammaTable, ClippingLeavesNotANumberAndTheSignOfZeroAndBringsDownInfinity)
{
    QXGammaTable table = flatTable(std::nanf(""), -0.0F, std::numeric_limits<float>::infinity(), 1);
    const std::uint32_t notANumber = bitsOf(table.redTable[0]);
    QXGammaTableClipToOne(table);
    EXPECT_EQ(bitsOf(table.redTable[0]), notANumber);
    EXPECT_EQ(bitsOf(table.greenTable[0]), 0x80000000U);
    EXPECT_EQ(table.blueTable[0], 1.0F);
}

TEST(QXGammaTable, ClippingLeavesMinusInfinity)
{
    QXGammaTable table = flatTable(-std::numeric_limits<float>::infinity(), 1);
    QXGammaTableClipToOne(table);
    EXPECT_EQ(table.redTable[0], -std::numeric_limits<float>::infinity());
}

TEST(QXGammaTable, ClampingTurnsNegativesNotANumberAndMinusZeroIntoPlusZero)
{
    QXGammaTable table = flatTable(std::nanf(""), -0.0F, -0.05F, 1);
    QXGammaTableClamp(table);
    EXPECT_EQ(bitsOf(table.redTable[0]), 0U);
    EXPECT_EQ(bitsOf(table.greenTable[0]), 0U);
    EXPECT_EQ(bitsOf(table.blueTable[0]), 0U);
}

TEST(QXGammaTable, ClampingKeepsWhatLiesWithinAndBringsDownTheRest)
{
    QXGammaTable table = flatTable(std::numeric_limits<float>::denorm_min(), 0.75F, 3.0F, 1);
    QXGammaTableClamp(table);
    EXPECT_EQ(bitsOf(table.redTable[0]), 1U);
    EXPECT_EQ(table.greenTable[0], 0.75F);
    EXPECT_EQ(table.blueTable[0], 1.0F);
}

TEST(QXGammaTable, MixingWithATableByOneCopiesItsSamples)
{
    const QXGammaTable start = scaledTable(0.3F);
    QXGammaTable table = QXGammaTableIdentity();
    QXGammaTableMixWithTable(start, table, 1.0F);
    EXPECT_TRUE(sameRecord(table, start));
}

TEST(QXGammaTable, MixingWithATableByZeroChangesNothing)
{
    QXGammaTable table = QXGammaTableIdentity();
    QXGammaTableMixWithTable(scaledTable(0.3F), table, 0.0F);
    EXPECT_TRUE(sameRecord(table, QXGammaTableIdentity()));
}

TEST(QXGammaTable, MixingWithATableTakesTheCountOfTheDestination)
{
    QXGammaTable table = flatTable(1.0F, 3);
    QXGammaTableMixWithTable(flatTable(0.5F, 2), table, 1.0F);
    EXPECT_EQ(table.sampleCount, 3U);
    EXPECT_EQ(table.redTable[2], 0.5F); // read although it is no sample of the source
    EXPECT_EQ(table.redTable[3], 1.0F);
}

// The product with the target is rounded to single precision, the rest is not: each expected value differs
// from what all-single and all-double arithmetic give.
TEST(QXGammaTable, MixingRoundsTheWeightedTargetAloneToSinglePrecision)
{
    const QXGammaTriple targets{floatOf(0x3F5B28C3), floatOf(0x3F67DC2B), floatOf(0x3E32EC8A)};
    const QXGammaTriple weights{floatOf(0x3E879ACB), floatOf(0x3E90EADF), floatOf(0x3EFE9209)};
    const QXGammaTable before = flatTable(floatOf(0x3F6EDF78), floatOf(0x3F4C00CE), floatOf(0x3F3ED303), 1);
    QXGammaTable table = before;
    QXGammaTableMixWithValues(targets, weights, table);
    EXPECT_EQ(bitsOf(table.redTable[0]), 0x3F69A6D5U);
    EXPECT_EQ(bitsOf(table.greenTable[0]), 0x3F53E347U);
    EXPECT_EQ(bitsOf(table.blueTable[0]), 0x3EEC5EFEU);

    QXGammaTable other = before;
    QXGammaTableMixWithTableWeights(flatTable(targets[0], targets[1], targets[2], 1), weights, other);
    EXPECT_TRUE(sameTable(other, table));
}

TEST(QXGammaTable, TheFormsWithOneWeightUseItForEveryChannel)
{
    const QXGammaTable source = flatTable(0.1F, 0.2F, 0.3F, 4);
    QXGammaTable one = flatTable(0.7F, 0.8F, 0.9F, 4);
    QXGammaTable other = one;
    QXGammaTableMixWithTable(source, one, 0.37F);
    QXGammaTableMixWithTableWeights(source, {0.37F, 0.37F, 0.37F}, other);
    EXPECT_TRUE(sameTable(one, other));
    QXGammaTableMixWithValue(one, 0.4F, 0.21F);
    QXGammaTableMixWithValues({0.4F, 0.4F, 0.4F}, {0.21F, 0.21F, 0.21F}, other);
    EXPECT_TRUE(sameTable(one, other));
}

TEST(QXGammaTable, ScalingToTheHDTVRangeMapsBlackAndWhiteToItsEnds)
{
    QXGammaTable table = flatTable(0.0F, 1.0F, 0.5F, 1);
    QXGammaTableScaleToRange(table, minimumOfHDTV, maximumOfHDTV);
    EXPECT_EQ(bitsOf(table.redTable[0]), 0x3D808081U);   // 0.0627451
    EXPECT_EQ(bitsOf(table.greenTable[0]), 0x3F6BEBECU); // 0.92156863
    EXPECT_EQ(bitsOf(table.blueTable[0]), 0x3EFBFBFCU);
}

// Fused or double-precision arithmetic would give 0x3C511EBD or 0x3C511EBC.
TEST(QXGammaTable, ScalingRoundsEveryStepToSinglePrecision)
{
    QXGammaTable table = flatTable(floatOf(0x3F77A2E6), 1);
    QXGammaTableScaleToRange(table, floatOf(0x3D2646E1), floatOf(0x3C41B833));
    EXPECT_EQ(bitsOf(table.redTable[0]), 0x3C511EBEU);
}

TEST(QXGammaTable, ScalingByChannelUsesTheSecondPairForBlueToo)
{
    QXGammaTable table = flatTable(0.0F, 3);
    table.redTable[1] = table.greenTable[1] = table.blueTable[1] = 1.0F;
    QXGammaTableScaleToRanges({0.1F, 0.2F, 0.3F}, {0.7F, 0.8F, 0.9F}, table);
    EXPECT_EQ(table.redTable[0], 0.1F);
    EXPECT_FLOAT_EQ(table.redTable[1], 0.7F);
    EXPECT_EQ(table.greenTable[0], 0.2F);
    EXPECT_FLOAT_EQ(table.greenTable[1], 0.8F);
    EXPECT_TRUE(sameBits(table.blueTable, table.greenTable, 0, 3));
}

TEST(QXGammaTable, ReversingOneSampleChangesNothing)
{
    QXGammaTable table = QXGammaTableIdentity();
    table.sampleCount = 1;
    const QXGammaTable before = table;
    QXGammaTableReverse(table);
    EXPECT_TRUE(sameRecord(table, before));
}

TEST(QXGammaTable, ReversingThreeSamplesExchangesTheOuterOnes)
{
    QXGammaTable table;
    table.sampleCount = 3;
    table.redTable[0] = 0.1F;
    table.redTable[1] = 0.2F;
    table.redTable[2] = 0.3F;
    table.greenTable[2] = 0.5F;
    table.blueTable[0] = 0.7F;
    QXGammaTableReverse(table);
    EXPECT_EQ(table.redTable[0], 0.3F);
    EXPECT_EQ(table.redTable[1], 0.2F);
    EXPECT_EQ(table.redTable[2], 0.1F);
    EXPECT_EQ(table.greenTable[0], 0.5F);
    EXPECT_EQ(table.blueTable[2], 0.7F);
}

TEST(QXGammaTable, ReversingTwiceGivesTheFirstTableBack)
{
    for (const std::uint32_t count : {2U, 3U, 255U, 256U}) {
        const QXGammaTable first = scaledTable(0.3F, count);
        QXGammaTable table = first;
        QXGammaTableReverse(table);
        EXPECT_FALSE(sameRecord(table, first));
        QXGammaTableReverse(table);
        EXPECT_TRUE(sameRecord(table, first));
    }
}

TEST(QXGammaTable, IdentityRisesFromZeroToOneInEveryChannel)
{
    const QXGammaTable table = QXGammaTableIdentity();
    EXPECT_EQ(table.sampleCount, 256U);
    EXPECT_EQ(table.redTable[0], 0.0F);
    EXPECT_EQ(bitsOf(table.redTable[1]), 0x3B808081U);
    EXPECT_EQ(bitsOf(table.redTable[100]), 0x3EC8C8C9U);
    EXPECT_EQ(table.redTable[255], 1.0F);
    EXPECT_TRUE(sameBits(table.greenTable, table.redTable, 0, 256));
    EXPECT_TRUE(sameBits(table.blueTable, table.redTable, 0, 256));
}

TEST(QXGammaTable, IdentityOfFewSamplesFillsNoMoreThanThose)
{
    const QXGammaTable two = QXGammaTableIdentity(2);
    EXPECT_EQ(two.redTable[0], 0.0F);
    EXPECT_EQ(two.redTable[1], 1.0F);
    EXPECT_EQ(two.redTable[2], 0.0F);
    EXPECT_EQ(QXGammaTableIdentity(1).redTable[0], 0.0F);
    EXPECT_EQ(QXGammaTableIdentity(0).sampleCount, 0U);
}

TEST(QXGammaTable, TablesAreEqualWhenTheirSamplesAre)
{
    QXGammaTable table = QXGammaTableIdentity(100);
    table.blueTable[100] = 0.5F; // no sample
    EXPECT_TRUE(QXGammaTableEqual(table, QXGammaTableIdentity(100)));
    EXPECT_FALSE(QXGammaTableEqual(table, QXGammaTableIdentity(99)));
    table.blueTable[99] = 0.5F;
    EXPECT_FALSE(QXGammaTableEqual(table, QXGammaTableIdentity(100)));
}

TEST(QXGammaTable, ATableWithNotANumberIsNotEqualToItself)
{
    const QXGammaTable table = flatTable(std::nanf(""), 0.0F, 0.0F, 1);
    EXPECT_FALSE(QXGammaTableEqual(table, table));
}

} // namespace
