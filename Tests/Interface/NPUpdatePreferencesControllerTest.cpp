#include "Interface/NPUpdatePreferencesController.h"

#include "Foundation/QXSharedScope.h"
#include "Platform/Simulated/NPSimulatedDesktop.h"
#include "Platform/Simulated/NPSimulatedPlatform.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QPointer>
#include <QPushButton>

namespace {

const std::string standardFeed = "https://updates.real.net/appcast.xml";
const std::string betaFeed = "https://updates.real.net/beta.xml";

class NPUpdatePreferencesControllerTest : public testing::Test {
protected:
    NPUpdatePreferencesControllerTest()
    {
        NPInstallPlatform(platform.services());
        NPInstallDesktop(desktop.services());
        desktop.bundle.info.insert_or_assign(std::string(SUFeedURLKey), QXValue(standardFeed));
    }

    // The sheet, as it is now that it opens.
    NPUpdatePreferencesController& sheet()
    {
        if (!_sheet) {
            _sheet = new NPUpdatePreferencesController(sharedUpdateManager(), platform.notifications, &window);
            window.show();
            _sheet->open();
        }
        return *_sheet;
    }
    template<class Control> Control& control(const char* name) { return *sheet().findChild<Control*>(name); }
    bool isResetButtonShown() { return !sheet().updatesResetFeedButton()->isHidden(); }
    void chooseFeed(const std::string& url) { platform.defaults.setObject(url, SUFeedURLKey); }
    QXUpdater& updater() { return *sharedUpdateManager()->updaterForMainBundle(); }

    QXSharedScope scope;
    NPSimulatedPlatform platform;
    NPSimulatedDesktop desktop{platform.log};
    QWidget window;
    QPointer<NPUpdatePreferencesController> _sheet;
};

} // namespace

TEST_F(NPUpdatePreferencesControllerTest, HidesTheWayBackWhileTheFeedIsStandard)
{
    EXPECT_FALSE(isResetButtonShown());
}

TEST_F(NPUpdatePreferencesControllerTest, HidesTheWayBackWhenTheFeedChosenIsTheStandardOne)
{
    chooseFeed(standardFeed);
    EXPECT_FALSE(isResetButtonShown());
}

TEST_F(NPUpdatePreferencesControllerTest, ShowsTheWayBackFromAnotherFeedAndHidesItOnceItIsTaken)
{
    chooseFeed(betaFeed);
    EXPECT_TRUE(isResetButtonShown());
    desktop.alerts.answers = {NPAlertFirstButtonReturn};
    sheet().updatesResetFeedButton()->click();
    EXPECT_EQ(desktop.alerts.shown.at(0).messageText, "Return to the feed for stable updates?");
    EXPECT_EQ(updater().feedURL(), standardFeed);
    EXPECT_FALSE(isResetButtonShown());
    EXPECT_FALSE(updater().checkInProgress()); // going back checks nothing
}

TEST_F(NPUpdatePreferencesControllerTest, KeepsTheWayBackWhenItIsCancelled)
{
    chooseFeed(betaFeed);
    desktop.alerts.answers = {NPAlertSecondButtonReturn};
    sheet().updatesResetFeedButton()->click();
    EXPECT_EQ(updater().feedURL(), betaFeed);
    EXPECT_TRUE(isResetButtonShown());
}

TEST_F(NPUpdatePreferencesControllerTest, ChecksByHand)
{
    control<QPushButton>("checkNow").click();
    EXPECT_TRUE(updater().checkInProgress());
    EXPECT_TRUE(desktop.userDriver.cancel); // so it is shown
}

TEST_F(NPUpdatePreferencesControllerTest, IsASheetOnItsWindowThatDoneEndsAndDeletes)
{
    EXPECT_EQ(sheet().windowModality(), Qt::WindowModal);
    EXPECT_EQ(sheet().parentWidget(), &window);
    EXPECT_TRUE(sheet().isVisible());
    control<QPushButton>("done").click();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(_sheet.isNull());
}

TEST_F(NPUpdatePreferencesControllerTest, EscapeEndsIt)
{
    sheet().reject();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(_sheet.isNull());
}

TEST_F(NPUpdatePreferencesControllerTest, SwitchesAutomaticChecksAndTheirInterval)
{
    EXPECT_FALSE(control<QCheckBox>("automaticChecks").isChecked());
    EXPECT_FALSE(control<QComboBox>("interval").isEnabled());
    control<QCheckBox>("automaticChecks").click();
    EXPECT_TRUE(updater().automaticallyChecksForUpdates());
    EXPECT_TRUE(control<QComboBox>("interval").isEnabled());
    EXPECT_EQ(control<QComboBox>("interval").currentText(), "Day");
    control<QComboBox>("interval").setCurrentIndex(2);
    emit control<QComboBox>("interval").activated(2);
    EXPECT_EQ(updater().updateCheckInterval(), 7 * 86400.0);
}

TEST_F(NPUpdatePreferencesControllerTest, ShowsTheNearestOfItsIntervals)
{
    updater().setUpdateCheckInterval(2 * 86400.0);
    EXPECT_EQ(control<QComboBox>("interval").currentText(), "Day");
    updater().setUpdateCheckInterval(20 * 86400.0);
    EXPECT_EQ(control<QComboBox>("interval").currentText(), "Month");
}

TEST_F(NPUpdatePreferencesControllerTest, HasNoAutomaticChecksOfAFeedThatIsNobodys)
{
    desktop.bundle.info.insert_or_assign(std::string(SUFeedURLKey), QXValue("https://nightpane.example/feed"));
    platform.defaults.setObject(true, SUEnableAutomaticChecksKey);
    EXPECT_FALSE(control<QCheckBox>("automaticChecks").isEnabled());
    EXPECT_FALSE(control<QCheckBox>("automaticChecks").isChecked());
    EXPECT_FALSE(control<QComboBox>("interval").isEnabled());
    EXPECT_TRUE(control<QLabel>("whyNotAutomatic").isVisible());
}

TEST_F(NPUpdatePreferencesControllerTest, ExplainsNothingWhereAutomaticChecksCanBeHad)
{
    EXPECT_TRUE(control<QCheckBox>("automaticChecks").isEnabled());
    EXPECT_FALSE(control<QLabel>("whyNotAutomatic").isVisible());
}

TEST_F(NPUpdatePreferencesControllerTest, ShowsTheLastCheckAlsoOfTheOneThatRunsMeanwhile)
{
    EXPECT_EQ(control<QLabel>("lastCheck").text(), "Nobody has checked for updates yet.");
    control<QPushButton>("checkNow").click();
    EXPECT_TRUE(control<QLabel>("lastCheck").text().startsWith("Last check: "));
}
