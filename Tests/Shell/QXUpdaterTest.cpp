#include "Shell/QXUpdater.h"

#include "Foundation/QXBase64.h"
#include "Foundation/QXLog.h"
#include "Platform/Simulated/NPSimulatedDesktop.h"
#include "Shell/QXWebStoreUpdateManager.h"
#include "Support/NPEngineTest.h"

namespace {

const std::string feed = "https://updates.real.net/appcast.xml";
constexpr double hour = 3600.0;

std::string item(const std::string& version, const std::string& properties = "")
{
    return "<item><sparkle:version>" + version + "</sparkle:version><link>https://www.real.net/get</link>"
           + properties + "</item>";
}

// Version 1.0 (100) runs, on Linux 12.8; the feed can be reached.
class QXUpdaterTest : public NPEngineTest {
protected:
    QXUpdaterTest()
    {
        NPInstallDesktop(desktop.services());
        desktop.bundle.info.insert_or_assign("SUFeedURL", feed);
        updater = std::make_shared<QXUpdater>(platform.services(), desktop.services());
    }

    void serveFeed(const std::string& items)
    {
        desktop.downloads.contents[feed] = "<rss><channel>" + items + "</channel></rss>";
    }
    void checkByHand()
    {
        updater->checkForUpdates();
        desktop.downloads.finish();
    }
    // Starts with automatic checks on, and lets the first one run.
    void checkAutomatically()
    {
        updater->setAutomaticallyChecksForUpdates(true);
        ASSERT_TRUE(updater->startUpdater().has_value());
        platform.clock.advance(60.0);
        desktop.downloads.finish();
    }
    std::string offered() const
    {
        std::string versions;
        for (const NPUpdateOffer& offer : desktop.userDriver.offers) {
            versions += offer.version + ' ';
        }
        return versions;
    }
    std::string alerts() const
    {
        std::string text;
        for (const NPAlert& alert : desktop.alerts.shown) {
            text += alert.messageText + " | " + alert.informativeText + '\n';
        }
        return text;
    }
    void requireSignature() { desktop.bundle.info.insert_or_assign("SUPublicEDKey", QXBase64FromData(key)); }
    std::string signedItem(const std::string& signature) const
    {
        return item("200", "<enclosure url=\"https://www.real.net/a.deb\" length=\"7\" sparkle:edSignature=\""
                               + signature + "\"/>");
    }
    int downloads() const
    {
        return static_cast<int>(std::ranges::count_if(
            platform.log.lines(), [](const std::string& line) { return line.starts_with("download "); }));
    }

    const QXData key = QXData(32, 7);
    NPSimulatedDesktop desktop{platform.log};
    std::shared_ptr<QXUpdater> updater;
};

TEST_F(QXUpdaterTest, NewerVersionIsOffered)
{
    serveFeed(item("200", "<sparkle:shortVersionString>2.0</sparkle:shortVersionString>"
                          "<description>Better</description>"));
    checkByHand();
    ASSERT_EQ(desktop.userDriver.offers.size(), 1U);
    const NPUpdateOffer& offer = desktop.userDriver.offers[0];
    EXPECT_EQ(offer.version, "2.0 (200)");
    EXPECT_EQ(offer.currentVersion, "1.0 (100)");
    EXPECT_EQ(offer.releaseNotes, "Better");
    EXPECT_FALSE(offer.isCritical);
    EXPECT_EQ(alerts(), "");
}

TEST_F(QXUpdaterTest, CheckByHandShowsThatItRunsUntilItHasAnAnswer)
{
    serveFeed(item("200"));
    updater->checkForUpdates();
    EXPECT_TRUE(updater->checkInProgress());
    desktop.downloads.finish();
    EXPECT_FALSE(updater->checkInProgress());
    EXPECT_EQ(platform.log.text(), "update checking\ndefaults set SULastCheckTime\ndownload " + feed
                                       + "\nupdate check dismissed\nupdate found 200 by hand\n");
}

TEST_F(QXUpdaterTest, CheckByHandCanBeCancelled)
{
    updater->checkForUpdates();
    desktop.userDriver.cancel();
    EXPECT_FALSE(updater->checkInProgress());
    EXPECT_FALSE(desktop.downloads.finish());
    EXPECT_EQ(alerts(), "");
}

TEST_F(QXUpdaterTest, NewestOfSeveralIsOffered)
{
    serveFeed(item("150") + item("1000") + item("300"));
    checkByHand();
    EXPECT_EQ(offered(), "1000 ");
}

TEST_F(QXUpdaterTest, SameOrOlderVersionIsNone)
{
    serveFeed(item("100") + item("99"));
    checkByHand();
    EXPECT_EQ(offered(), "");
    EXPECT_EQ(alerts(), "You’re up to date! | Nightpane 1.0 (100) is currently the newest version available.\n");
}

TEST_F(QXUpdaterTest, VersionsForOthersAreNone)
{
    serveFeed(item("200", "<sparkle:minimumSystemVersion>13</sparkle:minimumSystemVersion>")
              + item("201", "<sparkle:channel>beta</sparkle:channel>")
              + item("202", "<enclosure url=\"u\" sparkle:os=\"windows\"/>")
              + item("150",
                     "<sparkle:minimumSystemVersion>12.8</sparkle:minimumSystemVersion>"
                     "<enclosure url=\"u\" sparkle:os=\"linux\"/><enclosure url=\"v\" sparkle:os=\"windows\"/>"));
    checkByHand();
    EXPECT_EQ(offered(), "150 ");
}

TEST_F(QXUpdaterTest, NotesAreFetchedWhereTheFeedHasNone)
{
    serveFeed(item("200", "<sparkle:releaseNotesLink>https://www.real.net/notes</sparkle:releaseNotesLink>"));
    desktop.downloads.contents["https://www.real.net/notes"] = "<p>Better</p>";
    checkByHand();
    EXPECT_EQ(desktop.userDriver.offers.at(0).releaseNotes, "<p>Better</p>");
}

TEST_F(QXUpdaterTest, NotesThatCannotBeHadKeepNobodyFromTheUpdate)
{
    serveFeed(item("200", "<sparkle:releaseNotesLink>https://www.real.net/notes</sparkle:releaseNotesLink>"));
    checkByHand();
    serveFeed(item("200", "<sparkle:releaseNotesLink>file:///etc/passwd</sparkle:releaseNotesLink>"));
    checkByHand();
    EXPECT_EQ(offered(), "200 200 ");
    EXPECT_EQ(desktop.userDriver.offers[1].releaseNotes, "");
}

TEST_F(QXUpdaterTest, ChosenUpdateOpensItsPage)
{
    serveFeed(item("200"));
    checkByHand();
    platform.log.clear();
    desktop.userDriver.choose(NPUpdateChoice::openDownloadPage);
    EXPECT_EQ(platform.log.text(), "open https://www.real.net/get\n");
}

TEST_F(QXUpdaterTest, UpdateWithoutAPageOpensItsDownload)
{
    serveFeed("<item><enclosure url=\"https://www.real.net/a.deb\" sparkle:version=\"200\"/></item>");
    checkByHand();
    platform.log.clear();
    desktop.userDriver.choose(NPUpdateChoice::openDownloadPage);
    EXPECT_EQ(platform.log.text(), "open https://www.real.net/a.deb\n");
}

TEST_F(QXUpdaterTest, NothingButWebPagesIsOpened)
{
    serveFeed("<item><sparkle:version>200</sparkle:version><link>file:///bin/sh</link></item>");
    checkByHand();
    platform.log.clear();
    desktop.userDriver.choose(NPUpdateChoice::openDownloadPage);
    EXPECT_EQ(platform.log.text(), "");
}

TEST_F(QXUpdaterTest, SkippedVersionIsOfferedByHandAlone)
{
    serveFeed(item("200"));
    checkByHand();
    desktop.userDriver.choose(NPUpdateChoice::skip);
    EXPECT_EQ(platform.defaults.objectForKey("SUSkippedVersion"), QXValue("200"));
    checkByHand();
    EXPECT_EQ(offered(), "200 200 ");
    checkAutomatically();
    EXPECT_EQ(offered(), "200 200 ");
    serveFeed(item("201"));
    platform.clock.advance(25 * hour);
    desktop.downloads.finish();
    EXPECT_EQ(offered(), "200 200 201 ");
}

TEST_F(QXUpdaterTest, CriticalVersionCannotBeSkipped)
{
    serveFeed(item("200", "<sparkle:criticalUpdate/>"));
    checkByHand();
    EXPECT_TRUE(desktop.userDriver.offers.at(0).isCritical);
    desktop.userDriver.choose(NPUpdateChoice::skip);
    EXPECT_EQ(platform.defaults.objectForKey("SUSkippedVersion"), std::nullopt);
}

TEST_F(QXUpdaterTest, VersionToBeRemindedOfComesBackAtTheNextCheck)
{
    serveFeed(item("200"));
    checkAutomatically();
    desktop.userDriver.choose(NPUpdateChoice::remindLater);
    platform.clock.advance(24 * hour);
    desktop.downloads.finish();
    EXPECT_EQ(offered(), "200 200 ");
}

TEST_F(QXUpdaterTest, PageThatCannotBeOpenedIsShownByItsAddress)
{
    desktop.workspace.opens = false;
    serveFeed(item("200"));
    checkByHand();
    desktop.userDriver.choose(NPUpdateChoice::openDownloadPage);
    EXPECT_EQ(alerts(), "The download page cannot be opened. | https://www.real.net/get\n");
}

TEST_F(QXUpdaterTest, FailureByHandIsAnAlert)
{
    std::string logged;
    const QXLogRedirection redirection([&](std::string_view line) { logged += std::string(line) + '\n'; });
    checkByHand();
    serveFeed("<item>");
    checkByHand();
    desktop.downloads.contents[feed] = std::string((1 << 20) + 1, ' ');
    checkByHand();
    const std::string message = "The check for updates failed. | ";
    EXPECT_EQ(alerts(), message + "The update feed cannot be reached: " + feed + " cannot be reached\n" + message
                            + "The update feed cannot be read: " + feed + '\n' + message
                            + "The update feed cannot be reached: " + feed + " is too large\n");
    // What is wrong with a feed is for those who have made it.
    EXPECT_EQ(logged, "Update check failed: The update feed cannot be read: " + feed
                          + " (line 1: an end tag of another element)\n");
}

TEST_F(QXUpdaterTest, FailureOfAnAutomaticCheckIsALineOfTheLog)
{
    std::string logged;
    const QXLogRedirection redirection([&](std::string_view line) { logged += std::string(line) + '\n'; });
    checkAutomatically();
    EXPECT_EQ(alerts(), "");
    EXPECT_EQ(logged, "Update check failed: The update feed cannot be reached: " + feed + " cannot be reached\n");
}

TEST_F(QXUpdaterTest, FailureOfAnAutomaticCheckSaysInOneLineWhatIsWrongWithTheFeed)
{
    std::string logged;
    const QXLogRedirection redirection([&](std::string_view line) { logged += std::string(line) + '\n'; });
    serveFeed("<item>");
    checkAutomatically();
    EXPECT_EQ(alerts(), "");
    EXPECT_EQ(logged, "Update check failed: The update feed cannot be read: " + feed
                          + " (line 1: an end tag of another element)\n");
}

TEST_F(QXUpdaterTest, AutomaticCheckThatFindsNothingSaysNothing)
{
    serveFeed(item("100"));
    checkAutomatically();
    EXPECT_EQ(alerts() + offered(), "");
    EXPECT_EQ(logged("update checking"), 0);
}

TEST_F(QXUpdaterTest, AutomaticCheckOffersWithoutHavingBeenAsked)
{
    serveFeed(item("200"));
    checkAutomatically();
    EXPECT_EQ(logged("update found 200"), 1);
}

TEST_F(QXUpdaterTest, AutomaticCheckBecomesTheOneByHandThatIsAskedForMeanwhile)
{
    updater->setAutomaticallyChecksForUpdates(true);
    ASSERT_TRUE(updater->startUpdater().has_value());
    platform.clock.advance(60.0);
    updater->checkForUpdates();
    updater->checkForUpdates(); // is one already
    EXPECT_EQ(downloads(), 1);
    EXPECT_EQ(logged("update checking"), 1);
    serveFeed(item("100"));
    desktop.downloads.finish();
    EXPECT_NE(alerts(), "");
}

TEST_F(QXUpdaterTest, ChecksByItselfOnlyWhenTold)
{
    ASSERT_TRUE(updater->startUpdater().has_value());
    EXPECT_FALSE(updater->automaticallyChecksForUpdates());
    EXPECT_EQ(platform.clock.timerCount(), 0U);
    updater->setAutomaticallyChecksForUpdates(true);
    EXPECT_EQ(platform.clock.timerCount(), 1U);
    updater->setAutomaticallyChecksForUpdates(false);
    EXPECT_EQ(platform.clock.timerCount(), 0U);
}

TEST_F(QXUpdaterTest, ChecksByItselfOnlyOnceStarted)
{
    updater->setAutomaticallyChecksForUpdates(true);
    checkByHand();
    EXPECT_EQ(platform.clock.timerCount(), 0U);
}

TEST_F(QXUpdaterTest, ChecksAtTheIntervalChosen)
{
    serveFeed(item("100"));
    updater->setUpdateCheckInterval(2 * hour);
    checkAutomatically();
    EXPECT_EQ(updater->lastUpdateCheckDate(), now());
    EXPECT_EQ(downloads(), 1);
    platform.clock.advance(2 * hour - 1.0);
    EXPECT_EQ(downloads(), 1);
    platform.clock.advance(1.0);
    EXPECT_EQ(downloads(), 2);
}

TEST_F(QXUpdaterTest, RemembersTheLastCheckAcrossLaunches)
{
    platform.defaults.setObject(now().addingTimeInterval(-23 * hour), SULastCheckTimeKey);
    platform.defaults.setObject(true, SUEnableAutomaticChecksKey);
    ASSERT_TRUE(updater->startUpdater().has_value());
    EXPECT_EQ(platform.clock.nextFireDate(), now().addingTimeInterval(hour));
}

TEST_F(QXUpdaterTest, OverdueCheckWaitsAMinuteHoweverOftenSettingsChange)
{
    serveFeed(item("100"));
    platform.defaults.setObject(now().addingTimeInterval(-1000 * hour), SULastCheckTimeKey);
    checkAutomatically();
    platform.clock.advance(24 * hour - 60.0);
    platform.defaults.setObject(now().addingTimeInterval(-1000 * hour), SULastCheckTimeKey);
    const QXDate due = now().addingTimeInterval(60.0);
    EXPECT_EQ(platform.clock.nextFireDate(), due);
    platform.clock.advance(30.0);
    platform.defaults.setObject(1, "SomebodyElses");
    EXPECT_EQ(platform.clock.nextFireDate(), due);
}

TEST_F(QXUpdaterTest, LastCheckInTheFutureCountsAsOneOfNow)
{
    platform.defaults.setObject(now().addingTimeInterval(1e9), SULastCheckTimeKey);
    updater->setAutomaticallyChecksForUpdates(true);
    ASSERT_TRUE(updater->startUpdater().has_value());
    EXPECT_EQ(platform.clock.nextFireDate(), now().addingTimeInterval(24 * hour));
}

TEST_F(QXUpdaterTest, IntervalIsADayUnlessChosenAndAnHourAtLeast)
{
    EXPECT_EQ(updater->updateCheckInterval(), 24 * hour);
    updater->setUpdateCheckInterval(1.0);
    EXPECT_EQ(updater->updateCheckInterval(), hour);
    updater->setUpdateCheckInterval(7 * 24 * hour);
    EXPECT_EQ(updater->updateCheckInterval(), 7 * 24 * hour);
    platform.defaults.setObject("often", SUScheduledCheckIntervalKey);
    EXPECT_EQ(updater->updateCheckInterval(), 24 * hour);
}

TEST_F(QXUpdaterTest, FeedsAtReservedAddressesAreNeverReadByThemselves)
{
    updater->setAutomaticallyChecksForUpdates(true);
    for (const char* reserved : {"https://example.org/a", "https://updates.example.com:8080/a", "https://a.test",
                                 "https://b.invalid/x", "https://c.example/"}) {
        desktop.bundle.info.insert_or_assign("SUFeedURL", reserved);
        EXPECT_FALSE(updater->automaticallyChecksForUpdates()) << reserved;
        EXPECT_FALSE(updater->canCheckAutomatically()) << reserved;
    }
    for (const char* real : {"https://myexample.org/a", "https://example.org.real.net/a"}) {
        desktop.bundle.info.insert_or_assign("SUFeedURL", real);
        EXPECT_TRUE(updater->automaticallyChecksForUpdates()) << real;
        EXPECT_TRUE(updater->canCheckAutomatically()) << real;
    }
}

TEST_F(QXUpdaterTest, UsersOwnFeedGoesFirst)
{
    platform.defaults.setObject("https://updates.real.net/beta.xml", SUFeedURLKey);
    EXPECT_EQ(updater->feedURL(), "https://updates.real.net/beta.xml");
    updater->checkForUpdates();
    EXPECT_EQ(logged("download https://updates.real.net/beta.xml"), 1);
}

TEST_F(QXUpdaterTest, DoesNotStartWithAFeedThatIsNoWebAddress)
{
    platform.defaults.setObject(5, SUFeedURLKey);
    EXPECT_EQ(updater->startUpdater().error(), "The update feed’s address is not valid: ");
    platform.defaults.setObject("/tmp/feed", SUFeedURLKey);
    EXPECT_EQ(updater->startUpdater().error(), "The update feed’s address is not valid: /tmp/feed");
    checkByHand();
    EXPECT_EQ(alerts(), "The check for updates failed. | The update feed’s address is not valid: /tmp/feed\n");
}

TEST_F(QXUpdaterTest, DoesNotStartWithAKeyThatIsNone)
{
    desktop.bundle.info.insert_or_assign("SUPublicEDKey", "c2hvcnQ=");
    EXPECT_EQ(updater->startUpdater().error(), "The key that updates are signed with is not valid.");
}

TEST_F(QXUpdaterTest, SignedUpdateIsOfferedOnceItsDownloadIsVerified)
{
    requireSignature();
    const QXData signature(64, 9);
    desktop.downloads.contents["https://www.real.net/a.deb"] = "package";
    const std::string package = "package";
    desktop.signatures.made[signature] = {QXData(package.begin(), package.end()), key};
    serveFeed(signedItem(QXBase64FromData(signature)));
    checkByHand();
    EXPECT_EQ(offered(), "200 ");
}

TEST_F(QXUpdaterTest, UpdateThatIsNotSignedIsNotOffered)
{
    requireSignature();
    serveFeed(item("200"));
    checkByHand();
    serveFeed(signedItem("c2hvcnQ="));
    checkByHand();
    EXPECT_EQ(offered(), "");
    EXPECT_EQ(alerts(), "The check for updates failed. | The update is not signed.\n"
                        "The check for updates failed. | The update is not signed.\n");
}

TEST_F(QXUpdaterTest, UpdateWithAWrongSignatureIsNotOffered)
{
    requireSignature();
    desktop.downloads.contents["https://www.real.net/a.deb"] = "package";
    serveFeed(signedItem(QXBase64FromData(QXData(64, 9))));
    checkByHand();
    desktop.downloads.contents["https://www.real.net/a.deb"] = "another package";
    checkByHand();
    EXPECT_EQ(offered(), "");
    EXPECT_EQ(alerts(), "The check for updates failed. | The update’s signature is wrong.\n"
                        "The check for updates failed. | The update cannot be reached: "
                        "https://www.real.net/a.deb is too large\n");
}

TEST_F(QXUpdaterTest, UpdaterThatHasGoneChecksNothing)
{
    updater->setAutomaticallyChecksForUpdates(true);
    ASSERT_TRUE(updater->startUpdater().has_value());
    updater->checkForUpdates();
    updater.reset();
    EXPECT_EQ(platform.clock.timerCount(), 0U);
    EXPECT_FALSE(desktop.downloads.finish());
    desktop.userDriver.cancel(); // nothing
}

// The access point, on the updater of the bundle.
class QXWebStoreUpdateManagerTest : public QXUpdaterTest {
protected:
    void chooseFeed(const std::string& url) { platform.defaults.setObject(url, SUFeedURLKey); }
};

TEST_F(QXWebStoreUpdateManagerTest, HasOneUpdater)
{
    EXPECT_EQ(sharedUpdateManager(), sharedUpdateManager());
    EXPECT_EQ(sharedUpdateManager()->updaterForMainBundle(), sharedUpdateManager()->updaterForMainBundle());
}

TEST_F(QXWebStoreUpdateManagerTest, StartsItsUpdaterAndAnswersItsError)
{
    EXPECT_TRUE(sharedUpdateManager()->startUpdater().has_value());
    desktop.bundle.info.insert_or_assign("SUFeedURL", "nowhere");
    EXPECT_EQ(sharedUpdateManager()->startUpdater().error(), "The update feed’s address is not valid: nowhere");
}

TEST_F(QXWebStoreUpdateManagerTest, FeedIsStandardUnlessTheUserHasAnother)
{
    EXPECT_TRUE(sharedUpdateManager()->isUsingStandardFeed());
    chooseFeed(feed);
    EXPECT_TRUE(sharedUpdateManager()->isUsingStandardFeed());
    chooseFeed("https://updates.real.net/beta.xml");
    EXPECT_FALSE(sharedUpdateManager()->isUsingStandardFeed());
    desktop.bundle.info.erase("SUFeedURL");
    EXPECT_FALSE(sharedUpdateManager()->isUsingStandardFeed());
}

TEST_F(QXWebStoreUpdateManagerTest, NothingIsAskedWhileTheFeedIsStandard)
{
    sharedUpdateManager()->askForResetUpdateFeed();
    chooseFeed(feed);
    sharedUpdateManager()->askForResetUpdateFeed();
    EXPECT_TRUE(desktop.alerts.shown.empty());
}

TEST_F(QXWebStoreUpdateManagerTest, ReturnsToTheStandardFeedWhenConfirmed)
{
    chooseFeed("https://updates.real.net/beta.xml");
    desktop.alerts.answers = {NPAlertFirstButtonReturn};
    platform.log.clear();
    sharedUpdateManager()->askForResetUpdateFeed();
    EXPECT_EQ(platform.log.text(), "alert Return to the feed for stable updates?\ndefaults remove SUFeedURL\n");
    EXPECT_TRUE(sharedUpdateManager()->isUsingStandardFeed());
    EXPECT_EQ(
        desktop.alerts.shown[0].informativeText,
        "Current update feed:\nhttps://updates.real.net/beta.xml\n\nYou will get only stable updates after this "
        "change. If you must downgrade to the previous stable release, download and reinstall the application "
        "from the website.");
    EXPECT_EQ(desktop.alerts.shown[0].buttons, (std::vector<std::string>{"Switch to Stable Updates", "Cancel"}));
}

TEST_F(QXWebStoreUpdateManagerTest, CancellingKeepsTheFeed)
{
    chooseFeed("https://updates.real.net/beta.xml");
    sharedUpdateManager()->askForResetUpdateFeed();
    EXPECT_FALSE(sharedUpdateManager()->isUsingStandardFeed());
}

TEST_F(QXWebStoreUpdateManagerTest, MenuItemsAreFreshAndCheck)
{
    const auto first = sharedUpdateManager()->newCheckForUpdatesItem();
    const auto second = sharedUpdateManager()->newCheckForUpdatesItem();
    EXPECT_NE(first, second);
    EXPECT_EQ(first->title(), "Check for Updates…");
    EXPECT_EQ(first->action().name(), "checkForUpdates");
    EXPECT_EQ(first->target(), sharedUpdateManager());
    second->choose();
    EXPECT_TRUE(sharedUpdateManager()->updaterForMainBundle()->checkInProgress());
}

} // namespace
