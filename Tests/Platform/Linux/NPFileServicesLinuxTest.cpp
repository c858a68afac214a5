#include "Platform/Linux/NPFileServicesLinux.h"

#include "Foundation/QXURL.h"
#include "Platform/Linux/NPTemporaryFolder.h"

#include <gtest/gtest.h>

namespace {

const QXData someContent = {'s', 'o', 'm', 'e'};

class NPFileServicesLinuxTest : public testing::Test {
protected:
    std::string url(std::string_view name) const { return QXFileURLFromPath((folder / name).string()); }
    bool exists(std::string_view name) const { return std::filesystem::exists(folder / name); }

    NPTemporaryFolder folder;
    NPFileServicesLinux files{nullptr, nullptr};
};

} // namespace

TEST_F(NPFileServicesLinuxTest, CachesAreWhereTheUserWantsThem)
{
    EXPECT_EQ(NPFileServicesLinux("/caches of a/", "/home/a").cachesFolder(), "file:///caches%20of%20a");
}

TEST_F(NPFileServicesLinuxTest, CachesAreInTheHomeFolderOtherwise)
{
    for (const char* cacheHome : {static_cast<const char*>(nullptr), "", "relative"}) {
        EXPECT_EQ(NPFileServicesLinux(cacheHome, "/home/a").cachesFolder(), "file:///home/a/.cache");
    }
}

TEST_F(NPFileServicesLinuxTest, ThereAreNoCachesWithoutAHomeFolder)
{
    EXPECT_EQ(NPFileServicesLinux(nullptr, nullptr).cachesFolder(), std::nullopt);
    EXPECT_EQ(NPFileServicesLinux("", "relative").cachesFolder(), std::nullopt);
}

TEST_F(NPFileServicesLinuxTest, FolderIsMadeWithThoseThatItLiesIn)
{
    EXPECT_TRUE(files.createFolder(url("a b/c/d")));
    EXPECT_TRUE(exists("a b/c/d"));
    EXPECT_TRUE(files.createFolder(url("a b/c/d"))); // it is there
}

TEST_F(NPFileServicesLinuxTest, FolderThatCannotBeMadeHasAReason)
{
    writeFile(folder / "file", someContent);
    EXPECT_EQ(files.createFolder(url("file/a")).error(), "Not a directory");
    EXPECT_EQ(files.createFolder("https://example.org/a").error(), "no file URL");
}

TEST_F(NPFileServicesLinuxTest, FileIsWrittenInThePlaceOfAnother)
{
    EXPECT_TRUE(files.writeFile(url("a b"), {1, 2, 3, 4, 5}));
    EXPECT_TRUE(files.writeFile(url("a b"), someContent));
    EXPECT_EQ(contentOf<QXData>(folder / "a b"), someContent);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1); // nothing else is left
}

TEST_F(NPFileServicesLinuxTest, FileThatCannotBeWrittenIsReported)
{
    EXPECT_FALSE(files.writeFile(url("no folder/a"), someContent));
    EXPECT_FALSE(files.writeFile("https://example.org/a", someContent));
}

TEST_F(NPFileServicesLinuxTest, FileIsRemoved)
{
    writeFile(folder / "a", someContent);
    files.removeFile(url("a"));
    EXPECT_FALSE(exists("a"));
    files.removeFile(url("a")); // without a word
}

TEST_F(NPFileServicesLinuxTest, FolderIsRemovedWithItsContent)
{
    ASSERT_TRUE(files.createFolder(url("a/b")));
    writeFile(folder / "a/b/c", someContent);
    files.removeFolder(url("a"));
    EXPECT_FALSE(exists("a"));
    files.removeFolder(url("a"));
}

TEST_F(NPFileServicesLinuxTest, LinkInThePlaceOfAFolderIsRemovedAlone)
{
    ASSERT_TRUE(files.createFolder(url("elsewhere")));
    writeFile(folder / "elsewhere/kept", someContent);
    std::filesystem::create_directory_symlink(folder / "elsewhere", folder / "link");
    files.removeFolder(url("link"));
    EXPECT_FALSE(exists("link"));
    EXPECT_TRUE(exists("elsewhere/kept"));
}
