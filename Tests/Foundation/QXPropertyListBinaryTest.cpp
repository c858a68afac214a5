// The binary form of property lists, against bytes written by hand.
#include "Foundation/QXPropertyList.h"

#include "Support/PropertyLists.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>

namespace {

QXData operator+(QXData left, const QXData& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

QXData bigEndian(std::uint64_t number, std::size_t width)
{
    QXData bytes(width);
    for (std::size_t i = 0; i < width && i < 8; ++i) {
        bytes[width - 1 - i] = static_cast<std::uint8_t>(number >> (8 * i));
    }
    return bytes;
}

const QXData magic = {'b', 'p', 'l', 'i', 's', 't', '0', '0'};

QXData trailer(std::size_t offsetWidth, std::size_t referenceWidth, std::uint64_t objectCount, std::uint64_t root,
               std::uint64_t tableOffset)
{
    return QXData(6) + bigEndian(offsetWidth, 1) + bigEndian(referenceWidth, 1) + bigEndian(objectCount, 8)
           + bigEndian(root, 8) + bigEndian(tableOffset, 8);
}

// A file of these objects, the first one its root, with references of one byte unless said otherwise.
QXData fileOf(const std::vector<QXData>& objects, std::size_t offsetWidth = 2, std::size_t referenceWidth = 1)
{
    QXData file = magic;
    QXData table;
    for (const QXData& object : objects) {
        table = table + bigEndian(file.size(), offsetWidth);
        file = file + object;
    }
    const std::size_t tableOffset = file.size();
    return file + table + trailer(offsetWidth, referenceWidth, objects.size(), 0, tableOffset);
}

std::expected<QXValue, std::string> valueOf(const std::vector<QXData>& objects)
{
    return QXPropertyListFromData(fileOf(objects));
}

std::string errorFor(const std::vector<QXData>& objects)
{
    return errorOf(valueOf(objects));
}

void expectInteger(const QXData& object, const QXValue& integer)
{
    const auto value = valueOf({object});
    ASSERT_TRUE(value) << value.error();
    EXPECT_TRUE(identical(*value, integer));
    const auto data = QXPropertyListBinaryData(integer);
    EXPECT_EQ(QXData(data->begin() + 8, data->begin() + 8 + static_cast<std::ptrdiff_t>(object.size())), object);
}

// {"a": [true, -1, 258], "b": "é"}
const QXValue sample = QXDictionary{{"a", QXArray{true, -1, 258}}, {"b", "é"}};
const QXData sampleBytes = {
    'b',  'p',  'l',  'i',  's',  't',  '0',  '0',        // 0: magic
    0xD2, 0x01, 0x02, 0x03, 0x07,                         // 8: dictionary of two: keys 1 and 2, values 3 and 7
    0x51, 'a',                                            // 13
    0x51, 'b',                                            // 15
    0xA3, 0x04, 0x05, 0x06,                               // 17: array of three
    0x09,                                                 // 21: true
    0x13, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, // 22: -1
    0x11, 0x01, 0x02,                                     // 31: 258
    0x61, 0x00, 0xE9,                                     // 34: one UTF-16 unit
    8,    13,   15,   17,   21,   22,   31,   34,         // 37: offsets
    0,    0,    0,    0,    0,    0,    1,    1,          // 45: widths of offsets and references
    0,    0,    0,    0,    0,    0,    0,    8,          // how many objects
    0,    0,    0,    0,    0,    0,    0,    0,          // which of them is the root
    0,    0,    0,    0,    0,    0,    0,    37,         // where the offsets lie
};

} // namespace

TEST(QXPropertyListBinary, WritesTheBytesOfTheFormat)
{
    EXPECT_EQ(QXPropertyListBinaryData(sample), sampleBytes);
}

TEST(QXPropertyListBinary, ReadsTheBytesOfTheFormat)
{
    const auto value = QXPropertyListFromData(sampleBytes);
    ASSERT_TRUE(value) << value.error();
    EXPECT_TRUE(identical(*value, sample));
}

TEST(QXPropertyListBinary, StoresEqualTextsOnce)
{
    const auto data = QXPropertyListBinaryData(QXArray{"aa", "aa", QXDictionary{{"aa", "aa"}}});
    EXPECT_EQ(data, fileOf({{0xA3, 1, 1, 2}, {0x52, 'a', 'a'}, {0xD1, 1, 1}}, 1));
}

TEST(QXPropertyListBinary, WidensReferencesAndOffsetsWithTheFile)
{
    const auto small = QXPropertyListBinaryData(QXArray(255, true));
    EXPECT_EQ((*small)[small->size() - 25], 1);
    const auto wide = QXPropertyListBinaryData(QXArray(256, true));
    EXPECT_EQ((*wide)[wide->size() - 25], 2);
    EXPECT_EQ((*wide)[wide->size() - 26], 2);
    const auto far = QXPropertyListBinaryData(QXArray{QXData(65536), true});
    EXPECT_EQ((*far)[far->size() - 26], 4);
    EXPECT_EQ(QXPropertyListFromData(*wide), QXValue(QXArray(256, true)));
    EXPECT_EQ(QXPropertyListFromData(*far), QXValue(QXArray{QXData(65536), true}));
}

TEST(QXPropertyListBinary, KeepsIntegersOfEveryRange)
{
    expectInteger({0x10, 0}, 0);
    expectInteger({0x10, 0xFF}, 255);
    expectInteger({0x11, 0x01, 0x00}, 256);
    expectInteger({0x11, 0xFF, 0xFF}, 65535);
    expectInteger({0x12, 0, 1, 0, 0}, 65536);
    expectInteger({0x12, 0xFF, 0xFF, 0xFF, 0xFF}, std::int64_t{4294967295});
    expectInteger({0x13, 0, 0, 0, 1, 0, 0, 0, 0}, std::int64_t{4294967296});
    expectInteger({0x13, 0x7F, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF},
                  std::numeric_limits<std::int64_t>::max());
    expectInteger({0x13, 0x80, 0, 0, 0, 0, 0, 0, 0}, std::numeric_limits<std::int64_t>::min());
    expectInteger({0x14, 0, 0, 0, 0, 0, 0, 0, 0, 0x80, 0, 0, 0, 0, 0, 0, 0}, std::uint64_t{9223372036854775808u});
    expectInteger({0x14, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF},
                  std::numeric_limits<std::uint64_t>::max());
}

TEST(QXPropertyListBinary, ReadsSixteenBytesThatFitSixtyFourBits)
{
    const QXData ones(8, 0xFF);
    const QXData zeros(8, 0);
    EXPECT_EQ(valueOf({QXData{0x14} + zeros + bigEndian(5, 8)}), QXValue(5));
    EXPECT_EQ(valueOf({QXData{0x14} + ones + ones}), QXValue(-1));
    EXPECT_EQ(errorFor({QXData{0x14} + ones + zeros}),
              "binary property list: object 0 is an integer of more than 64 bits");
    EXPECT_EQ(errorFor({QXData{0x14} + bigEndian(1, 8) + zeros}),
              "binary property list: object 0 is an integer of more than 64 bits");
}

TEST(QXPropertyListBinary, KeepsEveryBitOfRealsAndDates)
{
    const double numbers[] = {0.1, -0.0, 5e-324, std::bit_cast<double>(std::uint64_t{0xFFF8000000000001}),
                              -std::numeric_limits<double>::infinity()};
    for (const double number : numbers) {
        for (const QXValue& value : {QXValue(number), QXValue(QXDate{number})}) {
            const auto data = QXPropertyListBinaryData(value);
            const std::uint8_t marker = value.date() ? 0x33 : 0x23;
            EXPECT_EQ(data, fileOf({QXData{marker} + bigEndian(std::bit_cast<std::uint64_t>(number), 8)}, 1));
            EXPECT_TRUE(identical(*QXPropertyListFromData(*data), value));
        }
    }
}

TEST(QXPropertyListBinary, WidensFourByteRealsExactly)
{
    EXPECT_TRUE(identical(*valueOf({{0x22, 0x3D, 0xCC, 0xCC, 0xCD}}), 0.100000001490116119384765625));
}

TEST(QXPropertyListBinary, ReadsTextsOfBothKinds)
{
    EXPECT_EQ(valueOf({{0x53, 'a', 0, 'b'}}), QXValue(std::string("a\0b", 3)));
    EXPECT_EQ(valueOf({{0x63, 0x20, 0xAC, 0xD8, 0x3C, 0xDF, 0x19}}), QXValue("\u20AC\U0001F319"));
}

TEST(QXPropertyListBinary, RefusesTextThatIsNone)
{
    EXPECT_EQ(errorFor({{0x51, 0xE9}}), "binary property list: object 0 is an ASCII text with other bytes");
    EXPECT_EQ(errorFor({{0x61, 0xD8, 0x3C}}),
              "binary property list: object 0 is a text with half a surrogate pair");
}

TEST(QXPropertyListBinary, ReadsCountsBehindTheMarker)
{
    const QXData bytes(300, 7);
    EXPECT_EQ(valueOf({QXData{0x4F, 0x11, 0x01, 0x2C} + bytes}), QXValue(bytes));
    EXPECT_EQ(valueOf({QXData{0x4F, 0x13, 0, 0, 0, 0, 0, 0, 0x01, 0x2C} + bytes}), QXValue(bytes));
    EXPECT_EQ(QXPropertyListBinaryData(QXData(14)), fileOf({QXData{0x4E} + QXData(14)}, 1));
    EXPECT_EQ(QXPropertyListBinaryData(QXData(15)), fileOf({QXData{0x4F, 0x10, 15} + QXData(15)}, 1));
}

TEST(QXPropertyListBinary, RefusesCountsThatLeaveTheFile)
{
    const std::string beyond = "binary property list: object 0 reaches beyond the objects' end";
    for (const std::uint8_t kind : QXData{0x40, 0x50, 0x60, 0xA0, 0xD0}) {
        EXPECT_EQ(errorFor({{static_cast<std::uint8_t>(kind | 3), 0}}), beyond);
        EXPECT_EQ(errorFor({{static_cast<std::uint8_t>(kind | 15)}}), beyond);
        EXPECT_EQ(errorFor({{static_cast<std::uint8_t>(kind | 15), 0x13}}), beyond);
        EXPECT_EQ(errorFor({QXData{static_cast<std::uint8_t>(kind | 15), 0x13} + QXData(8, 0xFF)}), beyond);
        EXPECT_EQ(errorFor({QXData{static_cast<std::uint8_t>(kind | 15), 0x13, 0x80} + QXData(7)}), beyond);
    }
    EXPECT_EQ(errorFor({{0x13, 0, 0}}), beyond);
    EXPECT_EQ(errorFor({{0x23, 0, 0}}), beyond);
    EXPECT_EQ(errorFor({{0x4F, 0x51, 'a'}}), "binary property list: object 0 has a count that is no integer");
}

TEST(QXPropertyListBinary, ReadsReferencesAndOffsetsOfEveryWidth)
{
    for (std::size_t offsetWidth = 1; offsetWidth <= 8; ++offsetWidth) {
        for (std::size_t referenceWidth = 1; referenceWidth <= 8; ++referenceWidth) {
            const QXData array = QXData{0xA2} + bigEndian(1, referenceWidth) + bigEndian(2, referenceWidth);
            const QXData file = fileOf({array, {0x09}, {0x08}}, offsetWidth, referenceWidth);
            EXPECT_EQ(QXPropertyListFromData(file), QXValue(QXArray{true, false}));
        }
    }
}

TEST(QXPropertyListBinary, RefusesKindsThatValuesDoNotHave)
{
    const std::string object = "binary property list: object 0 ";
    EXPECT_EQ(errorFor({{0x80, 5}}), object + "is a UID, which settings do not have");
    EXPECT_EQ(errorFor({{0xC0}}), object + "is a set, which settings do not have");
    EXPECT_EQ(errorFor({{0xB0}}), object + "is a set, which settings do not have");
    EXPECT_EQ(errorFor({{0x00}}), object + "is null, which settings do not have");
    EXPECT_EQ(errorFor({{0x0F}}), object + "is of an unknown kind");
    EXPECT_EQ(errorFor({{0x71, 'a'}}), object + "is of an unknown kind");
    EXPECT_EQ(errorFor({QXData{0x15} + QXData(32)}), object + "is an integer of an unknown size");
    EXPECT_EQ(errorFor({{0x21, 0, 0}}), object + "is a real of an unknown size");
    EXPECT_EQ(errorFor({{0x32, 0, 0, 0, 0}}), object + "is a date of an unknown size");
}

TEST(QXPropertyListBinary, RefusesBadDictionaries)
{
    const std::string object = "binary property list: object 0 ";
    EXPECT_EQ(errorFor({{0xD2, 1, 1, 2, 2}, {0x51, 'k'}, {0x09}}), object + "has the key \"k\" twice");
    EXPECT_EQ(errorFor({{0xD1, 1, 1}, {0x09}}), object + "has a key that is no text");
    EXPECT_EQ(errorFor({{0xD1, 1, 2}, {0x51, 'k'}}), object + "refers to an object that is not there");
}

TEST(QXPropertyListBinary, RefusesObjectsThatContainThemselves)
{
    EXPECT_EQ(errorFor({{0xA1, 0}}), "binary property list: object 0 contains itself");
    EXPECT_EQ(errorFor({{0xA1, 1}, {0xD1, 2, 0}, {0x51, 'k'}}), "binary property list: object 1 contains itself");
}

TEST(QXPropertyListBinary, RefusesNestingBeyondTheLimit)
{
    std::vector<QXData> objects;
    for (std::uint8_t i = 1; i < 129; ++i) {
        objects.push_back({0xA1, i});
    }
    objects.push_back({0x09});
    EXPECT_TRUE(valueOf(objects));
    objects.back() = {0xA0};
    EXPECT_EQ(errorFor(objects), "binary property list: object 128 is nested more than 128 deep");
}

TEST(QXPropertyListBinary, RefusesAMillionNestedArrays)
{
    std::vector<QXData> objects;
    constexpr std::uint64_t count = 1000000;
    QXData file = magic;
    QXData table;
    for (std::uint64_t i = 1; i <= count; ++i) {
        const QXData offset = bigEndian(file.size(), 4);
        table.insert(table.end(), offset.begin(), offset.end());
        const QXData object = QXData{0xA1} + bigEndian(i % count, 4);
        file.insert(file.end(), object.begin(), object.end());
    }
    const std::size_t tableOffset = file.size();
    EXPECT_EQ(errorOf(QXPropertyListFromData(file + table + trailer(4, 4, count, 0, tableOffset))),
              "binary property list: object 128 is nested more than 128 deep");
}

// Each array holds the next one ten times: a few hundred bytes stand for ten to the thirtieth values.
TEST(QXPropertyListBinary, RefusesSharedReferencesThatMultiply)
{
    std::vector<QXData> objects;
    for (std::uint8_t i = 1; i <= 30; ++i) {
        objects.push_back(QXData{0xAA} + QXData(10, i));
    }
    objects.push_back({0x09});
    const std::string error = errorFor(objects);
    EXPECT_TRUE(error.ends_with(" leads to more than 1048576 values and keys")) << error;
}

TEST(QXPropertyListBinary, RefusesSharedTextsThatMultiply)
{
    const QXData text = QXData{0x5F, 0x12} + bigEndian(1 << 20, 4) + QXData(1 << 20, 'x');
    const QXData array = QXData{0xAF, 0x11} + bigEndian(1000, 2) + QXData(1000, 1);
    EXPECT_EQ(errorOf(QXPropertyListFromData(fileOf({array, text}, 4))),
              "binary property list: object 1 leads to more than 67108864 bytes of text and data");
}

TEST(QXPropertyListBinary, ReadsSharedObjectsAtEachPlace)
{
    EXPECT_EQ(valueOf({{0xA3, 1, 1, 2}, {0xA1, 2}, {0x51, 'a'}}),
              QXValue(QXArray{QXArray{"a"}, QXArray{"a"}, "a"}));
}

TEST(QXPropertyListBinary, CountsKeysAndValuesAgainstTheLimit)
{
    const QXData file = fileOf({{0xD1, 1, 2}, {0x51, 'k'}, {0x09}});
    EXPECT_TRUE(QXPropertyListFromData(file, {.nodes = 3}));
    EXPECT_EQ(errorOf(QXPropertyListFromData(file, {.nodes = 2})),
              "binary property list: object 0 leads to more than 2 values and keys");
}

TEST(QXPropertyListBinary, RefusesTrailersThatDoNotFit)
{
    const std::string error = "binary property list: the trailer does not fit the file";
    const QXData object = {0x09};
    const auto errorOfTrailer = [&](const QXData& bytes) {
        return errorOf(QXPropertyListFromData(magic + object + QXData{8} + bytes));
    };
    EXPECT_EQ(errorOfTrailer(trailer(1, 1, 1, 0, 9)), "no error");
    EXPECT_EQ(errorOfTrailer(trailer(0, 1, 1, 0, 9)), error);
    EXPECT_EQ(errorOfTrailer(trailer(9, 1, 1, 0, 9)), error);
    EXPECT_EQ(errorOfTrailer(trailer(1, 0, 1, 0, 9)), error);
    EXPECT_EQ(errorOfTrailer(trailer(1, 9, 1, 0, 9)), error);
    EXPECT_EQ(errorOfTrailer(trailer(1, 1, 0, 0, 9)), error);
    EXPECT_EQ(errorOfTrailer(trailer(1, 1, 2, 0, 9)), error);
    EXPECT_EQ(errorOfTrailer(trailer(1, 1, std::uint64_t{1} << 63, 0, 9)), error);
    EXPECT_EQ(errorOfTrailer(trailer(1, 1, 1, 1, 9)), error);
    EXPECT_EQ(errorOfTrailer(trailer(1, 1, 1, 0, 8)), error);
    EXPECT_EQ(errorOfTrailer(trailer(1, 1, 1, 0, 10)), error);
    EXPECT_EQ(errorOfTrailer(trailer(1, 1, 1, 0, ~std::uint64_t{0})), error);
    EXPECT_EQ(errorOfTrailer(QXData(6)), "binary property list: the file is too short");
}

TEST(QXPropertyListBinary, RefusesOffsetsOutsideTheObjects)
{
    const std::string error = "binary property list: object 0 lies outside the objects";
    for (const std::uint8_t offset : QXData{0, 7, 9, 255}) {
        EXPECT_EQ(errorOf(QXPropertyListFromData(magic + QXData{0x09, offset} + trailer(1, 1, 1, 0, 9))), error);
    }
}

TEST(QXPropertyListBinary, RefusesEveryTruncationAndExtension)
{
    for (std::size_t length = 0; length < sampleBytes.size(); ++length) {
        EXPECT_FALSE(QXPropertyListFromData(std::span(sampleBytes).first(length))) << length;
    }
    EXPECT_FALSE(QXPropertyListFromData(sampleBytes + QXData{0}));
    EXPECT_FALSE(QXPropertyListFromData(sampleBytes + QXData{'\n'}));
}

TEST(QXPropertyListBinary, AnswersEveryChangedByteWithAValueOrOneLine)
{
    for (std::size_t i = 0; i < sampleBytes.size(); ++i) {
        for (int byte = 0; byte < 256; ++byte) {
            QXData changed = sampleBytes;
            changed[i] = static_cast<std::uint8_t>(byte);
            const auto value = QXPropertyListFromData(changed);
            if (value) {
                EXPECT_TRUE(QXPropertyListBinaryData(*value));
            } else {
                EXPECT_EQ(value.error().find('\n'), std::string::npos);
                EXPECT_FALSE(value.error().empty());
            }
        }
    }
}
