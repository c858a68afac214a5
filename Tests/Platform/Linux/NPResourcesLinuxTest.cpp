#include "Platform/Linux/NPResourcesLinux.h"

#include "Foundation/QXLog.h"
#include "Platform/Linux/NPTemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

class NPStringTableSourceTest : public testing::Test {
protected:
    NPStringTableSourceTest() { std::filesystem::create_directory(folder / "de"); }

    NPTemporaryFolder folder;
    QXStringTableSource source = NPStringTableSource(folder.path().string());
};

TEST_F(NPStringTableSourceTest, GivesTheFileOfATable)
{
    writeFile(folder / "de/Localizable.strings", std::string("main"));
    writeFile(folder / "de/Other.strings", std::string("other"));
    EXPECT_EQ(source("de", ""), "main");
    EXPECT_EQ(source("de", "Other"), "other");
}

TEST_F(NPStringTableSourceTest, GivesNoneForAMissingFile)
{
    EXPECT_EQ(source("de", ""), std::nullopt);
    EXPECT_EQ(source("fr", ""), std::nullopt);
}

TEST_F(NPStringTableSourceTest, LogsWhatIsNoFile)
{
    std::filesystem::create_directory(folder / "de/Localizable.strings");
    std::vector<std::string> log;
    const QXLogRedirection redirection([&](std::string_view line) { log.emplace_back(line); });
    EXPECT_EQ(source("de", ""), std::nullopt);
    ASSERT_EQ(log.size(), 1u);
    EXPECT_TRUE(log[0].starts_with((folder / "de/Localizable.strings: ").string())) << log[0];
}

TEST(NPStringTables, CanAllBeRead)
{
    const QXStringTableSource source = NPStringTableSource(NP_TEST_STRINGS);
    int count = 0;
    for (const auto& file : std::filesystem::recursive_directory_iterator(NP_TEST_STRINGS)) {
        if (file.path().extension() == ".strings") { // credits lie beside them
            const auto content = source(file.path().parent_path().filename(), file.path().stem());
            const auto table = QXStringTable::tableWithText(content.value_or("none"));
            EXPECT_TRUE(table) << file.path() << ": " << table.error();
            ++count;
        }
    }
    EXPECT_GE(count, 5); // languages
}

TEST(NPProgramFolder, IsWhereTheRunningProgramLies)
{
    EXPECT_TRUE(std::filesystem::exists(NPProgramFolder() + "nightpane-linux-tests"));
}

} // namespace
