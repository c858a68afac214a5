// Lets Qt find the texts of windows and of tr() in the application's string tables, so that every text is in one
// place. A window's texts are in the main table, except for those that have a table of their own.
#pragma once

#include <QTranslator>

class QXStringTranslator final : public QTranslator {
public:
    using QTranslator::QTranslator;

    bool isEmpty() const override { return false; }

    // A null text where the tables have none: then Qt asks its own translations, and shows the key at last.
    QString translate(const char* context, const char* sourceText, const char* disambiguation,
                      int number) const override;
};
