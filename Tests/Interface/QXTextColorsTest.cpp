#include "Interface/QXTextColors.h"

#include <gtest/gtest.h>

#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextTable>

namespace {

// Whether anything of the text has a colour of its own.
bool hasColors(const QTextDocument& document)
{
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        if (block.blockFormat().hasProperty(QTextFormat::BackgroundBrush)) {
            return true;
        }
        for (auto part = block.begin(); !part.atEnd(); ++part) {
            const QTextCharFormat format = part.fragment().charFormat();
            if (format.hasProperty(QTextFormat::ForegroundBrush)
                || format.hasProperty(QTextFormat::BackgroundBrush)) {
                return true;
            }
        }
    }
    return false;
}

} // namespace

TEST(QXTextColors, AreRemovedFromTextAndLinks)
{
    QTextDocument document;
    document.setHtml(
        "<p style=\"color: black; background: white\">One <b>two</b> <a href=\"https://x.example\">three"
        "</a></p><ul><li><font color=\"#111111\">four</font></li></ul>");
    ASSERT_TRUE(hasColors(document));
    QXRemoveTextColors(document);
    EXPECT_FALSE(hasColors(document));
    EXPECT_EQ(document.toPlainText(), "One two three\nfour");
    EXPECT_EQ(document.find("two").charFormat().fontWeight(), QFont::Bold);
    EXPECT_EQ(document.find("three").charFormat().anchorHref(), "https://x.example");
}

TEST(QXTextColors, AreRemovedFromPagesAndTables)
{
    QTextDocument document;
    document.setHtml(
        "<body bgcolor=\"white\"><table bgcolor=\"#ffffff\"><tr><td bgcolor=\"#eeeeee\">cell</td></tr>"
        "</table></body>");
    QXRemoveTextColors(document);
    EXPECT_FALSE(document.rootFrame()->frameFormat().hasProperty(QTextFormat::BackgroundBrush));
    const QTextTable* const table = document.find("cell").currentTable();
    ASSERT_NE(table, nullptr);
    EXPECT_FALSE(table->format().hasProperty(QTextFormat::BackgroundBrush));
    EXPECT_FALSE(table->cellAt(0, 0).format().hasProperty(QTextFormat::BackgroundBrush));
}
