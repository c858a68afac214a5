#include "Platform/Simulated/NPSimulatedDesktop.h"

#include <gtest/gtest.h>

namespace {

class NPSimulatedDesktopTest : public testing::Test {
protected:
    std::vector<std::string> answersOfDownload(const std::string& url, std::size_t limit)
    {
        std::vector<std::string> answers;
        const NPDownload download =
            desktop.downloads.download(url, limit, [&](const std::expected<QXData, std::string>& data) {
                answers.push_back(data ? std::string(data->begin(), data->end()) : data.error());
            });
        desktop.downloads.finish();
        return answers;
    }

    NPActionLog log;
    NPSimulatedDesktop desktop{log};
    QXNotificationCenter notifications;
};

TEST_F(NPSimulatedDesktopTest, StatusItemIsShownForAsLongAsItIsHeld)
{
    auto item = desktop.statusBar.statusItemWithLength(32.0);
    item->setMenu(NPMenu::menu());
    item->setHighlightMode(true);
    item->setImage("Image");
    EXPECT_TRUE(desktop.statusBar.hasItem);
    EXPECT_EQ(desktop.statusBar.image, "Image");
    item.reset();
    EXPECT_FALSE(desktop.statusBar.hasItem);
    EXPECT_EQ(desktop.statusBar.menu, nullptr);
    EXPECT_EQ(log.text(), "status item 32\nstatus item menu\nstatus item highlight 1\nstatus item image Image\n"
                          "status item removed\n");
}

TEST_F(NPSimulatedDesktopTest, AlertAnswersAsToldOrElseWithItsLastButton)
{
    const NPAlert alert{.messageText = "Really?", .buttons = {"Yes", "No"}};
    desktop.alerts.answers = {NPAlertFirstButtonReturn};
    EXPECT_EQ(desktop.alerts.runModal(alert), 1000);
    EXPECT_EQ(desktop.alerts.runModal(alert), 1001);
    EXPECT_EQ(desktop.alerts.runModal({.messageText = "Well."}), 1000);
    EXPECT_EQ(log.text(), "alert Really?\nalert Really?\nalert Well.\n");
}

TEST_F(NPSimulatedDesktopTest, SheetAnswersOnce)
{
    int answers = 0;
    desktop.alerts.beginSheet({.messageText = "Well."}, nullptr, [&](int) { ++answers; });
    EXPECT_EQ(answers, 0);
    desktop.alerts.answerSheet(1000);
    desktop.alerts.answerSheet(1000);
    EXPECT_EQ(answers, 1);
}

TEST_F(NPSimulatedDesktopTest, LoginItemIsAJobWhileItIsEnabled)
{
    EXPECT_TRUE(desktop.loginItems.setLoginItemEnabled("a.b", true));
    EXPECT_TRUE(desktop.loginItems.setLoginItemEnabled("a.b", true));
    EXPECT_EQ(QXValue(desktop.loginItems.copyAllJobDictionaries()),
              QXValue(QXArray{QXDictionary{{"Label", "a.b"}, {"OnDemand", true}}}));
    EXPECT_TRUE(desktop.loginItems.setLoginItemEnabled("a.b", false));
    EXPECT_TRUE(desktop.loginItems.jobs.empty());
    desktop.loginItems.accepts = false;
    EXPECT_FALSE(desktop.loginItems.setLoginItemEnabled("a.b", true));
    EXPECT_TRUE(desktop.loginItems.jobs.empty());
}

TEST_F(NPSimulatedDesktopTest, DownloadEndsWithContentOrOneLineOfError)
{
    desktop.downloads.contents = {{"https://a/b", "content"}};
    EXPECT_EQ(answersOfDownload("https://a/b", 7), std::vector<std::string>{"content"});
    EXPECT_EQ(answersOfDownload("https://a/b", 6), std::vector<std::string>{"https://a/b is too large"});
    EXPECT_EQ(answersOfDownload("https://a/c", 7), std::vector<std::string>{"https://a/c cannot be reached"});
}

TEST_F(NPSimulatedDesktopTest, DownloadThatNobodyHoldsEndsWithoutAWord)
{
    desktop.downloads.contents = {{"https://a/b", "content"}};
    bool completed = false;
    NPDownload download = desktop.downloads.download(
        "https://a/b", 99, [&](const std::expected<QXData, std::string>&) { completed = true; });
    download.reset();
    EXPECT_FALSE(desktop.downloads.finish());
    EXPECT_FALSE(completed);
}

TEST_F(NPSimulatedDesktopTest, ClosingAWindowIsAnnouncedWhileItIsStillThere)
{
    NPSimulatedWindowController controller(log, notifications, "Window");
    controller.showWindow();
    const std::shared_ptr<NPSimulatedWindow> window = controller.simulatedWindow();
    bool wasVisible = false;
    QXNotificationObserver observer;
    notifications.addObserver(observer, std::string(NSWindowWillCloseNotification), window.get(),
                              [&](const QXNotification&) { wasVisible = window->isVisible(); });
    window->close();
    EXPECT_TRUE(wasVisible);
    EXPECT_FALSE(window->isVisible());
    EXPECT_EQ(log.text(), "Window load\nWindow show\n");
}

TEST_F(NPSimulatedDesktopTest, BundleHasTheResourcesThatItIsGiven)
{
    desktop.bundle.resources = {{"Credits.html", "thanks"}};
    EXPECT_EQ(desktop.bundle.resource("Credits", "html")->size(), 6U);
    EXPECT_EQ(desktop.bundle.resource("Credits", "rtf"), std::nullopt);
}

} // namespace
