#include "Foundation/QXStringTable.h"

#include "Foundation/QXLog.h"

#include <gtest/gtest.h>

namespace {

std::string errorOf(std::string_view text)
{
    const auto table = QXStringTable::tableWithText(text);
    return table ? "" : table.error();
}

TEST(QXStringTable, GivesTheTextOfAKey)
{
    const auto table =
        QXStringTable::tableWithText("/* Menu */\n\"Quit\" = \"Beenden\";\n\n\"Open\"=\"Öffnen\" ;\n");
    ASSERT_TRUE(table) << table.error();
    EXPECT_EQ(table->size(), 2u);
    EXPECT_EQ(*table->textForKey("Quit"), "Beenden");
    EXPECT_EQ(*table->textForKey("Open"), "Öffnen");
}

TEST(QXStringTable, HasNoTextForAnotherKey)
{
    const auto table = QXStringTable::tableWithText("\"Quit\" = \"Beenden\";");
    ASSERT_TRUE(table);
    EXPECT_EQ(table->textForKey("quit"), nullptr);
    EXPECT_EQ(table->textForKey(""), nullptr);
}

TEST(QXStringTable, MayBeEmptyOrHoldCommentsAlone)
{
    for (const char* text : {"", " \t\r\n", "/* \"a\" = \"b\"; */", "/**/"}) {
        const auto table = QXStringTable::tableWithText(text);
        ASSERT_TRUE(table) << text;
        EXPECT_EQ(table->size(), 0u) << text;
    }
}

TEST(QXStringTable, ReadsEscapes)
{
    const auto table = QXStringTable::tableWithText(R"("a\nb" = "say \"c\" \\ d";)");
    ASSERT_TRUE(table) << table.error();
    EXPECT_EQ(*table->textForKey("a\nb"), "say \"c\" \\ d");
}

TEST(QXStringTable, KeepsAnEmptyText)
{
    const auto table = QXStringTable::tableWithText("\"a\" = \"\";");
    ASSERT_TRUE(table);
    EXPECT_EQ(*table->textForKey("a"), "");
}

TEST(QXStringTable, SaysWhichLineIsAtFault)
{
    EXPECT_EQ(errorOf("\"a\" = \"b\";\n\n\"c\" = d;"), "line 3: the text of \"c\" must stand in quotation marks");
    EXPECT_EQ(errorOf("a = b;"), "line 1: a key must stand in quotation marks");
    EXPECT_EQ(errorOf("\"a\" \"b\";"), "line 1: '=' is missing");
    EXPECT_EQ(errorOf("\"a\" = \"b\"\n\"c\" = \"d\";"), "line 2: ';' is missing");
    EXPECT_EQ(errorOf("\"a\" = \"b\""), "line 1: ';' is missing");
    EXPECT_EQ(errorOf("\"a"), "line 1: a key does not end");
    EXPECT_EQ(errorOf("\"a\" = \"b\n\";"), "line 1: the text does not end on its line");
    EXPECT_EQ(errorOf("\n/* a"), "line 2: the comment does not end");
    EXPECT_EQ(errorOf("\"a\" = \"\\t\";"), "line 1: after a backslash comes \", \\ or n");
    EXPECT_EQ(errorOf("\"a\" = \"\\"), "line 1: after a backslash comes \", \\ or n");
    EXPECT_EQ(errorOf("\"a\" = \"\xFF\";"), "line 1: not UTF-8");
    EXPECT_EQ(errorOf("\"a\" = \"\t\";"), "line 1: a control character");
}

TEST(QXStringTable, RefusesAKeyThatIsThereTwice)
{
    EXPECT_EQ(errorOf("\"a\" = \"b\";\n\"a\" = \"b\";"), "line 2: \"a\" is there twice");
}

TEST(QXStringTable, RefusesWhatIsTooLarge)
{
    const std::string spaces(QXStringTable::mostBytes, ' ');
    EXPECT_EQ(errorOf(spaces), "");
    EXPECT_EQ(errorOf(spaces + ' '), "line 1: larger than 1048576 bytes");
}

// Two languages with a table each, and a count of how often they were asked for.
struct TwoLanguages {
    std::optional<std::string> content(const std::string& language, const std::string& table)
    {
        ++asked;
        if (language == "de" && table.empty()) {
            return "\"Quit\" = \"Beenden\";";
        }
        if (language == "fr" && table.empty()) {
            return "\"Quit\" = \"Quitter\"; \"Open\" = \"Ouvrir\";";
        }
        return language == "de" && table == "Broken" ? std::optional<std::string>("\"Quit\"") : std::nullopt;
    }

    QXStringTables tables(std::vector<std::string> languages)
    {
        return QXStringTablesInLanguages(
            std::move(languages), [this](const std::string& l, const std::string& t) { return content(l, t); });
    }

    int asked = 0;
};

TEST(QXStringTablesInLanguages, PrefersTheFirstLanguageThatHasTheKey)
{
    TwoLanguages two;
    const QXStringTables tables = two.tables({"it", "de", "fr"});
    EXPECT_EQ(tables("Quit", ""), "Beenden");
    EXPECT_EQ(tables("Open", ""), "Ouvrir");
    EXPECT_EQ(tables("Close", ""), std::nullopt);
}

TEST(QXStringTablesInLanguages, StopsAtEnglish)
{
    TwoLanguages two;
    EXPECT_EQ(two.tables({"de", "en", "fr"})("Open", ""), std::nullopt);
    EXPECT_EQ(two.tables({"en", "de"})("Quit", ""), std::nullopt);
}

TEST(QXStringTablesInLanguages, LooksIntoAnEnglishTableBeforeItStops)
{
    const auto source = [](const std::string& language, const std::string&) -> std::optional<std::string> {
        return language == "en" ? "\"[placeholder]\" = \"A sentence.\";" : "\"[placeholder]\" = \"Ein Satz.\";";
    };
    EXPECT_EQ(QXStringTablesInLanguages({"en", "de"}, source)("[placeholder]", ""), "A sentence.");
}

TEST(QXStringTablesInLanguages, AsksForATableOnceAndNotBeforeItIsNeeded)
{
    TwoLanguages two;
    const QXStringTables tables = two.tables({"it", "de"});
    EXPECT_EQ(two.asked, 0);
    tables("Quit", "");
    tables("Open", "");
    EXPECT_EQ(two.asked, 2);
}

TEST(QXStringTablesInLanguages, LogsATableThatCannotBeReadOnceAndCountsItAsMissing)
{
    std::vector<std::string> log;
    const QXLogRedirection redirection([&](std::string_view line) { log.emplace_back(line); });
    TwoLanguages two;
    const QXStringTables tables = two.tables({"de"});
    EXPECT_EQ(tables("Quit", "Broken"), std::nullopt);
    EXPECT_EQ(tables("Quit", "Broken"), std::nullopt);
    EXPECT_EQ(log, std::vector<std::string>{"String table \"Broken\" in language de: line 1: '=' is missing"});
}

using Variables = std::map<std::string, std::string>;
using Languages = std::vector<std::string>;

Languages languagesOf(const Variables& variables)
{
    return QXLanguagesOfEnvironment([&](const char* name) {
        const auto found = variables.find(name);
        return found == variables.end() ? std::nullopt : std::optional(found->second);
    });
}

TEST(QXLanguagesOfEnvironment, DropsCountryEncodingAndVariant)
{
    EXPECT_EQ(languagesOf({{"LANG", "de_AT.UTF-8@euro"}}), (Languages{"de_AT", "de", "en"}));
    EXPECT_EQ(languagesOf({{"LANG", "fr"}}), (Languages{"fr", "en"}));
}

TEST(QXLanguagesOfEnvironment, PrefersLcAllThenLcMessagesThenLang)
{
    EXPECT_EQ(languagesOf({{"LC_ALL", "es"}, {"LC_MESSAGES", "fr"}, {"LANG", "de"}}), (Languages{"es", "en"}));
    EXPECT_EQ(languagesOf({{"LC_MESSAGES", "fr"}, {"LANG", "de"}}), (Languages{"fr", "en"}));
    EXPECT_EQ(languagesOf({{"LC_ALL", ""}, {"LANG", "de"}}), (Languages{"de", "en"}));
}

TEST(QXLanguagesOfEnvironment, PutsTheListOfLanguagesFirst)
{
    EXPECT_EQ(languagesOf({{"LANGUAGE", "ja:fr_CA:en"}, {"LANG", "de_DE.UTF-8"}}),
              (Languages{"ja", "fr_CA", "fr", "en", "de_DE", "de"}));
    EXPECT_EQ(languagesOf({{"LANGUAGE", ":de::"}, {"LANG", "de_DE"}}), (Languages{"de", "de_DE", "en"}));
}

TEST(QXLanguagesOfEnvironment, ObeysTheListInTheNeutralLocaleWithUTF8)
{
    EXPECT_EQ(languagesOf({{"LANGUAGE", "de"}, {"LANG", "C.UTF-8"}}), (Languages{"de", "en"}));
}

TEST(QXLanguagesOfEnvironment, IsEnglishWhereNobodyChoseALocaleWhateverTheListSays)
{
    EXPECT_EQ(languagesOf({}), Languages{"en"});
    EXPECT_EQ(languagesOf({{"LANGUAGE", "de"}}), Languages{"en"});
    EXPECT_EQ(languagesOf({{"LANGUAGE", "de"}, {"LANG", "C"}}), Languages{"en"});
    EXPECT_EQ(languagesOf({{"LANGUAGE", "de"}, {"LC_ALL", "POSIX"}, {"LANG", "fr"}}), Languages{"en"});
}

TEST(QXLanguagesOfEnvironment, GivesSimplifiedChineseOnlyToThoseWhoReadIt)
{
    EXPECT_EQ(languagesOf({{"LANG", "zh_CN.UTF-8"}}), (Languages{"zh_CN", "en"}));
    EXPECT_EQ(languagesOf({{"LANG", "zh_SG"}}), (Languages{"zh_CN", "en"}));
    EXPECT_EQ(languagesOf({{"LANG", "zh"}}), (Languages{"zh_CN", "en"}));
    EXPECT_EQ(languagesOf({{"LANG", "zh_TW.UTF-8"}}), (Languages{"zh_TW", "en"}));
    EXPECT_EQ(languagesOf({{"LANG", "zh_HK"}}), (Languages{"zh_HK", "en"}));
}

TEST(QXLanguagesOfEnvironment, RefusesWhatWouldLeadOutOfTheFolder)
{
    EXPECT_EQ(languagesOf({{"LANGUAGE", "../../etc:/tmp:de"}, {"LANG", "fr"}}), (Languages{"de", "fr", "en"}));
}

} // namespace
