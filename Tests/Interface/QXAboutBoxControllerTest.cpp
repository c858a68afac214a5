#include "Interface/QXAboutBoxController.h"

#include "Foundation/QXSharedScope.h"
#include "Interface/NPWindowQt.h"
#include "Interface/QXAboutBoxBackground.h"
#include "Interface/QXContrastStyle.h"
#include "Platform/Simulated/NPSimulatedDesktop.h"
#include "Shell/QXAboutBoxText.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QScreen>
#include <QScrollBar>
#include <QTest>
#include <QTextBrowser>
#include <QTextCursor>
#include <QTextFrame>

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

TEST_F(QXAboutBoxControllerTest, ShowsAllTextInTheDesktopsColorAlsoWhenThatChanges)
{
    bundle.resources["Credits.html"] =
        "<p style=\"color: #123456\">Red <a href=\"https://x.example\">link</a></p>";
    for (const char* const word : {"Nightpane", "Version", "Red", "link"}) {
        EXPECT_FALSE(formatOf(word).hasProperty(QTextFormat::ForegroundBrush)) << word;
    }
    controller.showWindow();
    const QPalette light = QApplication::palette();
    QPalette dark(QColor(0x20, 0x20, 0x20));
    QApplication::setPalette(dark);
    QApplication::processEvents();
    EXPECT_EQ(controller.textView().palette().color(QPalette::Text), dark.color(QPalette::Text));
    EXPECT_EQ(controller.textView().palette().color(QPalette::Base).alpha(), 0);
    QApplication::setPalette(light);
}

TEST_F(QXAboutBoxControllerTest, RunsTheTextFromEdgeToEdgeAndLeavesItInItsPlace)
{
    controller.showWindow();
    QApplication::processEvents();
    QTextBrowser& view = controller.textView();
    const QWidget& window = *view.window();
    const QRect frame(view.mapTo(&window, QPoint()), view.size());
    EXPECT_EQ(frame.top(), 0);
    EXPECT_EQ(frame.bottom(), window.rect().bottom());
    EXPECT_EQ(frame.right(), window.rect().right());
    // As far from the top as the icon, and as far from the icon as from the right.
    const auto* const icon = window.findChild<QLabel*>("iconView");
    const QRect first = view.cursorRect(QTextCursor(view.document()));
    EXPECT_NEAR(view.mapTo(&window, first.topLeft()).y(), icon->mapTo(&window, QPoint()).y(), 6);
    EXPECT_GE(view.mapTo(&window, first.topLeft()).x(), icon->mapTo(&window, icon->rect().topRight()).x() + 20);
    EXPECT_EQ(view.document()->rootFrame()->frameFormat().rightMargin(), 20 + view.document()->documentMargin());
}

TEST_F(QXAboutBoxControllerTest, CentersTheWindowThatComesUp)
{
    controller.showWindow();
    const QWidget& window = *controller.textView().window();
    const QPoint center = window.screen()->availableGeometry().center();
    EXPECT_NEAR(window.frameGeometry().center().x(), center.x(), 2);
    EXPECT_NEAR(window.frameGeometry().center().y(), center.y(), 2);
}

TEST_F(QXAboutBoxControllerTest, ScrollsAWindowThatComesUpAgainToTheTop)
{
    for (int line = 0; line < 100; ++line) {
        bundle.resources["Credits.html"] += "<p>Somebody else</p>";
    }
    controller.showWindow();
    QApplication::processEvents();
    QScrollBar& bar = *controller.textView().verticalScrollBar();
    bar.setValue(100);
    ASSERT_EQ(bar.value(), 100);
    controller.textView().window()->close();
    controller.showWindow();
    EXPECT_EQ(bar.value(), 0);
}

TEST_F(QXAboutBoxControllerTest, StaysWhereItIsScrolledWhenScrollBarsLookOtherwise)
{
    for (int line = 0; line < 100; ++line) {
        bundle.resources["Credits.html"] += "<p>Somebody else</p>";
    }
    controller.showWindow();
    QApplication::processEvents();
    controller.textView().verticalScrollBar()->setValue(100);
    QApplication::setStyle(QStringLiteral("Windows"));
    QApplication::processEvents();
    EXPECT_EQ(controller.textView().verticalScrollBar()->value(), 100);
    QApplication::setStyle(QStringLiteral("Fusion"));
    QXContrastStyle::install();
}

TEST_F(QXAboutBoxControllerTest, APressOnTheIconIsOneOnTheGroundWhichMovesTheWindow)
{
    controller.showWindow();
    QApplication::processEvents();
    const QWidget& window = *controller.textView().window();
    const auto* const icon = window.findChild<QLabel*>("iconView");
    const QPoint center = icon->mapTo(&window, icon->rect().center());
    EXPECT_EQ(window.childAt(center), nullptr);
}

TEST_F(QXAboutBoxControllerTest, EscapeClosesTheWindow)
{
    controller.showWindow();
    QApplication::setActiveWindow(controller.textView().window());
    QTest::keyClick(&controller.textView(), Qt::Key_Escape);
    EXPECT_FALSE(controller.window()->isVisible());
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
    EXPECT_TRUE(background.isOpaque());
}

TEST_F(QXAboutBoxControllerTest, LetsTheDarkThroughTheTintAndDrawsNothingWhileInactive)
{
    QXAboutBoxSetBackgroundTint({0.8, 0.8, 0.8, 1.0});
    QXAboutBoxBackground background;
    QPalette dark(QColor(0x20, 0x20, 0x20));
    background.setPalette(dark);
    EXPECT_TRUE(background.isDark());
    EXPECT_FALSE(background.isOpaque());
    background.resize(40, 400);
    background.show();
    QApplication::setActiveWindow(&background);
    ASSERT_TRUE(background.isActiveWindow());
    const QImage active = background.grab().toImage();
    EXPECT_NEAR(active.pixelColor(20, 0).green(), (0.4 * 0.5 + 0.125 * 0.5) * 255, 3);
    EXPECT_NEAR(active.pixelColor(20, 399).green(), 0x20, 2);
    QApplication::setActiveWindow(nullptr);
    const QImage inactive = background.grab().toImage();
    EXPECT_EQ(inactive.pixelColor(20, 0), QColor(0x20, 0x20, 0x20));
    EXPECT_EQ(inactive.pixelColor(20, 399), QColor(0x20, 0x20, 0x20));
}
