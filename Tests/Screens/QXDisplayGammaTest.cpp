#include "Screens/QXDisplayGamma.h"

#include "Foundation/QXString.h"
#include "Platform/Simulated/NPSimulatedDisplays.h"
#include "Support/GammaTables.h"

#include <cmath>

namespace {

class QXDisplayGammaTest : public testing::Test {
protected:
    void plug(NPDisplayID identifier, const QXGammaTable& table = QXGammaTableIdentity())
    {
        displays.plug({.identifier = identifier, .table = table});
    }
    void plugAt(NPDisplayID identifier, const NPRect& bounds)
    {
        displays.plug({.identifier = identifier, .bounds = bounds});
    }
    bool isInverted(NPDisplayID identifier) { return QXDisplayIsInverted(displays, identifier) == 1; }
    std::string inverted() // the displays that are
    {
        std::string text;
        for (NPDisplayID identifier = 1; identifier <= 12; ++identifier) {
            if (displays.display(identifier) && isInverted(identifier)) {
                text += std::to_string(identifier) + ' ';
            }
        }
        return text;
    }

    NPActionLog log;
    NPSimulatedDisplays displays{log};
};

TEST_F(QXDisplayGammaTest, ReadingFillsTheTableAndReturnsIt)
{
    plug(7, scaledTable(0.5F, 100));
    QXGammaTable table;
    EXPECT_EQ(&QXGammaTableGetForDisplay(displays, table, 7), &table);
    EXPECT_TRUE(sameTable(table, scaledTable(0.5F, 100)));
}

TEST_F(QXDisplayGammaTest, FailedReadLeavesAnEmptyTable)
{
    plug(7);
    displays.display(7)->readsFail = true;
    QXGammaTable table = QXGammaTableIdentity();
    EXPECT_EQ(QXGammaTableGetForDisplay(displays, table, 7).sampleCount, 0U);
    table = QXGammaTableIdentity();
    EXPECT_EQ(QXGammaTableGetForDisplay(displays, table, 8).sampleCount, 0U);
}

TEST_F(QXDisplayGammaTest, WritingSetsTheTable)
{
    plug(7);
    QXGammaTableSetForDisplay(displays, 7, scaledTable(0.25F));
    EXPECT_TRUE(sameTable(displays.display(7)->table, scaledTable(0.25F)));
}

TEST_F(QXDisplayGammaTest, EmptyTableIsNotWritten)
{
    plug(7);
    QXGammaTableSetForDisplay(displays, 7, flatTable(0.5F, 0));
    EXPECT_EQ(log.text(), "");
    EXPECT_TRUE(sameTable(displays.display(7)->table, QXGammaTableIdentity()));
}

TEST_F(QXDisplayGammaTest, RefusedWriteIsNobodysConcern)
{
    plug(7);
    displays.display(7)->writesFail = true;
    QXGammaTableSetForDisplay(displays, 7, scaledTable(0.25F));
    EXPECT_EQ(log.text(), "write 7 failed\n");
}

TEST_F(QXDisplayGammaTest, InvertingTwiceGivesTheTableBack)
{
    plug(7, scaledTable(0.8F));
    QXInvertDisplay(displays, 7);
    EXPECT_EQ(displays.display(7)->table.redTable[0], scaledTable(0.8F).redTable[255]);
    QXInvertDisplay(displays, 7);
    EXPECT_TRUE(sameTable(displays.display(7)->table, scaledTable(0.8F)));
}

TEST_F(QXDisplayGammaTest, DisplayThatCannotBeReadIsNotInverted)
{
    plug(7);
    displays.display(7)->readsFail = true;
    QXInvertDisplay(displays, 7);
    EXPECT_EQ(log.text(), "read 7 failed\n");
}

TEST_F(QXDisplayGammaTest, InvertingAllTakesTheActiveDisplaysInTheirOrder)
{
    plug(3);
    plug(1);
    plug(2);
    displays.display(1)->active = false;
    QXInvertAllDisplays(displays);
    EXPECT_EQ(log.text(), "read 3\nwrite 3 256 0 0 0\nread 2\nwrite 2 256 0 0 0\n");
}

TEST_F(QXDisplayGammaTest, InvertingAllDoesNothingWithoutAList)
{
    plug(1);
    displays.setListsFail(true);
    QXInvertAllDisplays(displays);
    QXInvertDisplaysInRect(displays, {0, 0, 10000, 10000});
    EXPECT_EQ(log.text(), "");
}

TEST_F(QXDisplayGammaTest, OfTwelveDisplaysOnlyTheFirstTenAreLookedAt)
{
    for (NPDisplayID identifier = 1; identifier <= 12; ++identifier) {
        plug(identifier);
    }
    QXInvertAllDisplays(displays);
    EXPECT_EQ(inverted(), "1 2 3 4 5 6 7 8 9 10 ");
    QXInvertDisplaysInRect(displays, {0, 0, 1, 1});
    EXPECT_EQ(inverted(), "");
    EXPECT_EQ(QXScreenSetDescription(displays, {10, 11, 12}), "Screen 10");
    EXPECT_EQ(QXScreenSetDescription(displays, {11, 12}), "No Screen");
}

TEST_F(QXDisplayGammaTest, InvertingInARectangleTakesTheDisplaysThatItTouches)
{
    plugAt(1, {0, 0, 1000, 500});
    plugAt(2, {1000, 0, 1000, 500});
    plugAt(3, {2000, 0, 1000, 500});
    QXInvertDisplaysInRect(displays, {1900, 100, 200, 50});
    EXPECT_EQ(inverted(), "2 3 ");
}

TEST_F(QXDisplayGammaTest, DisplayAtARectangleIsTheFirstThatItTouches)
{
    plugAt(1, {0, 0, 1000, 500});
    plugAt(2, {1000, 0, 1000, 500});
    EXPECT_EQ(QXDisplayAtRect(displays, {1500, 100, 10, 10}), 2U);
    EXPECT_EQ(QXDisplayAtRect(displays, {900, 100, 200, 10}), 1U);
}

TEST_F(QXDisplayGammaTest, DisplayAtARectangleIsZeroWithoutOne)
{
    plugAt(1, {0, 0, 1000, 500});
    EXPECT_EQ(QXDisplayAtRect(displays, {0, 500, 10, 10}), 0U); // only the edges meet
    displays.setListsFail(true);
    EXPECT_EQ(QXDisplayAtRect(displays, {10, 10, 10, 10}), 0U);
}

TEST_F(QXDisplayGammaTest, IdentityIsNotInvertedAndItsMirrorIs)
{
    plug(1);
    EXPECT_EQ(QXDisplayIsInverted(displays, 1), 0);
    QXInvertDisplay(displays, 1);
    EXPECT_EQ(QXDisplayIsInverted(displays, 1), 1);
}

TEST_F(QXDisplayGammaTest, ConstantTableCountsAsInverted)
{
    plug(1, flatTable(0.5F));
    EXPECT_EQ(QXDisplayIsInverted(displays, 1), 1);
}

TEST_F(QXDisplayGammaTest, OneRisingChannelIsEnoughNotToBeInverted)
{
    for (QXGammaTable::Channel QXGammaTable::* channel :
         {&QXGammaTable::redTable, &QXGammaTable::greenTable, &QXGammaTable::blueTable}) {
        QXGammaTable table = flatTable(0.5F);
        (table.*channel)[255] = 0.75F;
        plug(1, table);
        EXPECT_EQ(QXDisplayIsInverted(displays, 1), 0);
    }
}

TEST_F(QXDisplayGammaTest, NotANumberCountsAsDescending)
{
    QXGammaTable table = flatTable(std::nanf(""));
    plug(1, table);
    EXPECT_EQ(QXDisplayIsInverted(displays, 1), 1);
    table = flatTable(0.5F);
    table.greenTable[255] = std::nanf("");
    plug(1, table);
    EXPECT_EQ(QXDisplayIsInverted(displays, 1), 1);
}

TEST_F(QXDisplayGammaTest, FewerSamplesAreJudgedByEntryTwoHundredFiftyFiveAllTheSame)
{
    QXGammaTable table = QXGammaTableIdentity(100); // rises, and has zeros after its samples
    plug(1, table);
    EXPECT_EQ(QXDisplayIsInverted(displays, 1), 1);
    table.redTable[255] = 0.01F;
    plug(1, table);
    EXPECT_EQ(QXDisplayIsInverted(displays, 1), 0);
}

TEST_F(QXDisplayGammaTest, UnreadableDisplayIsNeitherInvertedNorNot)
{
    plug(1, flatTable(0.5F, 0));
    EXPECT_EQ(QXDisplayIsInverted(displays, 1), -1);
    EXPECT_EQ(QXDisplayIsInverted(displays, 2), -1);
    EXPECT_EQ(QXMainDisplayIsInverted(displays), -1);
}

TEST_F(QXDisplayGammaTest, MainDisplayIsTheFirst)
{
    EXPECT_EQ(QXMainDisplayIsInverted(displays), -1); // there is none
    plug(4);
    plug(5, flatTable(0.5F));
    EXPECT_EQ(QXMainDisplayIsInverted(displays), 0);
}

TEST_F(QXDisplayGammaTest, RestoringAllGivesEveryDisplayItsProfilesTable)
{
    displays.plug({.identifier = 1, .table = flatTable(0.5F), .baseTable = scaledTable(0.9F)});
    QXRestoreAllDisplays(displays);
    EXPECT_TRUE(sameTable(displays.display(1)->table, scaledTable(0.9F)));
}

TEST_F(QXDisplayGammaTest, ScreensAreDescribedByTheirPositionsInTheOnlineList)
{
    plug(30);
    plug(20);
    plug(10);
    EXPECT_EQ(QXScreenSetDescription(displays, {10, 30}), "Screen 1, 3");
    EXPECT_EQ(QXScreenSetDescription(displays, {20, 99}), "Screen 2");
    displays.unplug(30);
    EXPECT_EQ(QXScreenSetDescription(displays, {10, 30}), "Screen 2");
}

TEST_F(QXDisplayGammaTest, SetOfDisplaysThatAreNotConnectedIsNoScreen)
{
    plug(1);
    EXPECT_EQ(QXScreenSetDescription(displays, {7, 8}), "No Screen");
    EXPECT_EQ(QXScreenSetDescription(displays, {}), "No Screen");
    displays.setListsFail(true);
    EXPECT_EQ(QXScreenSetDescription(displays, {1}), "No Screen");
}

TEST_F(QXDisplayGammaTest, DescriptionIsMadeOfLocalizedFormats)
{
    plug(1);
    plug(2);
    QXSetStringTables([](std::string_view key, std::string_view) -> std::optional<std::string> {
        return key == "Screen %d" ? "Bildschirm %d" : key == ", %d" ? " und %d" : "Keiner";
    });
    const std::string both = QXScreenSetDescription(displays, {1, 2});
    const std::string none = QXScreenSetDescription(displays, {});
    QXSetStringTables({});
    EXPECT_EQ(both, "Bildschirm 1 und 2");
    EXPECT_EQ(none, "Keiner");
}

} // namespace
