#include "Pictures/NPTestPhotograph.h"

#include <gtest/gtest.h>

#include <set>

namespace {

// The values that occur in the picture as greys.
std::set<std::uint32_t> greys(const NPPicture& picture)
{
    std::set<std::uint32_t> found;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const std::uint32_t pixel = picture.pixel(x, y);
            if (pixel == (pixel & 0xFF) * 0x010101U) {
                found.insert(pixel & 0xFF);
            }
        }
    }
    return found;
}

} // namespace

TEST(NPTestPhotograph, ShowsEveryGrey)
{
    EXPECT_EQ(greys(NPTestPhotograph()).size(), 256U);
}

TEST(NPTestPhotograph, IsTheSameEachTime)
{
    const NPPicture one = NPTestPhotograph();
    const NPPicture other = NPTestPhotograph();
    ASSERT_EQ(one.width(), NPTestPhotographWidth);
    ASSERT_EQ(one.height(), NPTestPhotographHeight);
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x) {
            ASSERT_EQ(one.pixel(x, y), other.pixel(x, y)) << x << ' ' << y;
        }
    }
}

TEST(NPTestPhotograph, HasPartsOfManyColours)
{
    std::set<std::uint32_t> hues; // whether red is above green, green above blue, blue above red
    const NPPicture picture = NPTestPhotograph();
    for (int y = 0; y < 424; y += 4) {
        for (int x = 0; x < 640; x += 4) {
            const std::uint32_t pixel = picture.pixel(x, y);
            const std::uint32_t red = pixel >> 16;
            const std::uint32_t green = pixel >> 8 & 0xFF;
            const std::uint32_t blue = pixel & 0xFF;
            hues.insert((red > green ? 1U : 0U) | (green > blue ? 2U : 0U) | (blue > red ? 4U : 0U));
        }
    }
    EXPECT_GE(hues.size(), 6U);
}
