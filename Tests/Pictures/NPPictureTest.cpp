#include "Pictures/NPPicture.h"

#include "Pictures/NPDrawing.h"

#include <gtest/gtest.h>

namespace {

// A picture of one pixel of that colour.
NPPicture pixelOf(NPColor color)
{
    NPPicture picture(1, 1);
    NPSetColor(picture.context(), color);
    cairo_paint(picture.context());
    return picture;
}

std::uint32_t seenThrough(const QXGammaTable& table, NPColor color)
{
    NPPicture picture = pixelOf(color);
    picture.applyTable(table);
    return picture.pixel(0, 0);
}

} // namespace

TEST(NPPicture, IsBlackAtFirst)
{
    EXPECT_EQ(NPPicture(2, 2).pixel(1, 1), 0x000000U);
}

TEST(NPPicture, LooksTheSameThroughTheNeutralTable)
{
    for (std::uint32_t value = 0; value < 256; ++value) {
        EXPECT_EQ(seenThrough(QXGammaTableIdentity(), value * 0x010101U), value * 0x010101U);
    }
}

TEST(NPPicture, PutsEachChannelThroughItsOwnTable)
{
    QXGammaTable table = QXGammaTableIdentity();
    table.redTable[0x12] = 1.0F;
    table.greenTable[0x34] = 0.2F;
    table.blueTable[0x56] = 0.0F;
    EXPECT_EQ(seenThrough(table, 0x123456), 0xFF3300U);
}

TEST(NPPicture, RoundsSamplesToTheNearestValue)
{
    QXGammaTable table = QXGammaTableIdentity();
    table.redTable[1] = 100.49F / 255.0F;
    table.redTable[2] = 100.51F / 255.0F;
    EXPECT_EQ(seenThrough(table, 0x010000), 0x640000U);
    EXPECT_EQ(seenThrough(table, 0x020000), 0x650000U);
}

TEST(NPPicture, IsInvertedByTheMirroredTable)
{
    QXGammaTable table = QXGammaTableIdentity();
    QXGammaTableReverse(table);
    EXPECT_EQ(seenThrough(table, 0x00F0FF), 0xFF0F00U);
}

TEST(NPPicture, LeavesItsCopyAlone)
{
    const NPPicture original = pixelOf(0x123456);
    NPPicture copy(original);
    QXGammaTable table = QXGammaTableIdentity();
    QXGammaTableReverse(table);
    copy.applyTable(table);
    EXPECT_EQ(copy.pixel(0, 0), 0xEDCBA9U);
    EXPECT_EQ(original.pixel(0, 0), 0x123456U);
}

TEST(NPPicture, SaysWhyItCannotBeWritten)
{
    const auto written = pixelOf(0).write("/nonexistent folder/picture.png");
    ASSERT_FALSE(written);
    EXPECT_FALSE(written.error().empty());
    EXPECT_EQ(written.error().find('\n'), std::string::npos);
}
