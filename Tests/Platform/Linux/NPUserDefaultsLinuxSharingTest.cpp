// The settings file in the hands of several processes.
#include "Platform/Linux/NPUserDefaultsFixture.h"

#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

namespace {

class NPUserDefaultsLinuxSharing : public NPUserDefaultsFixture {
protected:
    // Runs the work in a second process; its end is waited for with endedWell().
    template<class Work> pid_t inSecondProcess(Work work)
    {
        const pid_t process = ::fork();
        if (process == 0) {
            work();
            ::_exit(testing::Test::HasFailure() ? 1 : 0);
        }
        return process;
    }
    static bool endedWell(pid_t process)
    {
        int status = 0;
        return ::waitpid(process, &status, 0) == process && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }
};

} // namespace

TEST_F(NPUserDefaultsLinuxSharing, TakesOverAndAnnouncesTheChangesOfOthersOnce)
{
    writeSettings({{"kept", 1}, {"removed", 2}, {"changed", 3}});
    const auto store = makeStore();
    elsewhere([](NPUserDefaults& other) {
        other.setObject(4, "changed");
        other.setObject(5, "added");
        other.removeObjectForKey("removed");
    });
    store->readChanges();
    EXPECT_EQ(announcements, 1);
    EXPECT_EQ(sender, static_cast<NPUserDefaults*>(store.get()));
    EXPECT_EQ(store->objectForKey("kept"), QXValue(1));
    EXPECT_EQ(store->objectForKey("changed"), QXValue(4));
    EXPECT_EQ(store->objectForKey("added"), QXValue(5));
    EXPECT_FALSE(store->objectForKey("removed"));
    store->readChanges();
    EXPECT_EQ(announcements, 1);
}

TEST_F(NPUserDefaultsLinuxSharing, AnnouncesNothingWhenOthersSaveTheSameSettings)
{
    writeSettings({{"level", 1}});
    const auto store = makeStore();
    writeSettings({{"level", 1}});
    store->readChanges();
    EXPECT_EQ(announcements, 0);
}

TEST_F(NPUserDefaultsLinuxSharing, AnnouncesNothingForItsOwnSaving)
{
    const auto store = makeStore();
    store->setObject(1, "level");
    clock.advance(0.5);
    EXPECT_TRUE(waitForSettingsInFile({{"level", 1}}));
    store->readChanges();
    EXPECT_EQ(announcements, 1);
}

TEST_F(NPUserDefaultsLinuxSharing, KeepsItsUnsavedChangesOverThoseOfOthers)
{
    writeSettings({{"both", 0}, {"ours", 0}, {"removed", 0}, {"theirs", 0}});
    const auto store = makeStore();
    store->setObject(1, "both");
    store->setObject(1, "ours");
    store->removeObjectForKey("removed");
    elsewhere([](NPUserDefaults& other) {
        other.setObject(2, "both");
        other.setObject(2, "removed");
        other.setObject(2, "theirs");
    });
    announcements = 0;
    store->readChanges();
    EXPECT_EQ(announcements, 1);
    EXPECT_EQ(store->objectForKey("both"), QXValue(1));
    EXPECT_EQ(store->objectForKey("theirs"), QXValue(2));
    EXPECT_TRUE(store->synchronize());
    EXPECT_EQ(settingsInFile(), (QXDictionary{{"both", 1}, {"ours", 1}, {"theirs", 2}}));
}

TEST_F(NPUserDefaultsLinuxSharing, SavesOverWhatOthersHaveSavedUnnoticed)
{
    const auto store = makeStore();
    store->setObject(1, "ours");
    elsewhere([](NPUserDefaults& other) { other.setObject(2, "theirs"); });
    announcements = 0;
    clock.advance(0.5);
    EXPECT_TRUE(waitForSettingsInFile({{"ours", 1}, {"theirs", 2}}));
    EXPECT_EQ(store->objectForKey("theirs"), QXValue(2));
    EXPECT_EQ(announcements, 1);
}

TEST_F(NPUserDefaultsLinuxSharing, KeepsItsSettingsWhenAnotherProcessStartsAnewOverAnUnreadableFile)
{
    writeSettings({{"ours", 1}});
    const auto store = makeStore();
    writeFile(file, std::string("broken"));
    store->readChanges();
    elsewhere([](NPUserDefaults& other) { other.setObject(2, "theirs"); });
    clock.advance(0.5);
    EXPECT_TRUE(waitForSettingsInFile({{"ours", 1}, {"theirs", 2}}));
    EXPECT_EQ(store->objectForKey("ours"), QXValue(1));
}

TEST_F(NPUserDefaultsLinuxSharing, TakesOverAtSynchronize)
{
    const auto store = makeStore();
    elsewhere([](NPUserDefaults& other) { other.setObject(2, "theirs"); });
    EXPECT_TRUE(store->synchronize());
    EXPECT_EQ(store->objectForKey("theirs"), QXValue(2));
    EXPECT_EQ(announcements, 1);
}

TEST_F(NPUserDefaultsLinuxSharing, AnnouncesNothingWhileItIsDestroyed)
{
    auto store = makeStore();
    store->setObject(1, "ours");
    elsewhere([](NPUserDefaults& other) { other.setObject(2, "theirs"); });
    announcements = 0;
    store.reset();
    EXPECT_EQ(announcements, 0);
    EXPECT_EQ(settingsInFile(), (QXDictionary{{"ours", 1}, {"theirs", 2}}));
}

TEST_F(NPUserDefaultsLinuxSharing, LosesNoKeyWhenManyProcessesSaveAtOnce)
{
    constexpr int processes = 4;
    constexpr int keys = 20;
    std::vector<pid_t> running;
    for (int process = 0; process < processes; ++process) {
        running.push_back(inSecondProcess([&] {
            const auto store = makeStore();
            for (int key = 0; key < keys; ++key) {
                store->setObject(key, std::to_string(process) + '/' + std::to_string(key));
                EXPECT_TRUE(store->synchronize());
            }
        }));
    }
    QXDictionary expected;
    for (int process = 0; process < processes; ++process) {
        EXPECT_TRUE(endedWell(running[static_cast<std::size_t>(process)]));
        for (int key = 0; key < keys; ++key) {
            expected.emplace(std::to_string(process) + '/' + std::to_string(key), key);
        }
    }
    EXPECT_EQ(settingsInFile(), expected);
    EXPECT_EQ(filesInFolder().size(), 2u);
}

TEST_F(NPUserDefaultsLinuxSharing, WaitsWithSavingWhileAnotherProcessSaves)
{
    const auto store = makeStore();
    NPFileDescriptor lock = openLockFile();
    ASSERT_EQ(::flock(lock.get(), LOCK_EX), 0);
    store->setObject(1, "level");
    clock.advance(0.5);
    EXPECT_EQ(clock.timerCount(), 1u);
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_TRUE(lines.empty());
    lock.reset();
    clock.advance(0.5);
    EXPECT_TRUE(waitForSettingsInFile({{"level", 1}}));
}

TEST_F(NPUserDefaultsLinuxSharing, SynchronizeGivesUpOnAProcessThatKeepsTheLock)
{
    const auto store = makeStore();
    NPFileDescriptor lock = openLockFile();
    ASSERT_EQ(::flock(lock.get(), LOCK_EX), 0);
    store->setObject(1, "level");
    EXPECT_FALSE(store->synchronize());
    EXPECT_EQ(lines, std::vector<std::string>{"Settings cannot be saved in " + file.string()
                                              + ": another process is saving them"});
    lock.reset();
    EXPECT_TRUE(store->synchronize());
}

TEST_F(NPUserDefaultsLinuxSharing, SavesAtDestructionAlsoWhenAProcessKeepsTheLock)
{
    auto store = makeStore();
    const NPFileDescriptor lock = openLockFile();
    ASSERT_EQ(::flock(lock.get(), LOCK_EX), 0);
    store->setObject(1, "level");
    store.reset();
    EXPECT_EQ(settingsInFile(), (QXDictionary{{"level", 1}}));
}

namespace {

// On the real loop, where changes are noticed without being asked for.
class NPUserDefaultsLinuxWatching : public NPUserDefaultsLinuxSharing {
protected:
    bool serveUntil(const std::function<bool()>& condition)
    {
        for (int i = 0; i < 500 && !condition(); ++i) {
            loop.processEvents(10);
        }
        return condition();
    }
    void changeElsewhere()
    {
        EXPECT_TRUE(endedWell(
            inSecondProcess([&] { elsewhere([](NPUserDefaults& other) { other.setObject(2, "theirs"); }); })));
    }

    NPMainLoopLinux loop;
};

} // namespace

TEST_F(NPUserDefaultsLinuxWatching, NoticesTheFirstSettingsOfAnotherProcess)
{
    const NPUserDefaultsLinux store(folder, loop, notifications);
    changeElsewhere();
    EXPECT_TRUE(serveUntil([&] { return announcements > 0; }));
    EXPECT_EQ(store.objectForKey("theirs"), QXValue(2));
    loop.processEvents(50);
    EXPECT_EQ(announcements, 1);
}

TEST_F(NPUserDefaultsLinuxWatching, NoticesAFileThatIsWrittenInPlace)
{
    writeSettings({{"level", 1}});
    const NPUserDefaultsLinux store(folder, loop, notifications);
    writeSettings({{"level", 22}});
    EXPECT_TRUE(serveUntil([&] { return announcements > 0; }));
    EXPECT_EQ(store.objectForKey("level"), QXValue(22));
}

TEST_F(NPUserDefaultsLinuxWatching, LeavesAFileThatIsBeingWrittenAloneUntilItIsDone)
{
    writeSettings({{"level", 1}, {"ours", 1}});
    const NPUserDefaultsLinux store(folder, loop, notifications);
    const QXData changed = QXPropertyListBinaryData(QXDictionary{{"level", 22}, {"ours", 1}}).value();
    std::ofstream editor(file, std::ios::binary);
    const auto write = [&](std::size_t begin, std::size_t end) {
        editor.write(reinterpret_cast<const char*>(changed.data()) + begin, static_cast<long>(end - begin));
        editor.flush();
    };
    write(0, changed.size() / 2);
    writeFile(folder / "another", std::string("file"));
    loop.processEvents(50);
    write(changed.size() / 2, changed.size());
    editor.close();
    EXPECT_TRUE(serveUntil([&] { return announcements > 0; }));
    EXPECT_EQ(store.objectForKey("level"), QXValue(22));
    EXPECT_TRUE(lines.empty());
}

TEST_F(NPUserDefaultsLinuxWatching, NoticesChangesBehindASymbolicLink)
{
    const std::filesystem::path real = temporary / "elsewhere/real.plist";
    std::filesystem::create_directories(real.parent_path());
    std::filesystem::create_directories(folder);
    std::filesystem::create_symlink(real, file);
    const NPUserDefaultsLinux store(folder, loop, notifications);
    changeElsewhere();
    EXPECT_TRUE(serveUntil([&] { return announcements > 0; }));
    EXPECT_EQ(store.objectForKey("theirs"), QXValue(2));
}

TEST_F(NPUserDefaultsLinuxWatching, NoticesChangesInAFolderThatWasMadeAnew)
{
    NPUserDefaultsLinux store(folder, loop, notifications);
    std::filesystem::remove_all(folder.parent_path());
    store.setObject(1, "ours");
    EXPECT_TRUE(store.synchronize());
    announcements = 0;
    changeElsewhere();
    EXPECT_TRUE(serveUntil([&] { return announcements > 0; }));
    EXPECT_EQ(store.objectForKey("theirs"), QXValue(2));
}

TEST_F(NPUserDefaultsLinuxWatching, SavesByItself)
{
    NPUserDefaultsLinux store(folder, loop, notifications);
    store.setObject(1, "ours");
    EXPECT_TRUE(serveUntil([&] { return settingsInFile() == QXDictionary{{"ours", 1}}; }));
    changeElsewhere();
    EXPECT_TRUE(serveUntil([&] { return announcements > 1; }));
    EXPECT_EQ(settingsInFile(), (QXDictionary{{"ours", 1}, {"theirs", 2}}));
}
