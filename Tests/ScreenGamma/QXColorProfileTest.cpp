#include "ScreenGamma/QXColorProfile.h"

#include "Support/ColorProfiles.h"
#include "Support/GammaTables.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

QXData tagOf(const QXColorProfile& profile, QXTagSignature signature)
{
    return dataOf(profile.tag(signature).value());
}

QXGammaTable privateTable(const QXData& tag)
{
    return _QXColorProfileGetGammaTableFromVGCTData(tag);
}

// Three channels of one 16-bit entry.
QXData smallTag(std::uint32_t red, std::uint32_t green, std::uint32_t blue)
{
    return tableTagHeader(3, 1, 2) + bigEndian16(red) + bigEndian16(green) + bigEndian16(blue);
}

QXData formulaTag(const std::vector<std::uint32_t>& numbers)
{
    QXData tag = bytesOf("vcgt") + bigEndian32(0) + bigEndian32(1);
    for (const std::uint32_t number : numbers) {
        tag = tag + bigEndian32(number);
    }
    return tag;
}

} // namespace

TEST(QXColorProfile, WritesATableOf256SamplesInto1554Bytes)
{
    QXColorProfile profile = colorProfileOf({});
    QXColorProfileSetGammaTable(profile, QXGammaTableIdentity());
    EXPECT_EQ(tagOf(profile, QXVideoCardGammaTag).size(), 1554U);
}

TEST(QXColorProfile, WritesAnEmptyTableInto18Bytes)
{
    QXColorProfile profile = colorProfileOf({});
    QXColorProfileSetGammaTable(profile, {});
    EXPECT_EQ(tagOf(profile, QXVideoCardGammaTag),
              (QXData{'v', 'c', 'g', 't', 0, 0, 0, 0, 0, 0, 0, 0, 0, 3, 0, 0, 0, 2}));
}

TEST(QXColorProfile, WritesSamplesAsBigEndianNumbersOf16Bits)
{
    QXGammaTable table = flatTable(0.0F, 3);
    table.redTable = {0.0F, 0.5F, 1.0F};
    table.greenTable = {1.0F, 0.25F, 1.0F / 65535.0F};
    table.blueTable = {0.00001F, 0.9F, 0.99999F}; // 0.9: the product is 58981.5 in single precision
    QXColorProfile profile = colorProfileOf({});
    QXColorProfileSetGammaTable(profile, table);
    EXPECT_EQ(tagOf(profile, QXVideoCardGammaTag),
              (QXData{'v',  'c',  'g',  't',  0,    0,    0, 0, 0, 0, 0, 0, 0, 3, 0, 3, 0, 2, //
                      0x00, 0x00, 0x80, 0x00, 0xFF, 0xFF,                           //
                      0xFF, 0xFF, 0x40, 0x00, 0x00, 0x01,                           //
                      0x00, 0x01, 0xE6, 0x66, 0xFF, 0xFE}));
}

TEST(QXColorProfile, WritesSamplesOutsideTheRangeAsItsEnds)
{
    QXGammaTable table = flatTable(-0.5F, 2.0F, std::numeric_limits<float>::quiet_NaN(), 1);
    QXColorProfile profile = colorProfileOf({});
    QXColorProfileSetGammaTable(profile, table);
    EXPECT_EQ(tagOf(profile, QXVideoCardGammaTag), smallTag(0, 65535, 0));
}

TEST(QXColorProfile, WritesTheBaseTableWithTheSameTypeInsideItsOwnTag)
{
    QXColorProfile profile = colorProfileOf({});
    QXColorProfileSetBaseGammaTable(profile, flatTable(1.0F, 0.0F, 0.5F, 1));
    EXPECT_EQ(tagOf(profile, QXBaseTableTag), smallTag(65535, 0, 32768));
    EXPECT_FALSE(profile.tag(QXVideoCardGammaTag));
}

TEST(QXColorProfile, ReadsBackTheTableThatWasWritten)
{
    QXGammaTable table = QXGammaTableIdentity();
    for (std::size_t i = 0; i < 256; ++i) {
        table.redTable[i] = static_cast<float>(i * 257) / 65535.0F;
        table.greenTable[i] = static_cast<float>(i * i) / 65535.0F;
        table.blueTable[i] = static_cast<float>(65535 - i * 257) / 65535.0F;
    }
    QXColorProfile profile = colorProfileOf({});
    QXColorProfileSetBaseGammaTable(profile, table);
    EXPECT_TRUE(sameTable(QXColorProfileGetGammaTable(profile), table));
}

TEST(QXColorProfile, TakesTheTableOfThePrivateTagFirst)
{
    const QXColorProfile profile =
        colorProfileOf({{"vcgt", smallTag(1, 2, 3)}, {"NP^b", smallTag(65535, 0, 65535)}});
    EXPECT_TRUE(sameTable(QXColorProfileGetGammaTable(profile), flatTable(1.0F, 0.0F, 1.0F, 1)));
}

TEST(QXColorProfile, HasNoTableWhenThePrivateTagIsDamagedAndTheOtherGood)
{
    for (const QXData& damaged : {QXData(), QXData(17), tableTagHeader(3, 256, 2)}) {
        const QXColorProfile profile = colorProfileOf({{"NP^b", damaged}, {"vcgt", smallTag(1, 2, 3)}});
        EXPECT_EQ(QXColorProfileGetGammaTable(profile).sampleCount, 0U);
    }
}

TEST(QXColorProfile, HasTheNeutralTableWithoutAVideoCardTag)
{
    const QXGammaTable table = QXColorProfileGetGammaTable(colorProfileOf({{"desc", {}}}));
    ASSERT_EQ(table.sampleCount, 256U);
    for (std::size_t i = 0; i < 256; ++i) {
        const auto expected = static_cast<float>(static_cast<double>(i) / 255.0);
        EXPECT_EQ(table.redTable[i], expected);
        EXPECT_EQ(table.greenTable[i], expected);
        EXPECT_EQ(table.blueTable[i], expected);
    }
}

TEST(QXColorProfile, HasTheNeutralTableWhenTheVideoCardTagIsDamaged)
{
    const QXColorProfile profile = colorProfileOf({{"vcgt", bytesOf("vcgt and nothing sensible")}});
    EXPECT_TRUE(sameTable(QXColorProfileGetGammaTable(profile), QXColorProfileGetGammaTable(colorProfileOf({}))));
}

TEST(QXColorProfile, TakesTheVideoCardTableOfFewerSamplesAsItIs)
{
    const QXColorProfile profile =
        colorProfileOf({{"vcgt", tableTagHeader(3, 2, 1) + QXData{0, 255, 51, 102, 255, 0}}});
    const QXGammaTable table = QXColorProfileGetGammaTable(profile);
    EXPECT_EQ(table.sampleCount, 2U);
    EXPECT_EQ(table.redTable[1], 1.0F);
    EXPECT_EQ(table.greenTable[0], 0.2F);
    EXPECT_EQ(table.blueTable[0], 1.0F);
}

TEST(QXColorProfile, KeepsACalibrationOf1024Samples)
{
    QXData tag = tableTagHeader(3, 1024, 2);
    for (std::uint32_t i = 0; i < 3 * 1024; ++i) {
        tag = tag + bigEndian16(i % 1024 * 32);
    }
    const QXGammaTable table = QXColorProfileGetGammaTable(colorProfileOf({{"vcgt", tag}}));
    EXPECT_EQ(table.sampleCount, 256U);
    EXPECT_EQ(table.redTable[255], 1023 * 32 / 65535.0F);
    EXPECT_NEAR(static_cast<double>(table.blueTable[128]), 128.0 * 1023 / 255 * 32 / 65535, 1e-7);
}

TEST(QXColorProfile, ComputesTheFormulaInDoublePrecision)
{
    // Red: gamma 2 from 0.25 to 0.75. Green: gamma 1.5, 0 to 1. Blue: from 1 down to 0.
    const QXColorProfile profile = colorProfileOf(
        {{"vcgt", formulaTag({0x20000, 0x4000, 0xC000, 0x18000, 0, 0x10000, 0x10000, 0x10000, 0})}});
    const QXGammaTable table = QXColorProfileGetGammaTable(profile);
    ASSERT_EQ(table.sampleCount, 256U);
    for (std::size_t i = 0; i < 256; ++i) {
        const double position = static_cast<double>(i) / 255.0;
        EXPECT_EQ(table.redTable[i], static_cast<float>(0.25 + 0.5 * std::pow(position, 2.0)));
        EXPECT_EQ(table.greenTable[i], static_cast<float>(0.0 + 1.0 * std::pow(position, 1.5)));
        EXPECT_EQ(table.blueTable[i], static_cast<float>(1.0 + -1.0 * std::pow(position, 1.0)));
    }
}

TEST(QXPrivateTable, ReadsEntriesOf1Byte)
{
    const QXGammaTable table = privateTable(tableTagHeader(3, 1, 1) + QXData{255, 51, 0});
    EXPECT_TRUE(sameTable(table, flatTable(1.0F, 0.2F, 0.0F, 1)));
}

TEST(QXPrivateTable, ReadsEntriesOf2Bytes)
{
    EXPECT_TRUE(sameTable(privateTable(smallTag(65535, 13107, 0)), flatTable(1.0F, 0.2F, 0.0F, 1)));
}

TEST(QXPrivateTable, ReadsEntriesOf4Bytes)
{
    const QXData tag =
        tableTagHeader(3, 1, 4) + bigEndian32(0xFFFFFFFF) + bigEndian32(0x80000000) + bigEndian32(1);
    EXPECT_TRUE(sameTable(privateTable(tag), flatTable(1.0F, 0.5F, floatOf(0x2F800000), 1)));
}

TEST(QXPrivateTable, HasOneSampleCountForAllChannels)
{
    const QXGammaTable table = privateTable(tableTagHeader(3, 2, 1) + QXData{0, 255, 51, 102, 255, 0});
    EXPECT_EQ(table.sampleCount, 2U);
    EXPECT_EQ(table.redTable[1], 1.0F);
    EXPECT_EQ(table.greenTable[1], 0.4F);
    EXPECT_EQ(table.blueTable[0], 1.0F);
}

TEST(QXPrivateTable, IgnoresAFourthChannel)
{
    const QXGammaTable table = privateTable(tableTagHeader(4, 1, 1) + QXData{255, 0, 255, 77});
    EXPECT_TRUE(sameTable(table, flatTable(1.0F, 0.0F, 1.0F, 1)));
}

TEST(QXPrivateTable, IsEmptyWhenFurtherChannelsAreNotWhole)
{
    EXPECT_EQ(privateTable(tableTagHeader(4, 1, 1) + QXData{255, 0, 255}).sampleCount, 0U);
}

TEST(QXPrivateTable, HoldsUpTo256Entries)
{
    EXPECT_EQ(privateTable(tableTagHeader(3, 256, 1) + QXData(768)).sampleCount, 256U);
    EXPECT_EQ(privateTable(tableTagHeader(3, 257, 1) + QXData(771)).sampleCount, 0U);
}

TEST(QXPrivateTable, IsEmptyForWhatIsCutShort)
{
    const QXData whole = smallTag(1, 2, 3);
    ASSERT_EQ(privateTable(whole).sampleCount, 1U);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_EQ(
            privateTable(QXData(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size))).sampleCount, 0U)
            << size;
    }
}

TEST(QXPrivateTable, IsEmptyForNumbersThatMakeNoSense)
{
    for (const auto& [channels, count, size] : {std::tuple{0U, 1U, 2U},
                                                {3U, 0U, 2U},
                                                {3U, 1U, 0U},
                                                {3U, 1U, 3U},
                                                {3U, 1U, 8U},
                                                {65535U, 65535U, 65535U},
                                                {0x4000U, 0x100U, 0x400U}}) {
        EXPECT_EQ(privateTable(tableTagHeader(channels, count, size) + QXData(64)).sampleCount, 0U)
            << channels << ' ' << count << ' ' << size;
    }
}

TEST(QXPrivateTable, IsEmptyForAnotherTypeOrForm)
{
    QXData otherType = smallTag(1, 2, 3);
    otherType[0] = 'V';
    EXPECT_EQ(privateTable(otherType).sampleCount, 0U);
    QXData otherForm = smallTag(1, 2, 3);
    otherForm[11] = 1;
    EXPECT_EQ(privateTable(otherForm).sampleCount, 0U);
}

TEST(QXPrivateTable, IsEmptyForADamagedTagOfOneOrTwoChannels)
{
    EXPECT_EQ(privateTable(tableTagHeader(1, 2, 2) + QXData(3)).sampleCount, 0U);
    EXPECT_EQ(privateTable(tableTagHeader(2, 257, 1) + QXData(514)).sampleCount, 0U);
    EXPECT_EQ(privateTable(tableTagHeader(1, 1, 3) + QXData(3)).sampleCount, 0U);
}

TEST(QXPrivateTableDeathTest, StopsTheProgramForOneOrTwoChannels)
{
    EXPECT_DEATH(privateTable(tableTagHeader(1, 1, 1) + QXData(1)), "bytes != nil");
    EXPECT_DEATH(privateTable(tableTagHeader(2, 1, 1) + QXData(2)), "bytes != nil");
}

TEST(QXColorProfile, WritesTheDescriptionOfNightpaneInto63Bytes)
{
    QXColorProfile profile = colorProfileOf({});
    QXColorProfileSetDescription(profile, "Nightpane");
    EXPECT_EQ(tagOf(profile, QXDescriptionTag),
              (QXData{'d', 'e', 's', 'c', 0,   0,   0,   0,   0,   0,   0, 10,                             //
                      'N', 'i', 'g', 'h', 't', 'p', 'a', 'n', 'e', 0,                          //
                      0,   0,   0,   0,   0,   0,   0,   10,                                                 //
                      0,   'N', 0,   'i', 0,   'g', 0,   'h', 0,   't', 0, 'p', 0, 'a', 0, 'n', 0, 'e', 0, 0, //
                      0,   0,   10,                                                                //
                      'N', 'i', 'g', 'h', 't', 'p', 'a', 'n', 'e', 0}));
    EXPECT_EQ(tagOf(profile, QXDescriptionTag).size(), 63U);
}

TEST(QXColorProfile, WidensEachByteOfADescriptionWithItsSign)
{
    QXColorProfile profile = colorProfileOf({});
    QXColorProfileSetDescription(profile, "\xC3\xA9\x7F\x80"); // not decoded, and not even valid at its end
    EXPECT_EQ(tagOf(profile, QXDescriptionTag), (QXData{'d',  'e',  's',  'c',  0, 0,    0,    0,    0, 0, 0, 5, //
                                                        0xC3, 0xA9, 0x7F, 0x80, 0, //
                                                        0,    0,    0,    0,    0, 0,    0,    5, //
                                                        0xFF, 0xC3, 0xFF, 0xA9, 0, 0x7F, 0xFF, 0x80, 0, 0, //
                                                        0,    0,    5, //
                                                        0xC3, 0xA9, 0x7F, 0x80, 0}));
}

TEST(QXColorProfile, WritesAnEmptyDescriptionInto27Bytes)
{
    QXColorProfile profile = colorProfileOf({});
    QXColorProfileSetDescription(profile, "");
    EXPECT_EQ(tagOf(profile, QXDescriptionTag),
              (QXData{'d', 'e', 's', 'c', 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0}));
}

TEST(QXColorProfile, CountsALongDescriptionInItsLow8BitsAtTheEnd)
{
    QXColorProfile profile = colorProfileOf({});
    const std::string name(299, 'n');
    QXColorProfileSetDescription(profile, name.c_str());
    const QXData tag = tagOf(profile, QXDescriptionTag);
    ASSERT_EQ(tag.size(), 23U + 4 * 300);
    EXPECT_EQ(QXData(tag.begin() + 8, tag.begin() + 12), (QXData{0, 0, 1, 44}));
    EXPECT_EQ(tag[22 + 3 * 300], 44);
}

TEST(QXColorProfile, RemovesTheLocalizedDescription)
{
    QXColorProfile profile = colorProfileOf({{"desc", bytesOf("old")}, {"dscm", bytesOf("localized")}});
    QXColorProfileSetDescription(profile, "Nightpane");
    EXPECT_FALSE(profile.tag(QXLocalizedDescriptionTag));
}

TEST(QXColorProfile, WritesTheBaseURLWithoutATerminator)
{
    QXColorProfile profile = colorProfileOf({});
    QXColorProfileSetBaseURL(profile, "file:///a%20b.icc");
    EXPECT_EQ(tagOf(profile, QXBaseURLTag), bytesOf("file:///a%20b.icc"));
    EXPECT_EQ(QXColorProfileCopyBaseURL(profile), "file:///a%20b.icc");
}

TEST(QXColorProfile, RemovesTheBaseURLWhenThereIsNone)
{
    QXColorProfile profile = colorProfileOf({{"NP^u", bytesOf("file:///a.icc")}});
    QXColorProfileSetBaseURL(profile, {});
    EXPECT_FALSE(profile.tag(QXBaseURLTag));
}

TEST(QXColorProfile, IsItsOwnBaseWithoutABaseURL)
{
    EXPECT_EQ(QXColorProfileCopyBaseURL(colorProfileOf({}, "file:///own.icc")), "file:///own.icc");
    EXPECT_EQ(QXColorProfileCopyBaseURL(colorProfileOf({})), std::nullopt);
}

TEST(QXColorProfile, TakesTheBaseURLBeforeItsOwn)
{
    const QXColorProfile profile = colorProfileOf({{"NP^u", bytesOf("file:///true.icc")}}, "file:///custom.icc");
    EXPECT_EQ(QXColorProfileCopyBaseURL(profile), "file:///true.icc");
}

TEST(QXColorProfile, HasNoBaseURLWhenTheTagHoldsNone)
{
    for (const char* text : {"", "no URL", "/usr/share/color/icc/a.icc", "file:", "\xFF\xFE", "file:///a\xC3\xA9",
                             "file:///a b", "file:///a%2"}) {
        const QXColorProfile profile = colorProfileOf({{"NP^u", bytesOf(text)}}, "file:///custom.icc");
        EXPECT_EQ(QXColorProfileCopyBaseURL(profile), std::nullopt) << text;
    }
}

TEST(QXColorProfile, YieldsTheTrueTableAndLocationAgainAfterManyRounds)
{
    QXColorProfile profile = colorProfileOf({{"vcgt", smallTag(65535, 13107, 0)}}, "file:///true.icc");
    for (int round = 0; round < 5; ++round) {
        const QXGammaTable base = QXColorProfileGetGammaTable(profile);
        EXPECT_TRUE(sameTable(base, flatTable(1.0F, 0.2F, 0.0F, 1)));
        const auto location = QXColorProfileCopyBaseURL(profile);
        EXPECT_EQ(location, "file:///true.icc");
        QXColorProfileSetDescription(profile, "Nightpane");
        QXColorProfileSetBaseURL(profile, location);
        QXColorProfileSetBaseGammaTable(profile, base);
        QXColorProfileSetGammaTable(profile, scaledTable(0.5F));
        const auto again = QXColorProfile::profileWithData(profile.copyData().value(), "file:///custom.icc");
        profile = again.value();
    }
}

TEST(QXColorProfile, IsACustomOneWithAPrivateTable)
{
    QXColorProfile profile = colorProfileOf({{"vcgt", smallTag(65535, 13107, 0)}});
    EXPECT_FALSE(QXColorProfileIsCustom(profile));
    QXColorProfileSetBaseURL(profile, "file:///true.icc");
    EXPECT_FALSE(QXColorProfileIsCustom(profile));
    QXColorProfileSetBaseGammaTable(profile, QXGammaTableIdentity());
    EXPECT_TRUE(QXColorProfileIsCustom(profile));
}

TEST(QXColorProfile, ShowsTheBaseTableWhenTheCustomOneIsTheSameToTheLastBit)
{
    QXColorProfile profile = colorProfileOf({{"vcgt", smallTag(65535, 13107, 0)}});
    EXPECT_FALSE(QXColorProfileShowsBaseTable(profile));
    QXGammaTable table = QXColorProfileGetGammaTable(profile);
    QXColorProfileSetBaseGammaTable(profile, table);
    QXColorProfileSetGammaTable(profile, table);
    EXPECT_TRUE(QXColorProfileShowsBaseTable(profile));
    table.greenTable[0] += 1.0F / 65535.0F;
    QXColorProfileSetGammaTable(profile, table);
    EXPECT_FALSE(QXColorProfileShowsBaseTable(profile));
}

TEST(QXColorProfile, ShowsTheBaseTableAlsoWhenThatHadToBeClamped)
{
    QXColorProfile profile = colorProfileOf({});
    QXGammaTable table = flatTable(1.25F, -0.25F, 0.3F);
    QXColorProfileSetBaseGammaTable(profile, table);
    QXGammaTableClamp(table); // as whoever shows it does
    QXColorProfileSetGammaTable(profile, table);
    EXPECT_TRUE(QXColorProfileShowsBaseTable(profile));
}

TEST(QXColorProfile, RefusesWhatIsNoProfile)
{
    EXPECT_EQ(QXColorProfile::profileWithData(bytesOf("text")).error(),
              "it is no usable ICC profile: it is shorter than a header");
}
