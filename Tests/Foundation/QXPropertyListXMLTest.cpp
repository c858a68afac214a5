// The XML form of property lists, against text written by hand.
#include "Foundation/QXPropertyList.h"

#include "Support/Data/NPTestData.h"
#include "Support/PropertyLists.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <iterator>
#include <limits>

namespace {

const std::string head = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                         "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                         "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                         "<plist version=\"1.0\">\n";
const std::string tail = "</plist>\n";

std::expected<QXValue, std::string> valueOfText(std::string_view text)
{
    return QXPropertyListFromData(dataOf(text));
}

// The value of these elements inside a whole file. They begin on line 4.
std::expected<QXValue, std::string> valueOf(std::string_view elements)
{
    return valueOfText(head + std::string(elements) + tail);
}

std::string errorFor(std::string_view elements)
{
    return errorOf(valueOf(elements));
}

std::string line4(const std::string& what)
{
    return "XML property list, line 4: " + what;
}

std::string written(const QXValue& value)
{
    const auto data = QXPropertyListXMLData(value);
    return data ? textOf(*data) : data.error();
}

} // namespace

TEST(QXPropertyListXML, WritesTheTextOfTheFormat)
{
    const QXValue value = QXDictionary{
        {"name", "Night & <Day>"},
        {"list", QXArray{true, false, -7, std::numeric_limits<std::uint64_t>::max(), 0.5, 3.0}},
        {"date", QXDate{802980000.75}},
        {"data", dataOf(std::string(50, 'x'))},
        {"empty", QXArray{QXArray(), QXDictionary(), "", QXData()}},
    };
    EXPECT_EQ(written(value), head
                                  + "<dict>\n"
                                    "\t<key>data</key>\n"
                                    "\t<data>\n"
                                    "\teHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4\n"
                                    "\teHg=\n"
                                    "\t</data>\n"
                                    "\t<key>date</key>\n"
                                    "\t<date>2026-06-12T18:00:00Z</date>\n"
                                    "\t<key>empty</key>\n"
                                    "\t<array>\n"
                                    "\t\t<array/>\n"
                                    "\t\t<dict/>\n"
                                    "\t\t<string></string>\n"
                                    "\t\t<data>\n"
                                    "\t\t</data>\n"
                                    "\t</array>\n"
                                    "\t<key>list</key>\n"
                                    "\t<array>\n"
                                    "\t\t<true/>\n"
                                    "\t\t<false/>\n"
                                    "\t\t<integer>-7</integer>\n"
                                    "\t\t<integer>18446744073709551615</integer>\n"
                                    "\t\t<real>0.5</real>\n"
                                    "\t\t<real>3</real>\n"
                                    "\t</array>\n"
                                    "\t<key>name</key>\n"
                                    "\t<string>Night &amp; &lt;Day&gt;</string>\n"
                                    "</dict>\n"
                                  + tail);
}

TEST(QXPropertyListXML, ReadsEachElement)
{
    EXPECT_TRUE(identical(*valueOf("<true/>"), true));
    EXPECT_TRUE(identical(*valueOf("<false></false>"), false));
    EXPECT_TRUE(identical(*valueOf("<integer>42</integer>"), 42));
    EXPECT_TRUE(identical(*valueOf("<real>42</real>"), 42.0));
    EXPECT_TRUE(identical(*valueOf("<string>a b</string>"), "a b"));
    EXPECT_TRUE(identical(*valueOf("<string/>"), ""));
    EXPECT_TRUE(identical(*valueOf("<date>2001-01-01T00:00:01Z</date>"), QXDate{1}));
    EXPECT_TRUE(identical(*valueOf("<data>\n\tAAEC\n</data>"), QXData{0, 1, 2}));
    EXPECT_TRUE(identical(*valueOf("<data/>"), QXData()));
    EXPECT_TRUE(identical(*valueOf("<array><true/>\n<array/></array>"), QXArray{true, QXArray()}));
    EXPECT_TRUE(identical(*valueOf("<dict>\n<key>k</key> <dict/>\n</dict>"), QXDictionary{{"k", QXDictionary()}}));
}

TEST(QXPropertyListXML, ReadsIntegersFromTheLeastToTheGreatest)
{
    EXPECT_TRUE(
        identical(*valueOf("<integer>-9223372036854775808</integer>"), std::numeric_limits<std::int64_t>::min()));
    EXPECT_TRUE(
        identical(*valueOf("<integer>9223372036854775807</integer>"), std::numeric_limits<std::int64_t>::max()));
    EXPECT_TRUE(
        identical(*valueOf("<integer>9223372036854775808</integer>"), std::uint64_t{9223372036854775808u}));
    EXPECT_TRUE(
        identical(*valueOf("<integer>18446744073709551615</integer>"), std::numeric_limits<std::uint64_t>::max()));
}

TEST(QXPropertyListXML, ReadsIntegersWithSignSpaceAndInHexadecimal)
{
    EXPECT_EQ(valueOf("<integer> +5\n</integer>"), QXValue(5));
    EXPECT_EQ(valueOf("<integer>0xFf</integer>"), QXValue(255));
    EXPECT_EQ(valueOf("<integer>-0X10</integer>"), QXValue(-16));
    EXPECT_EQ(valueOf("<integer>007</integer>"), QXValue(7));
}

TEST(QXPropertyListXML, RefusesIntegersThatAreNone)
{
    for (const std::string text : {"", " ", "-", "1.5", "1 2", "0x", "--1", "+-1", "1e3", "18446744073709551616",
                                   "-9223372036854775809", "٣"}) {
        EXPECT_EQ(errorFor("<integer>" + text + "</integer>"),
                  line4('"' + text + "\" is no integer from -2^63 to 2^64-1"));
    }
}

TEST(QXPropertyListXML, WritesRealsSoThatTheyReadBackExactly)
{
    for (const double real : {0.1, 1.0 / 3.0, -0.0, 5e-324, 1.7976931348623157e308, 123456789.125}) {
        EXPECT_TRUE(identical(*QXPropertyListFromData(*QXPropertyListXMLData(real)), real)) << real;
    }
    EXPECT_EQ(written(0.1), head + "<real>0.1</real>\n" + tail);
}

TEST(QXPropertyListXML, KeepsRealsThatAreNoNumbers)
{
    EXPECT_EQ(written(std::numeric_limits<double>::infinity()), head + "<real>+infinity</real>\n" + tail);
    EXPECT_EQ(written(-std::numeric_limits<double>::infinity()), head + "<real>-infinity</real>\n" + tail);
    EXPECT_EQ(written(std::nan("")), head + "<real>nan</real>\n" + tail);
    EXPECT_EQ(valueOf("<real>-infinity</real>"), QXValue(-std::numeric_limits<double>::infinity()));
    EXPECT_EQ(valueOf("<real>inf</real>"), QXValue(std::numeric_limits<double>::infinity()));
    EXPECT_TRUE(std::isnan(*valueOf("<real>nan</real>")->real()));
}

TEST(QXPropertyListXML, RefusesRealsThatAreNone)
{
    for (const std::string text : {"", "abc", "1,5", "1.5x", "0x1p3", "1e999", "."}) {
        EXPECT_EQ(errorFor("<real>" + text + "</real>"), line4('"' + text + "\" is no number"));
    }
}

TEST(QXPropertyListXML, RefusesDatesThatAreNone)
{
    for (const std::string text : {"", "2026-06-12", "2026-13-01T00:00:00Z", "2026-02-29T00:00:00Z",
                                   "2026-06-12T18:00:00", "2026-06-12T18:00:00.5Z", "2026-06-12 18:00:00Z"}) {
        EXPECT_EQ(errorFor("<date>" + text + "</date>"), line4('"' + text + "\" is no date"));
    }
}

TEST(QXPropertyListXML, RoundsDatesDownToWholeSeconds)
{
    EXPECT_EQ(written(QXDate{0.999}), head + "<date>2001-01-01T00:00:00Z</date>\n" + tail);
    EXPECT_EQ(written(QXDate{-0.001}), head + "<date>2000-12-31T23:59:59Z</date>\n" + tail);
}

TEST(QXPropertyListXML, DoesNotWriteDatesThatItCannotExpress)
{
    const std::string error = "a date outside the years 1 to 9999, which XML property lists cannot hold";
    EXPECT_EQ(written(QXDate{std::nan("")}), error);
    EXPECT_EQ(written(QXArray{QXDate{1e15}}), error);
}

TEST(QXPropertyListXML, RefusesDataThatIsNoBase64)
{
    EXPECT_EQ(errorFor("<data>AAE</data>"), line4("\"AAE\" is no base64"));
}

TEST(QXPropertyListXML, ReadsCharacterReferences)
{
    EXPECT_EQ(valueOf("<string>&amp;&lt;&gt;&quot;&apos;&#65;&#x20ac;&#x1F319;</string>"),
              QXValue("&<>\"'A\u20AC\U0001F319"));
    EXPECT_EQ(valueOf("<dict><key>&lt;k&gt;</key><true/></dict>"), QXValue(QXDictionary{{"<k>", true}}));
}

TEST(QXPropertyListXML, RefusesUnknownCharacterReferences)
{
    for (const std::string reference :
         {"&nbsp;", "&;", "&", "&amp", "&#;", "&#x;", "&#0;", "&#1;", "&#xD800;", "&#xFFFE;", "&#x110000;",
          "&#99999999999;", "&#-65;", "&#X41;", "&#6 5;"}) {
        EXPECT_EQ(errorFor("<string>" + reference + "</string>"),
                  line4("an \"&\" that begins no known character"));
    }
}

TEST(QXPropertyListXML, ReadsCharacterDataCommentsAndInstructionsInsideText)
{
    EXPECT_EQ(valueOf("<string> a <![CDATA[<&amp;]]><!-- no --> b <?no?> c </string>"),
              QXValue(" a <&amp; b  c "));
}

TEST(QXPropertyListXML, SkipsCommentsAndInstructionsBetweenElements)
{
    EXPECT_EQ(valueOfText("<!-- a --><?b?><plist><!-- c --><array><?d?><true/><!--\n--></array></plist>"
                          "<!-- e -->\n"),
              QXValue(QXArray{true}));
}

TEST(QXPropertyListXML, TakesEveryLineBreakAsALineFeed)
{
    EXPECT_EQ(valueOf("<string>a\r\nb\rc\nd</string>"), QXValue("a\nb\nc\nd"));
}

TEST(QXPropertyListXML, KeepsCarriageReturnsThatItWrites)
{
    EXPECT_EQ(written("a\r\nb"), head + "<string>a&#13;\nb</string>\n" + tail);
    EXPECT_EQ(valueOf("<string>a&#13;\nb</string>"), QXValue("a\r\nb"));
}

TEST(QXPropertyListXML, ReadsFilesWithAndWithoutProlog)
{
    const std::string list = "<plist version='1.0'><true/></plist>";
    for (const std::string prolog :
         {"", "\n\n", "\xEF\xBB\xBF", "<?xml version=\"1.0\"?>", "<?xml version='1.0' encoding='utf-8'?>",
          "<?xml version='1.0' encoding='US-ASCII' standalone='yes'?>",
          "<!DOCTYPE plist SYSTEM \"file://localhost/PropertyList.dtd\">",
          "\xEF\xBB\xBF<?xml version=\"1.0\"?><!-- > --><!DOCTYPE plist PUBLIC \"a>b\" 'c>d'><!-- -->"}) {
        EXPECT_EQ(valueOfText(prolog + list), QXValue(true)) << prolog;
    }
}

TEST(QXPropertyListXML, RefusesOtherEncodings)
{
    EXPECT_EQ(errorOf(valueOfText("<?xml version='1.0' encoding='ISO-8859-1'?><plist><true/></plist>")),
              "XML property list, line 1: the encoding \"ISO-8859-1\", where only UTF-8 is read");
    EXPECT_EQ(errorFor("<string>\xE9</string>"), line4("a byte that is not UTF-8"));
    EXPECT_EQ(errorFor("<string>\xED\xA0\x80</string>"), line4("a byte that is not UTF-8"));
}

TEST(QXPropertyListXML, RefusesControlCharacters)
{
    EXPECT_EQ(errorFor("<string>\x1B</string>"), line4("a control character, which XML cannot hold"));
    EXPECT_EQ(errorFor(std::string_view("<string>\0</string>", 18)),
              line4("a control character, which XML cannot hold"));
}

TEST(QXPropertyListXML, IgnoresAttributes)
{
    EXPECT_EQ(valueOf("<array a = \"1>2\" b='\"'><string c=\"/\">x</string ></array>"), QXValue(QXArray{"x"}));
}

TEST(QXPropertyListXML, RefusesNestingBeyondTheLimit)
{
    const auto nested = [](std::size_t depth) {
        std::string text;
        for (std::size_t i = 0; i < depth; ++i) {
            text += "<array>";
        }
        for (std::size_t i = 0; i < depth; ++i) {
            text += "</array>";
        }
        return text;
    };
    EXPECT_TRUE(valueOf(nested(128)));
    EXPECT_EQ(errorFor(nested(129)), line4("values nested more than 128 deep"));
    EXPECT_EQ(errorFor(nested(1000000)), line4("values nested more than 128 deep"));
}

TEST(QXPropertyListXML, CountsKeysAndValuesAgainstTheLimit)
{
    const QXData file = dataOf("<plist><dict><key>k</key><true/></dict></plist>");
    EXPECT_TRUE(QXPropertyListFromData(file, {.nodes = 3}));
    EXPECT_EQ(errorOf(QXPropertyListFromData(file, {.nodes = 2})),
              "XML property list, line 1: more than 2 values and keys");
}

TEST(QXPropertyListXML, RefusesEveryTruncation)
{
    const std::string file =
        head + "<dict>\n<key>a&amp;</key>\n<array><string><![CDATA[b]]><!-- c --></string></array></dict></plist>";
    ASSERT_TRUE(valueOfText(file));
    for (std::size_t length = 0; length < file.size(); ++length) {
        const auto value = valueOfText(std::string_view(file).substr(0, length));
        ASSERT_FALSE(value) << length;
        EXPECT_EQ(value.error().find('\n'), std::string::npos);
    }
}

// One file of each kind of damage, with the line that it ends in.
struct BrokenFile {
    const char* name;
    const char* error;
};

class QXPropertyListBrokenFile : public testing::TestWithParam<BrokenFile> {};

TEST_P(QXPropertyListBrokenFile, GivesOneClearLine)
{
    std::ifstream stream(NPTestDataFile("BrokenPropertyLists/" + std::string(GetParam().name)), std::ios::binary);
    ASSERT_TRUE(stream) << GetParam().name;
    const QXData data{std::istreambuf_iterator<char>(stream), {}};
    EXPECT_EQ(errorOf(QXPropertyListFromData(data)), GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    XML, QXPropertyListBrokenFile,
    testing::Values(
        BrokenFile{"Empty.plist", "an empty file"},
        BrokenFile{"OldStyle.plist", "neither an XML nor a binary property list"},
        BrokenFile{"NoRoot.plist", "XML property list, line 1: the root element is \"dict\", not \"plist\""},
        BrokenFile{"NoValue.plist", "XML property list, line 2: the root element holds no value"},
        BrokenFile{"TwoValues.plist", "XML property list, line 4: a second value in the root element"},
        BrokenFile{"TrailingText.plist", "XML property list, line 5: something behind the root element"},
        BrokenFile{"Truncated.plist", "XML property list, line 6: the file ends too early"},
        BrokenFile{"DuplicateKey.plist", "XML property list, line 6: the key \"hue\" for the second time"},
        BrokenFile{"MissingValue.plist", "XML property list, line 5: the key \"hue\" without a value"},
        BrokenFile{"MissingLastValue.plist", "XML property list, line 5: the key \"hue\" without a value"},
        BrokenFile{"ValueWithoutKey.plist", "XML property list, line 4: \"integer\" where a key is expected"},
        BrokenFile{"WordAsReal.plist", "XML property list, line 5: \"abc\" is no number"},
        BrokenFile{"UnknownElement.plist", "XML property list, line 3: the unknown element \"float\""},
        BrokenFile{"CrossedTags.plist",
                   "XML property list, line 5: the closing tag of \"dict\" at the wrong place"},
        BrokenFile{"ElementInText.plist", "XML property list, line 3: something else than text inside \"string\""},
        BrokenFile{"TextBetweenElements.plist",
                   "XML property list, line 5: \"stray\" where an element is expected"},
        BrokenFile{"TextInBoolean.plist", "XML property list, line 3: text inside \"true\""},
        BrokenFile{"BadAttribute.plist", "XML property list, line 2: an attribute without quotation marks"},
        BrokenFile{"UnclosedComment.plist", "XML property list, line 3: the file ends too early"},
        BrokenFile{"EntityExpansion.plist",
                   "XML property list, line 2: declarations inside the document type, which are not read"},
        BrokenFile{"ExternalEntity.plist",
                   "XML property list, line 2: declarations inside the document type, which are not read"},
        BrokenFile{"Latin1.plist", "XML property list, line 3: a byte that is not UTF-8"}),
    [](const auto& parameters) {
        const std::string name = parameters.param.name;
        return name.substr(0, name.find('.'));
    });
