#include "Pictures/NPCurvePlot.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

// The plot's area in pixels.
constexpr int left = 76;
constexpr int top = 96;
constexpr int width = 600;
constexpr int height = 400;

bool isReddish(std::uint32_t pixel)
{
    return (pixel >> 16) > 150 && (pixel >> 8 & 0xFF) < 110 && (pixel & 0xFF) < 110;
}

bool isBluish(std::uint32_t pixel)
{
    return (pixel & 0xFF) > 150 && (pixel >> 16) < 110;
}

// Where on the vertical line of an input the plot has such a colour, as an output; −1 when it has not.
template<class Predicate> double outputAt(const NPPicture& plot, double input, Predicate isColor)
{
    const int x = left + static_cast<int>(input * width);
    for (int y = top; y <= top + height; ++y) {
        if (isColor(plot.pixel(x, y))) {
            return 1.0 - static_cast<double>(y - top) / height;
        }
    }
    return -1.0;
}

} // namespace

TEST(NPCurvePlot, DrawsEachChannelWhereItsSamplesAre)
{
    QXGammaTable table = QXGammaTableIdentity();
    for (std::size_t i = 0; i < 256; ++i) {
        table.greenTable[i] *= 0.75F;
        table.blueTable[i] *= 0.25F;
    }
    const NPPicture plot = NPCurvePlot(table, "Evening");
    EXPECT_NEAR(outputAt(plot, 0.6, isReddish), 0.6, 0.01);
    EXPECT_NEAR(outputAt(plot, 0.6, isBluish), 0.15, 0.01);
}

TEST(NPCurvePlot, DrawsOneCurveForChannelsThatAreAlike)
{
    const NPPicture plot = NPCurvePlot(QXGammaTableIdentity(), "Nothing");
    EXPECT_EQ(outputAt(plot, 0.6, isReddish), -1.0);
    EXPECT_EQ(outputAt(plot, 0.6, isBluish), -1.0);
}

TEST(NPCurvePlot, ShowsTheRampThroughTheTable)
{
    QXGammaTable table = QXGammaTableIdentity();
    QXGammaTableReverse(table);
    const NPPicture plot = NPCurvePlot(table, "Invert");
    EXPECT_EQ(plot.pixel(left + 1, 572), 0x000000U);
    EXPECT_EQ(plot.pixel(left + 1, 598), 0xFFFFFFU);
    EXPECT_EQ(plot.pixel(left + width - 2, 572), 0xFFFFFFU);
    EXPECT_EQ(plot.pixel(left + width - 2, 598), 0x000000U);
}

TEST(NPCurvePlot, KeepsALongTitleOnThePicture)
{
    const NPPicture plot = NPCurvePlot(QXGammaTableIdentity(), std::string(120, 'W'));
    for (int y = 0; y < plot.height(); ++y) {
        EXPECT_EQ(plot.pixel(plot.width() - 1, y), 0xFFFFFFU) << y;
    }
}
