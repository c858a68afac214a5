#include "ScreenGamma/QXICCTagTable.h"

#include "ScreenGamma/QXBigEndian.h"
#include "Support/ColorProfiles.h"
#include "Support/Data/NPTestData.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace {

QXData brokenProfile(const std::string& name)
{
    std::ifstream file(NPTestDataFile("BrokenColorProfiles/" + name), std::ios::binary);
    EXPECT_TRUE(file) << name;
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string errorOf(QXData data)
{
    const auto table = QXICCTagTable::tableWithData(std::move(data));
    return table ? "no error" : table.error();
}

QXICCTagTable tableOf(const std::vector<NPTestTag>& tags)
{
    return QXICCTagTable::tableWithData(profileOf(tags)).value();
}

QXData tagOf(const QXICCTagTable& table, const char (&signature)[5])
{
    return dataOf(table.tag(QXMakeTagSignature(signature)).value());
}

constexpr QXTagSignature newTag = QXMakeTagSignature("NEW ");

} // namespace

TEST(QXICCTagTable, ReadsEveryTag)
{
    const QXICCTagTable table = tableOf({{"one ", bytesOf("1")}, {"two ", bytesOf("22222")}, {"none", {}}});
    EXPECT_EQ(tagOf(table, "one "), bytesOf("1"));
    EXPECT_EQ(tagOf(table, "two "), bytesOf("22222"));
    EXPECT_EQ(tagOf(table, "none"), QXData());
    EXPECT_FALSE(table.tag(QXMakeTagSignature("gone")));
}

TEST(QXICCTagTable, ReturnsAnUnchangedProfileAsItWas)
{
    QXData file = profileOf({{"one ", bytesOf("1")}}) + bytesOf("what follows the profile in the file");
    const QXICCTagTable table = QXICCTagTable::tableWithData(file).value();
    EXPECT_EQ(table.data(), file);
}

TEST(QXICCTagTable, ReturnsTheProfileAsItWasWhenATagThatIsNotThereIsRemoved)
{
    QXICCTagTable table = tableOf({{"one ", bytesOf("1")}});
    table.removeTag(newTag);
    EXPECT_EQ(table.data(), profileOf({{"one ", bytesOf("1")}}));
}

TEST(QXICCTagTable, WritesAChangedProfileAsItIsLaidOut)
{
    QXICCTagTable table = tableOf({{"one ", bytesOf("1")}, {"two ", bytesOf("22222")}});
    table.setTag(newTag, bytesOf("333"));
    QXData header = profileHeader(184);
    std::fill_n(header.begin() + 84, 16, std::uint8_t{0});
    const QXData expected = header + bigEndian32(3) + bytesOf("one ") + bigEndian32(168) + bigEndian32(1)
                            + bytesOf("two ") + bigEndian32(172) + bigEndian32(5) + bytesOf("NEW ")
                            + bigEndian32(180) + bigEndian32(3) + QXData{'1', 0, 0, 0}
                            + QXData{'2', '2', '2', '2', '2', 0, 0, 0} + QXData{'3', '3', '3', 0};
    EXPECT_EQ(table.data(), expected);
}

TEST(QXICCTagTable, ClearsTheProfileIDOfAChangedProfile)
{
    for (const std::uint32_t version : {0x02400000U, 0x04300000U}) {
        QXICCTagTable table = QXICCTagTable::tableWithData(profileOf({{"one ", {}}}, version)).value();
        table.setTag(newTag, {});
        const QXData data = table.data().value();
        EXPECT_EQ(QXData(data.begin() + 84, data.begin() + 100), QXData(16));
        EXPECT_EQ(QXBigEndian32(data, 8), version);
    }
}

TEST(QXICCTagTable, ReplacesATagInItsPlace)
{
    QXICCTagTable table = tableOf({{"one ", bytesOf("1")}, {"two ", bytesOf("2")}, {"tre ", bytesOf("3")}});
    table.setTag(QXMakeTagSignature("two "), bytesOf("longer than it was"));
    const std::vector<QXTagSignature> order = {QXMakeTagSignature("one "), QXMakeTagSignature("two "),
                                               QXMakeTagSignature("tre ")};
    EXPECT_EQ(table.signatures(), order);
    const QXICCTagTable again = QXICCTagTable::tableWithData(table.data().value()).value();
    EXPECT_EQ(again.signatures(), order);
    EXPECT_EQ(tagOf(again, "one "), bytesOf("1"));
    EXPECT_EQ(tagOf(again, "two "), bytesOf("longer than it was"));
    EXPECT_EQ(tagOf(again, "tre "), bytesOf("3"));
}

TEST(QXICCTagTable, KeepsSharedBytesShared)
{
    QXData file = profileOf({{"rTRC", bytesOf("abcd")}, {"gTRC", {}}, {"bTRC", {}}});
    for (const std::size_t entry : {144U, 156U}) {
        QXPutBigEndian32(file, entry + 4, 168);
        QXPutBigEndian32(file, entry + 8, 4);
    }
    QXICCTagTable table = QXICCTagTable::tableWithData(file).value();
    table.setTag(newTag, bytesOf("wxyz"));
    const QXData data = table.data().value();
    EXPECT_EQ(data.size(), 132U + 4 * 12 + 8);
    EXPECT_EQ(QXBigEndian32(data, 136), 180U);
    EXPECT_EQ(QXBigEndian32(data, 148), 180U);
    EXPECT_EQ(QXBigEndian32(data, 160), 180U);
}

TEST(QXICCTagTable, KeepsTheOthersOfASharedTagWhenOneIsSet)
{
    QXData file = profileOf({{"rTRC", bytesOf("abcd")}, {"gTRC", {}}});
    QXPutBigEndian32(file, 148, 156);
    QXPutBigEndian32(file, 152, 4);
    QXICCTagTable table = QXICCTagTable::tableWithData(file).value();
    table.setTag(QXMakeTagSignature("rTRC"), bytesOf("new!"));
    const QXICCTagTable again = QXICCTagTable::tableWithData(table.data().value()).value();
    EXPECT_EQ(tagOf(again, "rTRC"), bytesOf("new!"));
    EXPECT_EQ(tagOf(again, "gTRC"), bytesOf("abcd"));
}

TEST(QXICCTagTable, KeepsTagsThatOverlapInPart)
{
    QXData file = profileOf({{"one ", bytesOf("abcdefgh")}, {"two ", {}}});
    QXPutBigEndian32(file, 148, 158); // from the third byte of the first
    QXPutBigEndian32(file, 152, 5);
    QXICCTagTable table = QXICCTagTable::tableWithData(file).value();
    table.setTag(newTag, {});
    const QXICCTagTable again = QXICCTagTable::tableWithData(table.data().value()).value();
    EXPECT_EQ(tagOf(again, "one "), bytesOf("abcdefgh"));
    EXPECT_EQ(tagOf(again, "two "), bytesOf("cdefg"));
}

TEST(QXICCTagTable, KeepsTagsWhateverTheirOrderAndTheGapsBetweenThem)
{
    QXData file = profileOf({{"one ", {}}, {"two ", {}}}) + bytesOf("gap!TWO.hole1.tail");
    QXPutBigEndian32(file, 0, static_cast<std::uint32_t>(file.size()));
    QXPutBigEndian32(file, 136, 168); // "1."
    QXPutBigEndian32(file, 140, 2);
    QXPutBigEndian32(file, 148, 160); // "TWO."
    QXPutBigEndian32(file, 152, 4);
    QXICCTagTable table = QXICCTagTable::tableWithData(file).value();
    table.setTag(newTag, {});
    const QXICCTagTable again = QXICCTagTable::tableWithData(table.data().value()).value();
    EXPECT_EQ(tagOf(again, "one "), bytesOf("1."));
    EXPECT_EQ(tagOf(again, "two "), bytesOf("TWO."));
}

TEST(QXICCTagTable, ReadsTheFirstOfSeveralTagsWithOneSignature)
{
    EXPECT_EQ(tagOf(tableOf({{"same", bytesOf("1")}, {"same", bytesOf("2")}}), "same"), bytesOf("1"));
}

TEST(QXICCTagTable, LeavesOneTagWhenSeveralHadTheSignature)
{
    QXICCTagTable table = tableOf({{"same", bytesOf("1")}, {"tag ", bytesOf("2")}, {"same", bytesOf("3")}});
    table.setTag(QXMakeTagSignature("same"), bytesOf("4"));
    EXPECT_EQ(table.signatures(),
              (std::vector<QXTagSignature>{QXMakeTagSignature("same"), QXMakeTagSignature("tag ")}));
    table.removeTag(QXMakeTagSignature("same"));
    EXPECT_FALSE(table.tag(QXMakeTagSignature("same")));
}

TEST(QXICCTagTable, LeavesACopyAloneWhenTheOtherIsChanged)
{
    const QXICCTagTable original = tableOf({{"one ", bytesOf("1")}});
    QXICCTagTable copy = original;
    copy.setTag(QXMakeTagSignature("one "), bytesOf("changed"));
    EXPECT_EQ(tagOf(original, "one "), bytesOf("1"));
    EXPECT_EQ(original.data(), profileOf({{"one ", bytesOf("1")}}));
}

TEST(QXICCTagTable, RefusesToWriteMoreTagsThanItReads)
{
    QXICCTagTable table = tableOf({});
    for (std::uint32_t i = 0; i <= QXICCTagTable::mostTags; ++i) {
        table.setTag(0x41410000 + i, {});
    }
    EXPECT_EQ(table.data().error(), "the profile would have 1001 tags and 12144 bytes");
}

TEST(QXICCTagTable, RefusesToWriteAProfileThatIsTooLarge)
{
    QXICCTagTable table = tableOf({});
    table.setTag(newTag, QXData(QXICCTagTable::largestSize));
    EXPECT_EQ(table.data().error(), "the profile would have 1 tags and 67109008 bytes");
}

TEST(QXICCTagTable, ReadsAProfileWithoutTags)
{
    EXPECT_TRUE(tableOf({}).signatures().empty());
}

TEST(QXICCTagTable, ExplainsBrokenProfiles)
{
    const std::string start = "it is no usable ICC profile: ";
    const std::vector<std::pair<std::string, std::string>> expected = {
        {"Empty.icc", "it is shorter than a header"},
        {"HeaderOnly.icc", "it is shorter than a header"},
        {"NoSignature.icc", "it does not have the signature \"acsp\""},
        {"Truncated.icc", "its header says 180 bytes, and it has 170"},
        {"SizeBelowHeader.icc", "its header says 131 bytes, and it has 180"},
        {"SizeHuge.icc", "its header says 4294967295 bytes, and it has 180"},
        {"TableBeyondEnd.icc", "it ends within its table of tags"},
        {"CountHuge.icc", "it has 4294967295 tags"},
        {"TagBeyondEnd.icc", "tag 2 lies outside of it"},
        {"TagWrapsAround.icc", "tag 1 lies outside of it"},
        {"TagInHeader.icc", "tag 1 lies outside of it"},
        {"TagInTable.icc", "tag 2 lies outside of it"},
    };
    for (const auto& [name, reason] : expected) {
        EXPECT_EQ(errorOf(brokenProfile(name)), start + reason) << name;
    }
}

TEST(QXICCTagTable, RefusesTagsThatOverlapIntoSomethingHuge)
{
    QXData file = profileOf(std::vector<NPTestTag>(600, {"tag ", {}})) + QXData(std::size_t{1} << 20);
    QXPutBigEndian32(file, 0, static_cast<std::uint32_t>(file.size()));
    for (std::uint32_t i = 0; i < 600; ++i) {
        const std::uint32_t entry = 132 + 12 * i;
        QXPutBigEndian32(file, entry + 4, 132 + 12 * 600 + i);
        QXPutBigEndian32(file, entry + 8, (1U << 20) - i);
    }
    EXPECT_EQ(errorOf(file), "it is no usable ICC profile: its tags are larger than 67108864 bytes");
}

TEST(QXICCTagTable, RefusesAFileThatIsTooLarge)
{
    QXData file = profileOf({});
    file.resize(QXICCTagTable::largestSize + 1);
    EXPECT_EQ(errorOf(std::move(file)), "it is no usable ICC profile: it is larger than 67108864 bytes");
}
