#include "Platform/Linux/NPTimeZoneServicesLinux.h"

#include "Foundation/QXLog.h"
#include "Platform/Linux/NPTemporaryFolder.h"
#include "Platform/Linux/NPTestTimeZone.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

namespace fs = std::filesystem;

constexpr int waitMilliseconds = 2000;

// The smallest zone file: one offset for all time.
std::string zoneFileContent(int secondsFromGMT)
{
    const auto bigEndian = [](int number) {
        std::string bytes;
        for (const int shift : {24, 16, 8, 0}) {
            bytes += static_cast<char>(static_cast<unsigned>(number) >> shift & 0xFFU);
        }
        return bytes;
    };
    std::string content = "TZif" + std::string(16, '\0');
    for (const int count : {0, 0, 0, 0, 1, 4}) { // one kind of local time, four characters of names
        content += bigEndian(count);
    }
    return content + bigEndian(secondsFromGMT) + std::string(2, '\0') + std::string("ABC\0", 4);
}

// A system with two zones, in one of which it is.
class NPTimeZoneServicesLinuxTest : public testing::Test {
protected:
    NPTimeZoneServicesLinuxTest()
    {
        fs::create_directory(folder / "etc");
        fs::create_directory(folder / "zones");
        writeFile(folder / "zones/East", zoneFileContent(7200));
        writeFile(folder / "zones/West", zoneFileContent(-7200));
        fs::create_symlink(folder / "zones/East", zoneFile);
        notifications.addObserver(observer, std::string(NPSystemTimeZoneDidChangeNotification), nullptr,
                                  [this](const QXNotification&) { ++announced; });
    }

    void start()
    {
        services = std::make_unique<NPTimeZoneServicesLinux>(loop, notifications, zoneFile.string(),
                                                             [this] { readZone(); });
    }
    void readZone() const { NPTestTimeZone::set(':' + zoneFile.string()); }
    int offset() const { return services->systemTimeZone().secondsFromGMT(QXDate{0.0}); }
    void waitForEvents()
    {
        loop.processEvents(waitMilliseconds);
        loop.processEvents();
    }

    const NPTemporaryFolder folder;
    const fs::path zoneFile = folder / "etc/localtime";
    const NPTestTimeZone environment{"UTC0"};
    QXNotificationCenter notifications;
    QXNotificationObserver observer;
    int announced = 0;
    NPMainLoopLinux loop;
    std::unique_ptr<NPTimeZoneServicesLinux> services;
};

TEST_F(NPTimeZoneServicesLinuxTest, BeginsWithTheZoneOfTheFile)
{
    start();
    EXPECT_EQ(offset(), 7200);
    loop.processEvents();
    EXPECT_EQ(announced, 0);
}

TEST_F(NPTimeZoneServicesLinuxTest, NoticesAnotherLinkInItsPlace)
{
    start();
    const QXTimeZone& zone = services->systemTimeZone();
    EXPECT_EQ(zone.secondsFromGMT(QXDate{0.0}), 7200);
    fs::create_symlink(folder / "zones/West", folder / "etc/new");
    fs::rename(folder / "etc/new", zoneFile);
    waitForEvents();
    EXPECT_EQ(announced, 1);
    EXPECT_EQ(zone.secondsFromGMT(QXDate{0.0}), -7200);
}

TEST_F(NPTimeZoneServicesLinuxTest, TheZoneHasChangedWhenItIsAnnounced)
{
    start();
    int seen = 0;
    notifications.addObserver(observer, std::string(NPSystemTimeZoneDidChangeNotification), nullptr,
                              [&](const QXNotification&) { seen = offset(); });
    fs::remove(zoneFile);
    fs::create_symlink(folder / "zones/West", zoneFile);
    waitForEvents();
    EXPECT_EQ(seen, -7200);
}

TEST_F(NPTimeZoneServicesLinuxTest, NoticesAnotherFileWhereTheLinkLeads)
{
    start();
    writeFile(folder / "zones/new", zoneFileContent(3600));
    fs::rename(folder / "zones/new", folder / "zones/East");
    waitForEvents();
    EXPECT_EQ(announced, 1);
    EXPECT_EQ(offset(), 3600);
}

TEST_F(NPTimeZoneServicesLinuxTest, FollowsTheLinkToAnotherFolder)
{
    start();
    fs::create_directory(folder / "other");
    writeFile(folder / "other/Zone", zoneFileContent(60));
    fs::remove(zoneFile);
    fs::create_symlink(folder / "other/Zone", zoneFile);
    waitForEvents();
    EXPECT_EQ(offset(), 60);

    writeFile(folder / "other/new", zoneFileContent(120));
    fs::rename(folder / "other/new", folder / "other/Zone");
    waitForEvents();
    EXPECT_EQ(offset(), 120);
    EXPECT_EQ(announced, 2);

    // The former folder does not matter any more.
    writeFile(folder / "zones/East", zoneFileContent(0));
    loop.processEvents(20);
    EXPECT_EQ(announced, 2);
}

TEST_F(NPTimeZoneServicesLinuxTest, NoticesAPlainFileThatIsWrittenOver)
{
    fs::remove(zoneFile);
    writeFile(zoneFile, zoneFileContent(7200));
    start();
    writeFile(zoneFile, zoneFileContent(300));
    waitForEvents();
    EXPECT_EQ(announced, 1);
    EXPECT_EQ(offset(), 300);

    // A plain file is its own target: the same folder is still watched when a link takes its place.
    fs::remove(zoneFile);
    fs::create_symlink(folder / "zones/West", zoneFile);
    waitForEvents();
    EXPECT_EQ(offset(), -7200);
    fs::remove(zoneFile);
    fs::create_symlink(folder / "zones/East", zoneFile);
    waitForEvents();
    EXPECT_EQ(offset(), 7200);
}

TEST_F(NPTimeZoneServicesLinuxTest, TheZoneStaysWhileThereIsNoFile)
{
    start();
    fs::remove(zoneFile);
    writeFile(folder / "etc/other", std::string("x"));
    waitForEvents();
    EXPECT_EQ(announced, 0);
    EXPECT_EQ(offset(), 7200);
    fs::create_symlink(folder / "zones/West", zoneFile);
    waitForEvents();
    EXPECT_EQ(announced, 1);
    EXPECT_EQ(offset(), -7200);
}

TEST_F(NPTimeZoneServicesLinuxTest, OtherFilesDoNotMatter)
{
    start();
    writeFile(folder / "etc/passwd", std::string("x"));
    writeFile(folder / "zones/West", zoneFileContent(0));
    waitForEvents();
    EXPECT_EQ(announced, 0);
}

TEST_F(NPTimeZoneServicesLinuxTest, AFolderThatIsNotThereIsLoggedInOneLine)
{
    std::vector<std::string> lines;
    const QXLogRedirection log([&](std::string_view line) { lines.emplace_back(line); });
    const NPTimeZoneServicesLinux blind(loop, notifications, "/nowhere/localtime");
    EXPECT_EQ(lines, std::vector<std::string>{"Time zone changes will not be noticed; path=/nowhere/localtime; "
                                              "No such file or directory"});
    EXPECT_EQ(blind.systemTimeZone().secondsFromGMT(QXDate{0.0}), 0);
}

TEST_F(NPTimeZoneServicesLinuxTest, NothingIsWatchedWhereTheEnvironmentNamesTheZone)
{
    EXPECT_EQ(NPTimeZoneServicesLinux::systemZoneFile(), "");
    unsetenv("TZ");
    EXPECT_EQ(NPTimeZoneServicesLinux::systemZoneFile(), "/etc/localtime");
}

} // namespace
