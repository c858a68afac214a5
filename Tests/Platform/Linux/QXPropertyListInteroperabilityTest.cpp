// Property lists against other programs' readers and writers: Python's plistlib, and plistutil.
#include "Foundation/QXPropertyList.h"

#include "Platform/Linux/NPTemporaryFolder.h"
#include "Support/PropertyLists.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <limits>

namespace {

constexpr const char* python = "/usr/bin/python3";
constexpr const char* plistutil = "/usr/bin/plistutil";
constexpr const char* localedef = "/usr/bin/localedef";

std::string hexadecimal(std::uint64_t number, int digits)
{
    std::string text;
    for (int i = digits; i-- > 0;) {
        text += "0123456789abcdef"[number >> (4 * i) & 15];
    }
    return text;
}

template<class Bytes> std::string hexadecimal(const Bytes& bytes)
{
    std::string text;
    for (const auto byte : bytes) {
        text += hexadecimal(static_cast<unsigned char>(byte), 2);
    }
    return text;
}

// A value as text, its kind and every bit visible, a line for each entry. The Python program below writes the same.
std::string described(const QXValue& value)
{
    const auto bits = [](double real) { return hexadecimal(std::bit_cast<std::uint64_t>(real), 16); };
    std::string text;
    switch (value.kind()) {
    case QXValue::Kind::boolean:
        return *value.boolean() ? "true" : "false";
    case QXValue::Kind::integer:
        return std::to_string(*value.integer());
    case QXValue::Kind::unsignedInteger:
        return std::to_string(static_cast<std::uint64_t>(*value.integer()));
    case QXValue::Kind::real:
        return "real " + bits(*value.real());
    case QXValue::Kind::string:
        return "text " + hexadecimal(*value.string());
    case QXValue::Kind::date:
        return "date " + bits(value.date()->timeIntervalSinceReferenceDate);
    case QXValue::Kind::data:
        return "data " + hexadecimal(*value.data());
    case QXValue::Kind::array:
        for (const QXValue& element : *value.array()) {
            text += described(element) + ", ";
        }
        return '[' + text + ']';
    case QXValue::Kind::dictionary:
        for (const auto& [key, element] : *value.dictionary()) {
            text += hexadecimal(key) + ": " + described(element) + ",\n";
        }
        return '{' + text + '}';
    }
    return {};
}

// "describe FILE" writes the description of a property list; "make xml|binary FILE" writes a property list
// of plistlib's own making, and its description.
constexpr const char* pythonProgram = R"(
import datetime, plistlib, struct, sys

reference = datetime.datetime(2001, 1, 1)

def bits(real):
    return struct.pack('>d', real).hex()

def described(value):
    if isinstance(value, bool):
        return 'true' if value else 'false'
    if isinstance(value, int):
        return str(value)
    if isinstance(value, float):
        return 'real ' + bits(value)
    if isinstance(value, str):
        return 'text ' + value.encode().hex()
    if isinstance(value, datetime.datetime):
        return 'date ' + bits((value - reference).total_seconds())
    if isinstance(value, bytes):
        return 'data ' + value.hex()
    if isinstance(value, list):
        return '[' + ''.join(described(element) + ', ' for element in value) + ']'
    entries = sorted((key.encode(), element) for key, element in value.items())
    return '{' + ''.join(key.hex() + ': ' + described(element) + ',\n' for key, element in entries) + '}'

made = {
    'booleans': [True, False],
    'integers': [0, 1, -1, 255, 256, 65536, 2**31, 2**32, -2**31 - 1, 2**63 - 1, -2**63, 2**63, 2**64 - 1],
    'reals': [0.0, 0.1, 1/3, -2.5e-300, 5e-324, 1.7976931348623157e308, float('inf'), -float('inf'), 3.0],
    'texts': ['', 'plain', 'N\u00e4chte \u20ac \U0001f319', '<&>"\'', ' spaces \t\n ', 'long ' * 10],
    'dates': [datetime.datetime(2026, 6, 12, 18, 0, 0), datetime.datetime(1970, 1, 1), datetime.datetime(1, 1, 1),
              datetime.datetime(9999, 12, 31, 23, 59, 59)],
    'data': [b'', b'\0', bytes(range(70))],
    'many': list(range(300)),
    'nested': [[], {}, {'a': {'b': [{'\u00e9': [1]}]}}, {'k%d' % i: i / 7 for i in range(70)}],
}

if sys.argv[1] == 'describe':
    with open(sys.argv[2], 'rb') as file:
        print(described(plistlib.load(file)))
else:
    if sys.argv[2] == 'binary':
        made['dates'].append(datetime.datetime(2026, 6, 12, 18, 0, 0, 250000)) # XML has no fractions
    else:
        made['reals'].append(-0.0) # in its binary form plistlib takes it for equal to 0.0
    form = {'xml': plistlib.FMT_XML, 'binary': plistlib.FMT_BINARY}[sys.argv[2]]
    with open(sys.argv[3], 'wb') as file:
        plistlib.dump(made, file, fmt=form)
    print(described(made))
)";

const double infinity = std::numeric_limits<double>::infinity();

// What both forms and plistlib keep exactly.
const QXValue ours = QXDictionary{
    {"booleans", QXArray{true, false}},
    {"integers", QXArray{0, 255, 256, 65535, 65536, std::int64_t{4294967295}, std::int64_t{4294967296}, -1,
                         std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max(),
                         std::uint64_t{9223372036854775808u}, std::numeric_limits<std::uint64_t>::max()}},
    {"reals", QXArray{0.0, 0.1, 1.0 / 3.0, 1e300, 5e-324, 1.7976931348623157e308, infinity, -infinity}},
    {"texts", QXArray{"", "plain", " a  b\t\n", "Nächte \u20AC \U0001F319", "<&>\"'", "]]>"}},
    {"dates", QXArray{QXDate{0}, QXDate{-1}, QXDistantFuture, QXDate{802980000}}},
    {"data", QXArray{QXData(), QXData{0}, QXData(70, 0xA5)}},
    {"many", QXArray(300, 7)},
    {"empty", QXArray{QXArray(), QXDictionary()}},
    {"<key> &", QXDictionary{{"deeper", QXDictionary{{"é", 1}}}}},
};

// plistutil loses the sign of zero, and line breaks of its own kind in XML.
const QXValue oursForPlistlib = QXArray{ours, -0.0, "a\r\nb\rc"};

class QXPropertyListInteroperability : public testing::Test {
protected:
    void SetUp() override
    {
        for (const char* program : {python, plistutil, localedef}) {
            if (!std::filesystem::exists(program)) {
                GTEST_SKIP() << program << " is not installed";
            }
        }
    }

    // Runs a program; its output, or "failed". The arguments need no quoting.
    std::string output(const std::string& command)
    {
        const std::filesystem::path file = folder / "output";
        const std::string line = "LC_ALL=C.UTF-8 " + command + " > " + file.string() + " 2>&1";
        const int status = std::system(line.c_str());
        std::string text = contentOf(file);
        if (status != 0) {
            return "failed: " + text;
        }
        return text.ends_with('\n') ? text.substr(0, text.size() - 1) : text;
    }

    std::string pythonOutput(const std::string& arguments)
    {
        const std::filesystem::path program = folder / "program.py";
        writeFile(program, std::string_view(pythonProgram));
        return output(std::string(python) + ' ' + program.string() + ' ' + arguments);
    }

    // What plistlib reads from a file of ours.
    std::string readByPython(const std::expected<QXData, std::string>& data)
    {
        const std::filesystem::path file = folder / "ours.plist";
        writeFile(file, data.value());
        return pythonOutput("describe " + file.string());
    }

    // What we read from a file that plistutil made of one of ours.
    std::expected<QXValue, std::string> convertedByPlistutil(const std::expected<QXData, std::string>& data,
                                                             const std::string& form)
    {
        const std::filesystem::path from = folder / "from.plist";
        const std::filesystem::path to = folder / "to.plist";
        writeFile(from, data.value());
        const std::string said =
            output(std::string(plistutil) + " -f " + form + " -i " + from.string() + " -o " + to.string());
        EXPECT_EQ(said, "");
        return QXPropertyListFromData(contentOf<QXData>(to));
    }

    NPTemporaryFolder folder;
};

} // namespace

TEST_F(QXPropertyListInteroperability, PlistlibReadsOurXML)
{
    EXPECT_EQ(readByPython(QXPropertyListXMLData(oursForPlistlib)), described(oursForPlistlib));
}

TEST_F(QXPropertyListInteroperability, PlistlibReadsOurBinaryForm)
{
    const QXValue withFractions = QXArray{oursForPlistlib, QXDate{802980000.25}, QXDate{-0.5}};
    EXPECT_EQ(readByPython(QXPropertyListBinaryData(withFractions)), described(withFractions));
}

TEST_F(QXPropertyListInteroperability, PlistlibReadsTextThatHadToBeReplaced)
{
    const QXValue value = QXDictionary{{"a\x01", "\x1B\xFF"}, {"a\x02", std::string("\0\uFFFE", 4)}};
    const QXValue replaced = QXDictionary{{"a\uFFFD", "\uFFFD\uFFFD"}, {"a\uFFFD\uFFFD", "\uFFFD\uFFFD"}};
    EXPECT_EQ(readByPython(QXPropertyListXMLData(value)), described(replaced));
    const QXValue onlyMalformed = QXDictionary{{"a\x01", "\x1B\uFFFD"}, {"a\x02", std::string("\0\uFFFE", 4)}};
    EXPECT_EQ(readByPython(QXPropertyListBinaryData(value)), described(onlyMalformed));
}

TEST_F(QXPropertyListInteroperability, WeReadWhatPlistlibWrites)
{
    for (const std::string form : {"xml", "binary"}) {
        const std::filesystem::path file = folder / form;
        const std::string description = pythonOutput("make " + form + ' ' + file.string());
        const auto value = QXPropertyListFromData(contentOf<QXData>(file));
        ASSERT_TRUE(value) << value.error();
        EXPECT_EQ(described(*value), description) << form;
    }
}

TEST_F(QXPropertyListInteroperability, PlistutilConvertsOurFilesWithoutLoss)
{
    for (const std::string form : {"bin", "xml"}) {
        for (const auto& data : {QXPropertyListXMLData(ours), QXPropertyListBinaryData(ours)}) {
            const auto value = convertedByPlistutil(data, form);
            ASSERT_TRUE(value) << value.error();
            EXPECT_EQ(described(*value), described(ours)) << form;
        }
    }
}

TEST_F(QXPropertyListInteroperability, WeWriteAndReadTheSameWhereTheDecimalPointIsAComma)
{
    const auto xml = QXPropertyListXMLData(ours);
    const auto binary = QXPropertyListBinaryData(ours);
    const std::string locale = (folder / "de_DE.UTF-8").string();
    output(std::string(localedef) + " --no-archive -i de_DE -f UTF-8 " + locale);
    ASSERT_EQ(::setenv("LOCPATH", folder.path().c_str(), 1), 0);
    const char* const chosen = std::setlocale(LC_ALL, "de_DE.UTF-8");
    const std::string decimalPoint = std::localeconv()->decimal_point;
    const auto xmlUnderComma = QXPropertyListXMLData(ours);
    const auto binaryUnderComma = QXPropertyListBinaryData(ours);
    const auto value = QXPropertyListFromData(*xml);
    std::setlocale(LC_ALL, "C");
    ::unsetenv("LOCPATH");
    if (chosen == nullptr) {
        GTEST_SKIP() << "the locale de_DE could not be made";
    }
    EXPECT_EQ(decimalPoint, ",");
    EXPECT_EQ(xmlUnderComma, xml);
    EXPECT_EQ(binaryUnderComma, binary);
    ASSERT_TRUE(value);
    EXPECT_TRUE(identical(*value, ours));
}
