#include "Interface/QXStringTranslator.h"

#include "Foundation/QXString.h"

#include <gtest/gtest.h>

namespace {

class QXStringTranslatorTest : public testing::Test {
protected:
    QXStringTranslatorTest()
    {
        QXSetStringTables([](std::string_view key, std::string_view table) -> std::optional<std::string> {
            if (key != "Effects") {
                return std::nullopt;
            }
            return table.empty() ? "Effekte" : "Effekte aus " + std::string(table);
        });
    }
    ~QXStringTranslatorTest() override { QXSetStringTables({}); }

    QXStringTranslator translator;
};

} // namespace

TEST_F(QXStringTranslatorTest, LooksIntoTheMainTable)
{
    EXPECT_EQ(translator.translate("NPMainWindow", "Effects", nullptr, -1), "Effekte");
}

TEST_F(QXStringTranslatorTest, LooksIntoTheTableOfTheWindow)
{
    EXPECT_EQ(translator.translate("NPUpdatePreferences", "Effects", nullptr, -1), "Effekte aus QXWebStoreUpdate");
}

TEST_F(QXStringTranslatorTest, LeavesOtherTextsToQt)
{
    EXPECT_TRUE(translator.translate("QPlatformTheme", "Cancel", nullptr, -1).isNull());
}
