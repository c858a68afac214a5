#include "Foundation/QXBase64.h"

#include <gtest/gtest.h>

TEST(QXBase64, WritesEachLengthOfTheLastGroup)
{
    EXPECT_EQ(QXBase64FromData({}), "");
    EXPECT_EQ(QXBase64FromData({0x66}), "Zg==");
    EXPECT_EQ(QXBase64FromData({0x66, 0x6F}), "Zm8=");
    EXPECT_EQ(QXBase64FromData({0x66, 0x6F, 0x6F}), "Zm9v");
    EXPECT_EQ(QXBase64FromData({0xFB, 0xFF, 0xFE, 0x00}), "+//+AA==");
}

TEST(QXBase64, ReadsEachLengthOfTheLastGroup)
{
    EXPECT_EQ(QXDataFromBase64(""), QXData());
    EXPECT_EQ(QXDataFromBase64("Zg=="), (QXData{0x66}));
    EXPECT_EQ(QXDataFromBase64("Zm8="), (QXData{0x66, 0x6F}));
    EXPECT_EQ(QXDataFromBase64("Zm9v"), (QXData{0x66, 0x6F, 0x6F}));
    EXPECT_EQ(QXDataFromBase64("+//+AA=="), (QXData{0xFB, 0xFF, 0xFE, 0x00}));
}

TEST(QXBase64, SkipsWhiteSpace)
{
    EXPECT_EQ(QXDataFromBase64("\n\tZm\r\n 9v\n"), (QXData{0x66, 0x6F, 0x6F}));
    EXPECT_EQ(QXDataFromBase64("Zg= ="), (QXData{0x66}));
}

TEST(QXBase64, RefusesOtherCharacters)
{
    EXPECT_FALSE(QXDataFromBase64("Zm9*"));
    EXPECT_FALSE(QXDataFromBase64("Zm9-"));
    EXPECT_FALSE(QXDataFromBase64("Zm9\xFF"));
}

TEST(QXBase64, RefusesMissingAndMisplacedPadding)
{
    EXPECT_FALSE(QXDataFromBase64("Zg"));
    EXPECT_FALSE(QXDataFromBase64("Zg="));
    EXPECT_FALSE(QXDataFromBase64("Zg==="));
    EXPECT_FALSE(QXDataFromBase64("Z==="));
    EXPECT_FALSE(QXDataFromBase64("Zg==Zg=="));
    EXPECT_FALSE(QXDataFromBase64("Zm9v="));
    EXPECT_FALSE(QXDataFromBase64("=Zg="));
}
