#include "CommandLine/NPJSON.h"
#include "CommandLine/NPTextOutput.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

TEST(NPJSON, WritesEveryKindOfValue)
{
    const QXValue value(QXDictionary{{"array", QXArray{true, -1, 0.5, "text"}},
                                     {"big", std::numeric_limits<std::uint64_t>::max()},
                                     {"data", QXData{1, 2}},
                                     {"date", QXDate{0.0}},
                                     {"empty", QXDictionary()}});
    EXPECT_EQ(NPJSONText(value), R"({"array":[true,-1,0.5,"text"],"big":18446744073709551615,"data":null,)"
                                 R"("date":"2001-01-01T00:00:00Z","empty":{}})");
}

TEST(NPJSON, EscapesWhatWouldEndAStringOrALine)
{
    EXPECT_EQ(NPJSONText("a\"b\\c\nd\x01\x1f"
                         "é"),
              "\"a\\\"b\\\\c\\nd\\u0001\\u001fé\"");
}

TEST(NPJSON, HasNoWordForWhatIsNoNumber)
{
    EXPECT_EQ(NPJSONText(std::numeric_limits<double>::quiet_NaN()), "null");
    EXPECT_EQ(NPJSONText(std::numeric_limits<double>::infinity()), "null");
}

TEST(NPTextOutput, ColumnsCountCharactersNotBytes)
{
    const auto effect = [](const char* name, const char* dim) {
        return QXValue(QXDictionary{{"identifier", "I"},
                                    {"name", name},
                                    {"state", "on"},
                                    {"settings", QXDictionary{{"dim", dim},
                                                              {"vividness", "off"},
                                                              {"activate", "off"},
                                                              {"deactivate", "off"},
                                                              {"screens", "all"}}}});
    };
    EXPECT_EQ(NPEffectsText({effect("Größe", "30%"), effect("Night", "off")}),
              "Effect  State  Does     Activates  Deactivates  Hot key  Screens  Identifier\n"
              "Größe   on     dim 30%  off        off                   all      I\n"
              "Night   on     nothing  off        off                   all      I\n");
}

TEST(NPTextOutput, NamesCannotMoveTheCursor)
{
    EXPECT_EQ(NPPrintable("a\x1b[2Jb\nc\x7f"), "a [2Jb c ");
}

TEST(NPTextOutput, MomentsAreShownOnTheZonesClock)
{
    EXPECT_EQ(NPLocalTimeText(QXDate{0.5}, QXFixedTimeZone(3600)), "2001-01-01 01:00:00");
    EXPECT_EQ(
        NPSunText({{"at", "2001-01-01T00:00:00Z"}, {"latitude", 80.0}, {"longitude", 0.5}, {"guessed", false}},
                  QXFixedTimeZone()),
        "At 2001-01-01 00:00:00, 80 0.5\nPrevious sunrise  none\nPrevious sunset   none\n"
        "Next sunrise      none\nNext sunset       none\n");
}

TEST(NPTextOutput, ATableIsALineASample)
{
    EXPECT_EQ(
        NPTableText({{"red", QXArray{0.0, 1.0}}, {"green", QXArray{0.0, 0.5}}, {"blue", QXArray{0.0, 0.25}}}),
        "0 0 0 0\n1 1 0.5 0.25\n");
}

} // namespace
