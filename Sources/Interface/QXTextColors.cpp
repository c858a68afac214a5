#include "Interface/QXTextColors.h"

#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextTable>

namespace {

// Of a frame, the cells of a table, and the frames within.
void removeGrounds(QTextFrame& frame)
{
    if (auto* const table = qobject_cast<QTextTable*>(&frame)) {
        QTextTableFormat format = table->format();
        format.clearBackground();
        table->setFormat(format);
        for (int row = 0; row < table->rows(); ++row) {
            for (int column = 0; column < table->columns(); ++column) {
                QTextTableCell cell = table->cellAt(row, column);
                QTextCharFormat ground = cell.format();
                ground.clearBackground();
                cell.setFormat(ground);
            }
        }
    } else {
        QTextFrameFormat format = frame.frameFormat();
        format.clearBackground();
        frame.setFrameFormat(format);
    }
    for (QTextFrame* const inner : frame.childFrames()) {
        removeGrounds(*inner);
    }
}

} // namespace

void QXRemoveTextColors(QTextDocument& document)
{
    QList<std::pair<QTextCursor, QTextCharFormat>> parts; // first of all: setting one moves the others
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        QTextBlockFormat ground = block.blockFormat();
        ground.clearBackground();
        QTextCursor(block).setBlockFormat(ground);
        for (auto part = block.begin(); !part.atEnd(); ++part) {
            QTextCursor cursor(&document);
            cursor.setPosition(part.fragment().position());
            cursor.setPosition(part.fragment().position() + part.fragment().length(), QTextCursor::KeepAnchor);
            QTextCharFormat format = part.fragment().charFormat();
            format.clearForeground();
            format.clearBackground();
            parts += {cursor, format};
        }
    }
    for (auto& [cursor, format] : parts) {
        cursor.setCharFormat(format);
    }
    removeGrounds(*document.rootFrame());
}
