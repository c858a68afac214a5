#include "Interface/QXAboutBoxController.h"

#include "Foundation/QXSharedScope.h"
#include "Interface/NPWindowQt.h"
#include "Interface/QXAboutBoxBackground.h"
#include "Platform/Simulated/NPSimulatedDesktop.h"
#include "Shell/QXAboutBoxText.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QScrollBar>
#include <QTextBrowser>
#include <QTextCursor>

namespace {

class QXAboutBoxControllerTest : public testing::Test {
protected:
    QXAboutBoxControllerTest()
    {
        bundle.info.insert_or_assign(std::string(NSHumanReadableCopyrightKey),
                                     QXValue("Copyright © 2026 Somebody"));
        bundle.resources["Credits.html"] = "<p>Written by <b>Somebody</b></p>";
    }

    QString text() { return controller.textView().document()->toPlainText(); }

    // How the text at the first place of a word looks.
    QTextCharFormat formatOf(const QString& word)
    {
        return controller.textView().document()->find(word).charFormat();
    }

    QXSharedScope scope;
    NPSimulatedBundle bundle;
    QXNotificationCenter notifications;
    QXAboutBoxController controller{bundle, notifications};
};

} // namespace

TEST_F(QXAboutBoxControllerTest, ReplacesTheWordsOfTheTemplate)
{
    EXPECT_EQ(text(), "Nightpane\nVersion 1.0 (100)\nCopyright © 2026 Somebody\nWritten by Somebody");
}

TEST_F(QXAboutBoxControllerTest, ShowsOneNumberWhenTheBuildHasTheSame)
{
    bundle.info.insert_or_assign(std::string(CFBundleVersionKey), QXValue("1.0"));
    EXPECT_TRUE(text().contains("\nVersion 1.0\n"));
}

TEST_F(QXAboutBoxControllerTest, LeavesTheCreditsEmptyWhenThereAreNone)
{
    bundle.resources.clear();
    EXPECT_EQ(text(), "Nightpane\nVersion 1.0 (100)\nCopyright © 2026 Somebody\n");
}

TEST_F(QXAboutBoxControllerTest, TakesAnotherCopyrightThanTextForNone)
{
    bundle.info.insert_or_assign(std::string(NSHumanReadableCopyrightKey), QXValue(std::int64_t{2026}));
    EXPECT_TRUE(text().startsWith("Nightpane\nVersion 1.0 (100)\n\n"));
}

TEST_F(QXAboutBoxControllerTest, SetsTheNameInBoldAndTheVersionPlainInTheTemplatesSizes)
{
    EXPECT_EQ(formatOf("Nightpane").fontWeight(), QFont::Bold);
    EXPECT_EQ(formatOf("Nightpane").fontPointSize(), 18.0);
    EXPECT_EQ(formatOf("Version").fontWeight(), QFont::Normal);
    EXPECT_EQ(formatOf("Version").fontPointSize(), 10.0);
}

TEST_F(QXAboutBoxControllerTest, KeepsTheFormOfTheCredits)
{
    EXPECT_EQ(formatOf("Somebody").foreground().color(), QApplication::palette().color(QPalette::WindowText));
    QTextCursor last = controller.textView().document()->find("Somebody", static_cast<int>(text().size()) - 9);
    EXPECT_EQ(last.charFormat().fontWeight(), QFont::Bold);
}

TEST_F(QXAboutBoxControllerTest, BuildsTheTextFromTheTemplateAgain)
{
    const QString before = text();
    bundle.info.insert_or_assign(std::string(CFBundleNameKey), QXValue("Version of Credits"));
    controller.updateText();
    EXPECT_EQ(text(), QString(before).replace("Nightpane", "Version of Credits"));
}

TEST_F(QXAboutBoxControllerTest, MakesTheWindowWhenItIsFirstNeeded)
{
    EXPECT_FALSE(controller.isWindowLoaded());
    controller.showWindow();
    EXPECT_TRUE(controller.isWindowLoaded());
    EXPECT_TRUE(controller.window()->isVisible());
}

TEST_F(QXAboutBoxControllerTest, LeavesAVisibleWindowWhereItIs)
{
    controller.showWindow();
    QWidget* const view = controller.textView().window();
    view->move(17, 23);
    view->resize(200, 150);
    QApplication::processEvents();
    controller.textView().verticalScrollBar()->setValue(5);
    controller.showWindow();
    EXPECT_EQ(view->pos(), QPoint(17, 23));
    EXPECT_EQ(controller.textView().verticalScrollBar()->value(), 5);
}

TEST_F(QXAboutBoxControllerTest, TellsWhenTheWindowCloses)
{
    QXNotificationObserver observer;
    const void* closed = nullptr;
    notifications.addObserver(observer, std::string(NSWindowWillCloseNotification), nullptr,
                              [&](const QXNotification& notification) { closed = notification.object; });
    controller.showWindow();
    controller.textView().window()->close();
    EXPECT_EQ(closed, static_cast<const void*>(controller.window().get()));
    EXPECT_FALSE(controller.window()->isVisible());
}

TEST_F(QXAboutBoxControllerTest, DrawsTheTintFromWhiteWhileActive)
{
    QXAboutBoxSetBackgroundTint({0.81, 0.81, 0.84, 1.0});
    QXAboutBoxBackground background;
    background.resize(40, 400);
    background.show();
    background.activateWindow();
    QApplication::setActiveWindow(&background);
    ASSERT_TRUE(background.isActiveWindow());
    const QImage active = background.grab().toImage();
    EXPECT_GT(active.pixelColor(20, 0).green(), 250);
    EXPECT_NEAR(active.pixelColor(20, 399).green(), 0.81 * 255, 2);
    EXPECT_NEAR(active.pixelColor(20, 399).blue(), 0.84 * 255, 2);
    QApplication::setActiveWindow(nullptr);
    const QImage inactive = background.grab().toImage();
    EXPECT_NEAR(inactive.pixelColor(20, 0).green(), (0.81 * 0.7 + 0.3) * 255, 2);
    EXPECT_EQ(inactive.pixelColor(20, 0), inactive.pixelColor(20, 399));
}
