#include "Platform/Linux/NPEdid.h"

#include "Support/NPTestEdid.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

using namespace std::string_literals;

namespace {

// A whole block byte by byte: vendor 0x10AC, product 0xA0C7, serial number 0x4C333135, the serial number in
// words "9K0XY52R513L" and the name "DISPLAY 27X".
constexpr std::uint8_t wholeBlock[128] = {
    0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00, 0x10, 0xAC, 0xC7, 0xA0, 0x35, 0x31, 0x33, 0x4C, //
    0x1E, 0x1B, 0x01, 0x04, 0xA5, 0x3C, 0x22, 0x78, 0x3A, 0x4B, 0xB5, 0xA7, 0x56, 0x4B, 0xA3, 0x25, //
    0x0A, 0x50, 0x54, 0xA5, 0x4B, 0x00, 0x81, 0x00, 0xB3, 0x00, 0xD1, 0x00, 0xA9, 0x40, 0x81, 0x80, //
    0xD1, 0xC0, 0x01, 0x01, 0x01, 0x01, 0x56, 0x5E, 0x00, 0xA0, 0xA0, 0xA0, 0x29, 0x50, 0x30, 0x20, //
    0x35, 0x00, 0x55, 0x50, 0x21, 0x00, 0x00, 0x1A, 0x00, 0x00, 0x00, 0xFF, 0x00, 0x39, 0x4B, 0x30, //
    0x58, 0x59, 0x35, 0x32, 0x52, 0x35, 0x31, 0x33, 0x4C, 0x0A, 0x00, 0x00, 0x00, 0xFC, 0x00, 0x44, //
    0x49, 0x53, 0x50, 0x4C, 0x41, 0x59, 0x20, 0x32, 0x37, 0x58, 0x0A, 0x20, 0x00, 0x00, 0x00, 0xFD, //
    0x00, 0x38, 0x4C, 0x1E, 0x58, 0x19, 0x01, 0x0A, 0x20, 0x20, 0x20, 0x20, 0x20, 0x20, 0x00, 0x00,
};

std::vector<std::uint8_t> wholeBlockSealed()
{
    std::vector<std::uint8_t> bytes(std::begin(wholeBlock), std::end(wholeBlock));
    NPTestEdid::seal(bytes);
    return bytes;
}

} // namespace

TEST(NPEdid, IdentityIsTheEightNumberBytesAndTheSerialText)
{
    const auto edid = NPEdidParse(wholeBlockSealed());
    ASSERT_TRUE(edid);
    EXPECT_EQ(edid->identity, "\x10\xAC\xC7\xA0\x35\x31\x33\x4C"s + "9K0XY52R513L");
}

TEST(NPEdid, MonitorNameComesWithoutPadding)
{
    const auto edid = NPEdidParse(wholeBlockSealed());
    ASSERT_TRUE(edid);
    EXPECT_EQ(edid->monitorName, "DISPLAY 27X");
}

TEST(NPEdid, NameThatFillsItsDescriptorNeedsNoLineFeed)
{
    const auto edid = NPEdidParse(NPTestEdid{.monitorName = "THIRTEEN CHAR"}.block());
    ASSERT_TRUE(edid);
    EXPECT_EQ(edid->monitorName, "THIRTEEN CHAR");
}

TEST(NPEdid, UnprintableCharactersAreLeftOutOfTheName)
{
    const auto edid = NPEdidParse(NPTestEdid{.monitorName = "A\x1B\xC4"
                                                            "B"}
                                      .block());
    ASSERT_TRUE(edid);
    EXPECT_EQ(edid->monitorName, "AB");
}

TEST(NPEdid, NameIsEmptyWhenNoDescriptorHoldsOne)
{
    const auto edid = NPEdidParse(NPTestEdid{}.block());
    ASSERT_TRUE(edid);
    EXPECT_EQ(edid->monitorName, "");
}

TEST(NPEdid, TimingDescriptorIsNotTakenForText)
{
    auto bytes = NPTestEdid{.monitorName = "NAME"}.block();
    bytes[90] = 0x02; // a pixel clock: the descriptor is a timing
    NPTestEdid::seal(bytes);
    EXPECT_EQ(NPEdidParse(bytes)->monitorName, "");
}

TEST(NPEdid, ExtensionBlocksDoNotMatter)
{
    auto bytes = wholeBlockSealed();
    bytes.resize(256, 0x55);
    EXPECT_EQ(NPEdidParse(bytes)->identity, NPEdidParse(wholeBlockSealed())->identity);
}

TEST(NPEdid, SerialTextAloneTellsADisplay)
{
    const NPTestEdid edid{.vendor = 0, .product = 0, .serial = 0, .serialText = "S1"};
    EXPECT_EQ(NPEdidParse(edid.block())->identity, std::string(8, '\0') + "S1");
}

TEST(NPEdid, BlockWithoutVendorProductAndSerialIsNone)
{
    EXPECT_FALSE(NPEdidParse(NPTestEdid{.vendor = 0, .product = 0, .serial = 0, .monitorName = "X"}.block()));
}

TEST(NPEdid, EmptyDataIsNone)
{
    EXPECT_FALSE(NPEdidParse({}));
}

TEST(NPEdid, ShortBlockIsNone)
{
    auto bytes = wholeBlockSealed();
    bytes.pop_back();
    EXPECT_FALSE(NPEdidParse(bytes));
}

TEST(NPEdid, WrongHeaderIsNone)
{
    auto bytes = wholeBlockSealed();
    bytes[0] = 1;
    NPTestEdid::seal(bytes);
    EXPECT_FALSE(NPEdidParse(bytes));
}

TEST(NPEdid, WrongChecksumIsNone)
{
    auto bytes = wholeBlockSealed();
    ++bytes[12];
    EXPECT_FALSE(NPEdidParse(bytes));
}

// The primaries, white and gamma of a usual display: red x is 0.640 (655 of 1024), with the lower bits 11.
TEST(NPEdid, ColorsAreReadInFractionsOf1024)
{
    auto bytes = wholeBlockSealed();
    bytes[23] = 120;
    const std::array<std::uint8_t, 10> colors = {0xEE, 0x91, 0xA3, 0x54, 0x4C, 0x99, 0x26, 0x0F, 0x50, 0x54};
    std::ranges::copy(colors, bytes.begin() + 25);
    NPTestEdid::seal(bytes);
    const std::optional<QXDisplayColors> read = NPEdidColors(bytes);
    ASSERT_TRUE(read);
    EXPECT_DOUBLE_EQ(read->red.x, (0xA3 * 4 + 3) / 1024.0);
    EXPECT_DOUBLE_EQ(read->red.y, (0x54 * 4 + 2) / 1024.0);
    EXPECT_DOUBLE_EQ(read->green.x, (0x4C * 4 + 3) / 1024.0);
    EXPECT_DOUBLE_EQ(read->green.y, (0x99 * 4 + 2) / 1024.0);
    EXPECT_DOUBLE_EQ(read->blue.x, (0x26 * 4 + 2) / 1024.0);
    EXPECT_DOUBLE_EQ(read->blue.y, (0x0F * 4 + 1) / 1024.0);
    EXPECT_DOUBLE_EQ(read->white.x, (0x50 * 4 + 0) / 1024.0);
    EXPECT_DOUBLE_EQ(read->white.y, (0x54 * 4 + 1) / 1024.0);
    EXPECT_DOUBLE_EQ(read->gamma.value(), 2.2);
}

TEST(NPEdid, GammaThatStandsElsewhereIsNone)
{
    auto bytes = wholeBlockSealed();
    bytes[23] = 0xFF;
    NPTestEdid::seal(bytes);
    EXPECT_FALSE(NPEdidColors(bytes)->gamma);
}

TEST(NPEdid, DamagedBlockHasNoColors)
{
    auto bytes = wholeBlockSealed();
    ++bytes[25];
    EXPECT_FALSE(NPEdidColors(bytes));
}
