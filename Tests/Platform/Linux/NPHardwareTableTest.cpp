#include "Platform/Linux/NPHardwareTable.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

// A table whose channels are given by a function of the position 0..1.
template<typename Curve>
NPHardwareTable hardwareTable(std::size_t size, Curve curve)
{
    NPHardwareTable table(size);
    for (std::size_t channel = 0; channel < 3; ++channel) {
        for (std::size_t i = 0; i < size; ++i) {
            const double position = static_cast<double>(i) / static_cast<double>(size - 1);
            const double value = curve(channel, position) * 65535.0;
            table.channel(channel)[i] = static_cast<std::uint16_t>(std::lround(value));
        }
    }
    return table;
}

double steepCurve(std::size_t channel, double position)
{
    return std::pow(position, 1.0 + static_cast<double>(channel));
}

QXGammaTable flatRecord(float value)
{
    QXGammaTable record;
    record.sampleCount = QXGammaTableCapacity;
    record.redTable.fill(value);
    record.greenTable.fill(value);
    record.blueTable.fill(value);
    return record;
}

class NPHardwareTableOfSize : public testing::TestWithParam<std::size_t> {};

} // namespace

TEST(NPHardwareTable, RecordSampleIsTheValueDividedBy65535)
{
    NPHardwareTable table(256);
    for (std::uint32_t first = 0; first < 65536; first += 256) {
        for (std::uint32_t i = 0; i < 256; ++i) {
            table.channel(1)[i] = static_cast<std::uint16_t>(first + i);
        }
        const QXGammaTable record = NPGammaTableFromHardwareTable(table);
        for (std::uint32_t i = 0; i < 256; ++i) {
            ASSERT_EQ(record.greenTable[i], static_cast<float>(first + i) / 65535.0F) << first + i;
        }
    }
}

TEST(NPHardwareTable, EveryValueOf256SamplesComesBackUnchanged)
{
    NPHardwareTable table(256);
    NPHardwareTable back(256);
    for (std::uint32_t first = 0; first < 65536; first += 256) {
        for (std::uint32_t i = 0; i < 256; ++i) {
            table.channel(2)[i] = static_cast<std::uint16_t>(first + i);
        }
        NPHardwareTableFill(NPGammaTableFromHardwareTable(table), back);
        ASSERT_EQ(back, table) << first;
    }
}

TEST(NPHardwareTable, HalfIsRoundedUpwards)
{
    NPHardwareTable table(256);
    NPHardwareTableFill(flatRecord(0.5F), table);
    EXPECT_EQ(table.channel(0)[7], 32768);
}

TEST(NPHardwareTable, ValuesOutsideTheRangeAreClamped)
{
    NPHardwareTable table(256);
    QXGammaTable record = flatRecord(1.5F);
    record.greenTable.fill(-0.25F);
    record.blueTable.fill(std::numeric_limits<float>::quiet_NaN());
    NPHardwareTableFill(record, table);
    EXPECT_EQ(table.channel(0)[255], 65535);
    EXPECT_EQ(table.channel(1)[255], 0);
    EXPECT_EQ(table.channel(2)[255], 0);
}

TEST(NPHardwareTable, ChannelsLieRedGreenBlue)
{
    QXGammaTable record = flatRecord(0.0F);
    record.redTable.fill(1.0F);
    record.blueTable.fill(0.5F);
    NPHardwareTable table(2);
    NPHardwareTableFill(record, table);
    const std::vector<std::uint16_t> samples(table.samples().begin(), table.samples().end());
    EXPECT_EQ(samples, (std::vector<std::uint16_t>{65535, 65535, 0, 0, 32768, 32768}));
}

TEST(NPHardwareTable, InterpolatesBetweenTheSamplesOfTheRecord)
{
    QXGammaTable record;
    record.sampleCount = 3;
    record.redTable = {0.0F, 1.0F, 0.5F};
    NPHardwareTable table(5);
    NPHardwareTableFill(record, table);
    const std::vector<std::uint16_t> red(table.channel(0).begin(), table.channel(0).end());
    EXPECT_EQ(red, (std::vector<std::uint16_t>{0, 32768, 65535, 49151, 32768}));
}

TEST(NPHardwareTable, SingleSampleFillsTheChannel)
{
    QXGammaTable record;
    record.sampleCount = 1;
    record.redTable[0] = 1.0F;
    NPHardwareTable table(4);
    NPHardwareTableFill(record, table);
    EXPECT_EQ(table.channel(0)[0], 65535);
    EXPECT_EQ(table.channel(0)[3], 65535);
}

TEST(NPHardwareTable, EmptyRecordChangesNothing)
{
    NPHardwareTable table = NPHardwareTableIdentity(256);
    NPHardwareTableFill(QXGammaTable{}, table);
    EXPECT_EQ(table, NPHardwareTableIdentity(256));
}

TEST(NPHardwareTable, TableWithoutACurveGivesAnEmptyRecord)
{
    EXPECT_EQ(NPGammaTableFromHardwareTable(NPHardwareTable()).sampleCount, 0U);
    EXPECT_EQ(NPGammaTableFromHardwareTable(NPHardwareTable(1)).sampleCount, 0U);
}

TEST_P(NPHardwareTableOfSize, NeutralTableReadsAsTheNeutralRecord)
{
    const QXGammaTable record = NPGammaTableFromHardwareTable(NPHardwareTableIdentity(GetParam()));
    ASSERT_EQ(record.sampleCount, 256U);
    for (std::size_t i = 0; i < 256; ++i) {
        EXPECT_NEAR(record.redTable[i], static_cast<double>(i) / 255.0, 1.0 / 65535.0) << i;
        EXPECT_NEAR(record.blueTable[i], static_cast<double>(i) / 255.0, 1.0 / 65535.0) << i;
    }
    EXPECT_EQ(record.redTable[0], 0.0F);
    EXPECT_EQ(record.redTable[255], 1.0F);
}

TEST_P(NPHardwareTableOfSize, NeutralRecordWritesTheNeutralTable)
{
    NPHardwareTable table(GetParam());
    NPHardwareTableFill(QXGammaTableIdentity(), table);
    for (std::size_t i = 0; i < table.size(); ++i) {
        const double exact = static_cast<double>(i) * 65535.0 / static_cast<double>(table.size() - 1);
        EXPECT_NEAR(table.channel(0)[i], exact, 0.51) << i;
        EXPECT_NEAR(table.channel(2)[i], exact, 0.51) << i;
    }
}

TEST_P(NPHardwareTableOfSize, CurveKeepsItsShapeAndItsEnds)
{
    const NPHardwareTable table = hardwareTable(GetParam(), steepCurve);
    const QXGammaTable record = NPGammaTableFromHardwareTable(table);
    // Between two samples the curve is taken for a straight line: the steepest bends by 6 in the unit square.
    const double step = 1.0 / static_cast<double>(GetParam() - 1);
    const double tolerance = 6.0 / 8.0 * step * step + 2.0 / 65535.0;
    for (std::size_t i = 0; i < 256; ++i) {
        const double position = static_cast<double>(i) / 255.0;
        EXPECT_NEAR(record.redTable[i], steepCurve(0, position), tolerance) << i;
        EXPECT_NEAR(record.greenTable[i], steepCurve(1, position), tolerance) << i;
        EXPECT_NEAR(record.blueTable[i], steepCurve(2, position), tolerance) << i;
    }
    NPHardwareTable back(GetParam());
    NPHardwareTableFill(record, back);
    for (std::size_t channel = 0; channel < 3; ++channel) {
        EXPECT_EQ(back.channel(channel).front(), table.channel(channel).front());
        EXPECT_EQ(back.channel(channel).back(), table.channel(channel).back());
    }
}

TEST_P(NPHardwareTableOfSize, ResizingToTheSameSizeChangesNothing)
{
    const NPHardwareTable table = hardwareTable(GetParam(), steepCurve);
    EXPECT_EQ(NPHardwareTableResized(table, GetParam()), table);
}

TEST_P(NPHardwareTableOfSize, ResizedTableKeepsItsEnds)
{
    const NPHardwareTable table = NPHardwareTableResized(hardwareTable(256, steepCurve), GetParam());
    ASSERT_EQ(table.size(), GetParam());
    EXPECT_EQ(table.channel(2).front(), 0);
    EXPECT_EQ(table.channel(2).back(), 65535);
}

INSTANTIATE_TEST_SUITE_P(Sizes, NPHardwareTableOfSize, testing::Values(2, 17, 255, 256, 512, 1024, 4096, 65535));

TEST(NPHardwareTable, ZerosShowNoPicture)
{
    EXPECT_FALSE(NPHardwareTableShowsPicture(NPHardwareTable(256)));
}

TEST(NPHardwareTable, OneConstantValueShowsNoPicture)
{
    EXPECT_FALSE(NPHardwareTableShowsPicture(
        hardwareTable(256, [](std::size_t channel, double) { return static_cast<double>(channel) * 0.5; })));
}

TEST(NPHardwareTable, NoTableShowsNoPicture)
{
    EXPECT_FALSE(NPHardwareTableShowsPicture(NPHardwareTable()));
}

TEST(NPHardwareTable, OneRisingChannelShowsAPicture)
{
    EXPECT_TRUE(NPHardwareTableShowsPicture(
        hardwareTable(256, [](std::size_t channel, double position) { return channel == 1 ? position : 0.0; })));
}
