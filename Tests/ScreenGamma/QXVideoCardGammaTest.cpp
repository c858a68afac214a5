#include "ScreenGamma/QXVideoCardGamma.h"

#include "Support/ColorProfiles.h"

#include <gtest/gtest.h>

namespace {

std::vector<float> valuesOf(const QXData& tag)
{
    const auto tables = QXDisplayTransferTablesFromVCGT(tag);
    EXPECT_TRUE(tables);
    return tables ? tables->values : std::vector<float>();
}

QXData formulaTag(const std::vector<std::uint32_t>& numbers)
{
    QXData tag = bytesOf("vcgt") + bigEndian32(0) + bigEndian32(1);
    for (const std::uint32_t number : numbers) {
        tag = tag + bigEndian32(number);
    }
    return tag;
}

constexpr std::uint32_t one = 0x10000;

} // namespace

TEST(QXDisplayTransferTables, ReadsThreeChannelsOf16Bits)
{
    const QXData tag = tableTagHeader(3, 2, 2) + bigEndian16(0) + bigEndian16(65535) + bigEndian16(257)
                       + bigEndian16(514) + bigEndian16(32768) + bigEndian16(1);
    EXPECT_EQ(valuesOf(tag),
              (std::vector<float>{0.0F, 1.0F, 257 / 65535.0F, 514 / 65535.0F, 32768 / 65535.0F, 1 / 65535.0F}));
}

TEST(QXDisplayTransferTables, ReadsThreeChannelsOf8Bits)
{
    const QXData tag = tableTagHeader(3, 2, 1) + QXData{0, 255, 1, 2, 128, 64};
    EXPECT_EQ(valuesOf(tag), (std::vector<float>{0.0F, 1.0F, 1 / 255.0F, 2 / 255.0F, 128 / 255.0F, 64 / 255.0F}));
}

TEST(QXDisplayTransferTables, UsesASingleChannelForAllThree)
{
    const QXData tag = tableTagHeader(1, 2, 1) + QXData{51, 255};
    EXPECT_EQ(valuesOf(tag), (std::vector<float>{0.2F, 1.0F, 0.2F, 1.0F, 0.2F, 1.0F}));
}

TEST(QXDisplayTransferTables, ReadsATableOfOneEntry)
{
    EXPECT_EQ(valuesOf(tableTagHeader(3, 1, 1) + QXData{255, 0, 51}), (std::vector<float>{1.0F, 0.0F, 0.2F}));
}

TEST(QXDisplayTransferTables, KeepsATableOf256Entries)
{
    QXData tag = tableTagHeader(1, 256, 2);
    for (std::uint32_t i = 0; i < 256; ++i) {
        tag = tag + bigEndian16(i * 255);
    }
    const auto tables = QXDisplayTransferTablesFromVCGT(tag).value();
    EXPECT_EQ(tables.count, 256U);
    for (std::uint32_t i = 0; i < 256; ++i) {
        EXPECT_EQ(tables.values[i], static_cast<float>(i * 255) / 65535.0F);
    }
}

TEST(QXDisplayTransferTables, ResamplesALongerTableBetweenItsEntries)
{
    // Entries 0, 10, 20, … of 1024: sample i lies at entry 1023 i / 255.
    QXData tag = tableTagHeader(3, 1024, 2);
    for (int channel = 0; channel < 3; ++channel) {
        for (std::uint32_t i = 0; i < 1024; ++i) {
            tag = tag + bigEndian16(10 * i);
        }
    }
    const auto tables = QXDisplayTransferTablesFromVCGT(tag).value();
    EXPECT_EQ(tables.count, 256U);
    ASSERT_EQ(tables.values.size(), 768U);
    for (std::size_t i = 0; i < 768; ++i) {
        const double position = static_cast<double>(i % 256) * 1023 / 255;
        EXPECT_NEAR(static_cast<double>(tables.values[i]), 10 * position / 65535, 2e-8) << i;
    }
}

TEST(QXDisplayTransferTables, KeepsTheEndsOfALongerTable)
{
    for (const std::uint32_t count : {257U, 300U, 511U, 4096U, 65535U}) {
        QXData tag = tableTagHeader(1, count, 1) + QXData(count, 128);
        tag[18] = 3;
        tag.back() = 250;
        const std::vector<float> values = valuesOf(tag);
        EXPECT_EQ(values.front(), 3 / 255.0F) << count;
        EXPECT_EQ(values[255], 250 / 255.0F) << count;
        EXPECT_EQ(values[128], 128 / 255.0F) << count;
    }
}

TEST(QXDisplayTransferTables, TakesEveryOtherEntryOfATableTwiceAsDense)
{
    QXData tag = tableTagHeader(1, 511, 2);
    for (std::uint32_t i = 0; i < 511; ++i) {
        tag = tag + bigEndian16(i * i / 4);
    }
    const std::vector<float> values = valuesOf(tag);
    for (std::uint32_t i = 0; i < 256; ++i) {
        EXPECT_EQ(values[i], static_cast<float>(i * i) / 65535.0F) << i;
    }
}

TEST(QXDisplayTransferTables, IgnoresWhatFollowsTheEntries)
{
    EXPECT_EQ(valuesOf(tableTagHeader(3, 1, 1) + QXData{255, 0, 51, 77}), (std::vector<float>{1.0F, 0.0F, 0.2F}));
}

TEST(QXDisplayTransferTables, AreNoneForAnythingElse)
{
    const QXData whole = tableTagHeader(3, 2, 2) + QXData(12);
    ASSERT_TRUE(QXDisplayTransferTablesFromVCGT(whole));
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_FALSE(QXDisplayTransferTablesFromVCGT(std::span(whole).first(size))) << size;
    }
    for (const auto& [channels, count, size] : {std::tuple{0U, 2U, 2U},
                                                {2U, 2U, 2U},
                                                {4U, 2U, 2U},
                                                {3U, 0U, 2U},
                                                {3U, 2U, 0U},
                                                {3U, 2U, 3U},
                                                {3U, 2U, 4U},
                                                {65535U, 65535U, 65535U}}) {
        EXPECT_FALSE(QXDisplayTransferTablesFromVCGT(tableTagHeader(channels, count, size) + QXData(100)))
            << channels << ' ' << count << ' ' << size;
    }
    QXData otherType = whole;
    otherType[3] = 'T';
    EXPECT_FALSE(QXDisplayTransferTablesFromVCGT(otherType));
    EXPECT_FALSE(QXDisplayTransferTablesFromVCGT(formulaTag(std::vector<std::uint32_t>(9, one))));
}

TEST(QXDisplayTransferFormula, ReadsGammaMinimumAndMaximumOfEachChannel)
{
    QXDisplayTransferFormulas formulas;
    EXPECT_TRUE(QXDisplayTransferFormulaFromVCGT(
        formulaTag({2 * one, one / 4, one / 2, one + one / 2, 0, one, one, 0xFFFF8000, one + 1}), formulas));
    EXPECT_EQ(formulas[0].gamma, 2.0);
    EXPECT_EQ(formulas[0].minimum, 0.25);
    EXPECT_EQ(formulas[0].maximum, 0.5);
    EXPECT_EQ(formulas[1].gamma, 1.5);
    EXPECT_EQ(formulas[2].minimum, -0.5);
    EXPECT_EQ(formulas[2].maximum, 1.0 + 1.0 / 65536);
}

TEST(QXDisplayTransferFormula, UsesASingleChannelForAllThree)
{
    QXDisplayTransferFormulas formulas;
    EXPECT_TRUE(QXDisplayTransferFormulaFromVCGT(formulaTag({2 * one, one / 4, one / 2}), formulas));
    for (const QXDisplayTransferFormula& formula : formulas) {
        EXPECT_EQ(formula.gamma, 2.0);
        EXPECT_EQ(formula.minimum, 0.25);
        EXPECT_EQ(formula.maximum, 0.5);
    }
}

TEST(QXDisplayTransferFormula, LeavesTheFormulasAloneForAnythingElse)
{
    const QXData whole = formulaTag(std::vector<std::uint32_t>(9, 2 * one));
    QXDisplayTransferFormulas formulas;
    for (std::size_t size = 0; size < whole.size(); ++size) {
        if (size != 24) { // one whole channel
            EXPECT_FALSE(QXDisplayTransferFormulaFromVCGT(std::span(whole).first(size), formulas)) << size;
        }
    }
    EXPECT_FALSE(QXDisplayTransferFormulaFromVCGT(tableTagHeader(3, 8, 2) + QXData(48), formulas));
    QXData otherForm = whole;
    otherForm[11] = 2;
    EXPECT_FALSE(QXDisplayTransferFormulaFromVCGT(otherForm, formulas));
    EXPECT_EQ(formulas[0].gamma, 1.0);
    EXPECT_EQ(formulas[2].maximum, 1.0);
}
