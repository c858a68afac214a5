#include "Platform/Linux/NPUserDefaultsFixture.h"

#include <sys/resource.h>

#include <csignal>
#include <limits>

namespace {

class NPUserDefaultsLinuxTest : public NPUserDefaultsFixture {
protected:
    mode_t modeOf(const std::filesystem::path& path) const
    {
        struct stat status = {};
        return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
    }

    // Stands in the way of the folder, for root as well.
    void blockFolder() { writeFile(folder.parent_path(), std::string("in the way")); }
    void freeFolder() { std::filesystem::remove(folder.parent_path()); }

    std::string unreadable(const std::string& name, const std::string& reason) const
    {
        return "Unreadable settings were set aside as " + (folder / name).string() + ": " + reason;
    }
};

const std::string asideName = "org.nightpane.Nightpane.plist.unreadable-2026-11-21T22-00-00Z";

// No write of this process makes a file longer than this, as on a full disk.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        ::getrlimit(RLIMIT_FSIZE, &_former);
        _formerHandler = std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{bytes, _former.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        ::setrlimit(RLIMIT_FSIZE, &_former);
        std::signal(SIGXFSZ, _formerHandler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit _former = {};
    void (*_formerHandler)(int) = nullptr;
};

} // namespace

TEST_F(NPUserDefaultsLinuxTest, IsEmptyAndMakesNothingWithoutAFile)
{
    {
        const auto store = makeStore();
        EXPECT_FALSE(store->objectForKey("level"));
        EXPECT_TRUE(store->synchronize());
    }
    EXPECT_FALSE(std::filesystem::exists(folder.parent_path()));
    EXPECT_TRUE(lines.empty());
}

TEST_F(NPUserDefaultsLinuxTest, ShowsAndAnnouncesAChangeAtOnce)
{
    const auto store = makeStore();
    store->setObject(0.5, "level");
    EXPECT_EQ(store->objectForKey("level"), QXValue(0.5));
    EXPECT_EQ(announcements, 1);
    EXPECT_EQ(sender, static_cast<NPUserDefaults*>(store.get()));
    store->removeObjectForKey("level");
    EXPECT_FALSE(store->objectForKey("level"));
    EXPECT_EQ(announcements, 2);
}

TEST_F(NPUserDefaultsLinuxTest, AnnouncesNothingForAnEqualValueOrAMissingKey)
{
    const auto store = makeStore();
    store->setObject(true, "flag");
    store->setObject(1, "flag");
    store->removeObjectForKey("other");
    EXPECT_EQ(announcements, 1);
}

TEST_F(NPUserDefaultsLinuxTest, FallsBackToRegisteredDefaultsAndDoesNotSaveThem)
{
    const auto store = makeStore();
    store->registerDefaults({{"flag", true}, {"level", 1}});
    EXPECT_EQ(announcements, 0);
    store->setObject(2, "level");
    EXPECT_EQ(store->objectForKey("flag"), QXValue(true));
    EXPECT_EQ(store->objectForKey("level"), QXValue(2));
    EXPECT_TRUE(store->synchronize());
    EXPECT_EQ(settingsInFile(), (QXDictionary{{"level", 2}}));
    store->removeObjectForKey("level");
    EXPECT_EQ(store->objectForKey("level"), QXValue(1));
}

TEST_F(NPUserDefaultsLinuxTest, SavesHalfASecondAfterTheFirstChangeAllChangesTogether)
{
    const auto store = makeStore();
    store->setObject(1, "first");
    clock.advance(0.4);
    store->setObject(2, "second");
    clock.advance(0.099);
    EXPECT_FALSE(std::filesystem::exists(file));
    clock.advance(0.001);
    EXPECT_TRUE(waitForSettingsInFile({{"first", 1}, {"second", 2}}));
    EXPECT_EQ(clock.timerCount(), 0u);
}

TEST_F(NPUserDefaultsLinuxTest, SavesAChangeThatComesWhileTheDiskIsBusy)
{
    const auto store = makeStore();
    store->setObject(1, "first");
    clock.advance(0.5);
    store->setObject(2, "second"); // the thread may still write, or may have ended
    EXPECT_TRUE(waitForSettingsInFile({{"first", 1}}));
    clock.advance(1);
    EXPECT_TRUE(waitForSettingsInFile({{"first", 1}, {"second", 2}}));
    EXPECT_EQ(clock.timerCount(), 0u);
}

TEST_F(NPUserDefaultsLinuxTest, WakesNobodyWhenIdle)
{
    writeSettings({{"level", 1}});
    const auto store = makeStore();
    EXPECT_EQ(clock.timerCount(), 0u);
    store->setObject(2, "level");
    EXPECT_EQ(clock.timerCount(), 1u);
    EXPECT_TRUE(store->synchronize());
    EXPECT_EQ(clock.timerCount(), 0u);
}

TEST_F(NPUserDefaultsLinuxTest, SavesAtSynchronizeAndAtDestruction)
{
    {
        const auto store = makeStore();
        store->setObject(1, "first");
        EXPECT_TRUE(store->synchronize());
        EXPECT_EQ(settingsInFile(), (QXDictionary{{"first", 1}}));
        store->setObject(2, "second");
    }
    EXPECT_EQ(settingsInFile(), (QXDictionary{{"first", 1}, {"second", 2}}));
    EXPECT_EQ(announcements, 2);
}

TEST_F(NPUserDefaultsLinuxTest, SynchronizeWaitsForWhatIsBeingWritten)
{
    const auto store = makeStore();
    store->setObject(1, "first");
    clock.advance(0.5);
    EXPECT_TRUE(store->synchronize());
    EXPECT_EQ(settingsInFile(), (QXDictionary{{"first", 1}}));
    clock.advance(10); // its end is reported to nobody any more
    EXPECT_EQ(clock.timerCount(), 0u);
}

TEST_F(NPUserDefaultsLinuxTest, WritesABinaryFileThatOnlyItsOwnerReads)
{
    const auto store = makeStore();
    store->setObject(1, "level");
    EXPECT_TRUE(store->synchronize());
    EXPECT_TRUE(contentOf(file).starts_with("bplist00"));
    EXPECT_EQ(modeOf(file), 0600u);
    EXPECT_EQ(modeOf(folder), 0700u);
    EXPECT_EQ(modeOf(folder.parent_path()), 0700u);
    EXPECT_EQ(filesInFolder(), (std::vector<std::string>{file.filename(), file.filename().string() + ".lock"}));
}

TEST_F(NPUserDefaultsLinuxTest, KeepsEveryValueExactly)
{
    const QXValue value = QXDictionary{{"date", QXDate{802980000.123456}},
                                       {"real", 0.1},
                                       {"single", 0.1f},
                                       {"largest", std::numeric_limits<std::uint64_t>::max()},
                                       {"array", QXArray{true, -1, "Nächte", QXData{0, 255}}}};
    makeStore()->setObject(value, "value");
    const auto store = makeStore();
    EXPECT_TRUE(identical(*store->objectForKey("value"), value));
}

TEST_F(NPUserDefaultsLinuxTest, KeepsUnknownKeys)
{
    writeSettings({{"future", QXArray{1, 2}}, {"level", 1}});
    makeStore()->setObject(2, "level");
    EXPECT_EQ(settingsInFile(), (QXDictionary{{"future", QXArray{1, 2}}, {"level", 2}}));
}

TEST_F(NPUserDefaultsLinuxTest, ReadsAnXMLFileAsWell)
{
    std::filesystem::create_directories(folder);
    writeFile(file, QXPropertyListXMLData(QXDictionary{{"level", 0.25}}).value());
    EXPECT_EQ(makeStore()->objectForKey("level"), QXValue(0.25));
}

TEST_F(NPUserDefaultsLinuxTest, SetsAnUnreadableFileAsideAndGoesOnEmpty)
{
    std::filesystem::create_directories(folder);
    writeFile(file, std::string("bplist00 and then nothing"));
    const auto store = makeStore();
    EXPECT_FALSE(store->objectForKey("level"));
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_EQ(contentOf(folder / asideName), "bplist00 and then nothing");
    const std::string reason = "binary property list: the file is too short";
    EXPECT_EQ(lines, std::vector<std::string>{unreadable(asideName, reason)});
    store->setObject(1, "level");
    EXPECT_TRUE(store->synchronize());
    EXPECT_EQ(settingsInFile(), (QXDictionary{{"level", 1}}));
    EXPECT_EQ(lines.size(), 1u);
}

TEST_F(NPUserDefaultsLinuxTest, NeverReplacesWhatWasSetAsideBefore)
{
    std::filesystem::create_directories(folder);
    for (const std::string content : {"one", "two", "three"}) {
        writeFile(file, content);
        makeStore();
    }
    EXPECT_EQ(contentOf(folder / asideName), "one");
    EXPECT_EQ(contentOf(folder / (asideName + "-2")), "two");
    EXPECT_EQ(contentOf(folder / (asideName + "-3")), "three");
}

TEST_F(NPUserDefaultsLinuxTest, TakesAnotherTypeAtTheTopForUnreadable)
{
    std::filesystem::create_directories(folder);
    writeFile(file, QXPropertyListBinaryData(QXArray{1, 2}).value());
    makeStore();
    EXPECT_EQ(lines, std::vector<std::string>{unreadable(asideName, "its property list is no dictionary")});
    EXPECT_TRUE(std::filesystem::exists(folder / asideName));
}

TEST_F(NPUserDefaultsLinuxTest, SetsAsideWhatIsNoFile)
{
    std::filesystem::create_directories(file);
    makeStore();
    ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
    makeStore();
    EXPECT_EQ(lines, (std::vector<std::string>{unreadable(asideName, "it is no regular file"),
                                               unreadable(asideName + "-2", "it is no regular file")}));
}

TEST_F(NPUserDefaultsLinuxTest, SetsAsideAHugeFileWithoutReadingIt)
{
    std::filesystem::create_directories(folder);
    writeFile(file, std::string("<plist>"));
    std::filesystem::resize_file(file, std::uintmax_t{1} << 40);
    makeStore();
    EXPECT_EQ(lines, std::vector<std::string>{unreadable(asideName, "it is too large")});
}

TEST_F(NPUserDefaultsLinuxTest, KeepsRunningSettingsWhenTheFileBecomesUnreadable)
{
    const auto store = makeStore();
    store->setObject(1, "level");
    EXPECT_TRUE(store->synchronize());
    writeFile(file, std::string("broken"));
    store->readChanges();
    clock.advance(0.5);
    EXPECT_TRUE(waitForSettingsInFile({{"level", 1}}));
    EXPECT_EQ(store->objectForKey("level"), QXValue(1));
    EXPECT_EQ(announcements, 1);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(contentOf(folder / asideName), "broken");
}

TEST_F(NPUserDefaultsLinuxTest, KeepsSettingsWhenTheFileVanishes)
{
    writeSettings({{"level", 1}});
    const auto store = makeStore();
    std::filesystem::remove_all(folder.parent_path());
    store->readChanges();
    EXPECT_EQ(store->objectForKey("level"), QXValue(1));
    EXPECT_EQ(announcements, 0);
    store->setObject(2, "other");
    EXPECT_TRUE(store->synchronize());
    EXPECT_EQ(settingsInFile(), (QXDictionary{{"level", 1}, {"other", 2}}));
}

TEST_F(NPUserDefaultsLinuxTest, ReportsAFolderThatCannotBeWrittenOnce)
{
    const auto store = makeStore();
    blockFolder();
    store->setObject(1, "level");
    EXPECT_FALSE(store->synchronize());
    EXPECT_FALSE(store->synchronize());
    clock.advance(600);
    const std::string line = "Settings cannot be saved in " + file.string() + ": Not a directory";
    EXPECT_EQ(lines, std::vector<std::string>{line});
    EXPECT_EQ(store->objectForKey("level"), QXValue(1));

    freeFolder();
    EXPECT_TRUE(store->synchronize());
    EXPECT_EQ(settingsInFile(), (QXDictionary{{"level", 1}}));
    std::filesystem::remove_all(folder.parent_path());
    blockFolder();
    store->setObject(2, "level");
    EXPECT_FALSE(store->synchronize());
    EXPECT_EQ(lines.size(), 2u);
}

TEST_F(NPUserDefaultsLinuxTest, TriesAgainByItselfAfterAFailure)
{
    const auto store = makeStore();
    blockFolder();
    store->setObject(1, "level");
    clock.advance(1);
    freeFolder();
    clock.advance(30);
    EXPECT_TRUE(waitForSettingsInFile({{"level", 1}}));
    EXPECT_EQ(clock.timerCount(), 0u);
}

TEST_F(NPUserDefaultsLinuxTest, KeepsTheOldFileWhenTheDiskIsFull)
{
    writeSettings({{"level", 1}});
    const auto store = makeStore();
    store->setObject(QXData(100000), "large");
    {
        const FileSizeLimit limit(4096);
        EXPECT_FALSE(store->synchronize());
        store->setObject(2, "level");
        clock.advance(0.5); // now in the background
        EXPECT_FALSE(store->synchronize());
    }
    EXPECT_EQ(settingsInFile(), (QXDictionary{{"level", 1}}));
    EXPECT_EQ(filesInFolder().size(), 2u) << "a temporary file is left";
    EXPECT_EQ(lines,
              std::vector<std::string>{"Settings cannot be saved in " + file.string() + ": File too large"});
    EXPECT_TRUE(store->synchronize());
    EXPECT_EQ(settingsInFile(), (QXDictionary{{"large", QXData(100000)}, {"level", 2}}));
}

TEST_F(NPUserDefaultsLinuxTest, SetsAsideALinkThatLeadsToItself)
{
    std::filesystem::create_directories(folder);
    std::filesystem::create_symlink(file, file);
    makeStore()->setObject(1, "level");
    EXPECT_EQ(lines, std::vector<std::string>{unreadable(asideName, "Too many levels of symbolic links")});
    EXPECT_EQ(settingsInFile(), (QXDictionary{{"level", 1}}));
}

TEST_F(NPUserDefaultsLinuxTest, GoesOnInMemoryOverAFileThatItCanNeitherReadNorSetAside)
{
    std::filesystem::create_directories(folder);
    std::filesystem::create_symlink("/proc/version", file); // where nobody renames
    const auto store = makeStore();
    store->setObject(1, "level");
    EXPECT_FALSE(store->synchronize());
    EXPECT_EQ(store->objectForKey("level"), QXValue(1));
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_TRUE(lines[0].starts_with("Settings in " + file.string()
                                     + " cannot be read: neither an XML nor a "
                                       "binary property list; and not set aside: "))
        << lines[0];
}

TEST_F(NPUserDefaultsLinuxTest, DoesNotSaveWhatItCouldNotReadAgain)
{
    QXValue deep = 1;
    for (int i = 0; i < 200; ++i) {
        deep = QXArray{deep};
    }
    const auto store = makeStore();
    store->setObject(1, "level");
    EXPECT_TRUE(store->synchronize());
    store->setObject(deep, "deep");
    EXPECT_FALSE(store->synchronize());
    EXPECT_EQ(lines,
              std::vector<std::string>{"Settings cannot be saved: they are values nested more than 128 deep"});
    store->removeObjectForKey("deep");
    EXPECT_TRUE(store->synchronize());
    EXPECT_EQ(settingsInFile(), (QXDictionary{{"level", 1}}));
}

TEST_F(NPUserDefaultsLinuxTest, LeavesASymbolicLinkInPlace)
{
    const std::filesystem::path real = temporary / "elsewhere/real.plist";
    std::filesystem::create_directories(real.parent_path());
    std::filesystem::create_directories(folder);
    writeFile(real, QXPropertyListBinaryData(QXDictionary{{"level", 1}}).value());
    std::filesystem::create_symlink("../../elsewhere/real.plist", file);
    const auto store = makeStore();
    EXPECT_EQ(store->objectForKey("level"), QXValue(1));
    store->setObject(2, "level");
    EXPECT_TRUE(store->synchronize());
    EXPECT_TRUE(std::filesystem::is_symlink(file));
    EXPECT_FALSE(std::filesystem::is_symlink(real));
    EXPECT_EQ(settingsInFile(), (QXDictionary{{"level", 2}}));
}

TEST_F(NPUserDefaultsLinuxTest, MakesTheFileThatASymbolicLinkMisses)
{
    std::filesystem::create_directories(folder);
    std::filesystem::create_symlink(temporary / "real.plist", file);
    makeStore()->setObject(1, "level");
    EXPECT_TRUE(std::filesystem::is_symlink(file));
    EXPECT_TRUE(std::filesystem::is_regular_file(temporary / "real.plist"));
    EXPECT_EQ(settingsInFile(), (QXDictionary{{"level", 1}}));
}

TEST_F(NPUserDefaultsLinuxTest, LivesInMemoryWithoutAFolder)
{
    NPUserDefaultsLinux store(std::nullopt, clock, clock, clock, notifications);
    EXPECT_TRUE(store.synchronize());
    store.setObject(1, "level");
    EXPECT_EQ(store.objectForKey("level"), QXValue(1));
    EXPECT_EQ(announcements, 1);
    EXPECT_FALSE(store.synchronize());
    EXPECT_EQ(clock.timerCount(), 0u);
    EXPECT_TRUE(lines.empty());
}

TEST_F(NPUserDefaultsLinuxTest, LetsAnObserverSynchronizeAndStore)
{
    const auto store = makeStore();
    QXNotificationObserver eager;
    notifications.addObserver(eager, std::string(NPUserDefaultsDidChangeNotification), store.get(),
                              [&](const QXNotification&) {
                                  store->setObject(true, "seen");
                                  EXPECT_TRUE(store->synchronize());
                              });
    elsewhere([](NPUserDefaults& other) { other.setObject(1, "theirs"); });
    store->setObject(2, "ours");
    EXPECT_TRUE(store->synchronize());
    EXPECT_EQ(settingsInFile(), (QXDictionary{{"ours", 2}, {"seen", true}, {"theirs", 1}}));
}
