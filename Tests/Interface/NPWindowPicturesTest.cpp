// Every window as it is drawn, in a light and a dark scheme of colours; the pictures are kept beside the tests, to be
// looked at. What can be checked without eyes is that nothing is cut off and that text stands out from its ground.
#include "Foundation/QXSharedScope.h"
#include "Interface/NPAlertsQt.h"
#include "Interface/NPMainWindowController.h"
#include "Interface/NPMenuMirror.h"
#include "Interface/NPUpdateOfferWindow.h"
#include "Interface/NPUpdatePreferencesController.h"
#include "Interface/NPWindowQt.h"
#include "Interface/QXAboutBoxController.h"
#include "Platform/NPHotKeyServices.h"
#include "Platform/Simulated/NPSimulatedDesktop.h"
#include "Platform/Simulated/NPSimulatedPlatform.h"
#include "Shell/QXAboutBoxText.h"

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QMainWindow>
#include <QMenu>
#include <QMessageBox>
#include <QStyle>
#include <QTextBrowser>

namespace {

QPalette darkColors()
{
    QPalette palette(QColor(0x2b, 0x2d, 0x30));
    palette.setColor(QPalette::Base, QColor(0x1e, 0x1f, 0x22));
    palette.setColor(QPalette::WindowText, QColor(0xe6, 0xe6, 0xe6));
    palette.setColor(QPalette::Text, QColor(0xe6, 0xe6, 0xe6));
    palette.setColor(QPalette::ButtonText, QColor(0xe6, 0xe6, 0xe6));
    palette.setColor(QPalette::Highlight, QColor(0x2f, 0x65, 0xca));
    return palette;
}

// The parameter is the scheme.
class NPWindowPicturesTest : public testing::TestWithParam<const char*> {
protected:
    NPWindowPicturesTest()
    {
        QApplication::setWindowIcon(QIcon(":/Icons/nightpane.svg"));
        QApplication::setPalette(std::string(GetParam()) == "dark" ? darkColors()
                                                                   : QApplication::style()->standardPalette());
        NPInstallPlatform(platform.services());
        NPInstallDesktop(desktop.services());
        desktop.bundle.info.insert_or_assign(std::string(NSHumanReadableCopyrightKey),
                                             QXValue("Copyright © 2026 Somebody"));
        desktop.bundle.resources["Credits.html"] = "<p align=center><b>Written by</b><br>Somebody</p>";
    }
    ~NPWindowPicturesTest() override { QApplication::setPalette(QApplication::style()->standardPalette()); }

    void keep(QWidget& window, const QString& name) const
    {
        window.show();
        QApplication::setActiveWindow(&window);
        QApplication::processEvents();
        QDir().mkpath("build/pictures");
        EXPECT_TRUE(window.grab().save("build/pictures/" + name + '-' + GetParam() + ".png"));
        for (const QAbstractButton* const button : window.findChildren<QAbstractButton*>()) {
            if (button->isVisible() && !button->text().isEmpty()) {
                EXPECT_GE(button->width(), button->minimumSizeHint().width()) << button->text().toStdString();
                EXPECT_GE(button->height(), button->minimumSizeHint().height()) << button->text().toStdString();
            }
        }
        for (const QLabel* const label : window.findChildren<QLabel*>()) {
            if (label->isVisible() && !label->text().isEmpty() && label->wordWrap()) {
                EXPECT_GE(label->height(), label->heightForWidth(label->width())) << label->text().toStdString();
            }
        }
    }

    static std::shared_ptr<NPMenuItem> effect(const std::string& title, NPMenuItemState state,
                                              const std::string& key = {}, std::uint64_t modifiers = 0)
    {
        const auto item = NPMenuItem::itemWithTitle(title, {}, key);
        item->setRepresentedObject(title);
        item->setState(state);
        item->setKeyEquivalentModifierMask(modifiers);
        return item;
    }

    static std::shared_ptr<NPMenu> effectsMenu()
    {
        auto menu = NPMenu::menu();
        menu->insertItems({NPMenuItem::itemWithTitle("Deactivate Nightpane"), NPMenuItem::separatorItem(),
                           effect("Night", NPMenuItemState::on, "n", NPControlFlag | NPOptionFlag),
                           effect("Film on the projector", NPMenuItemState::mixed, "F5", NPCommandFlag),
                           effect("Bright day", NPMenuItemState::off), NPMenuItem::separatorItem(),
                           NPMenuItem::itemWithTitle("Preferences…"), NPMenuItem::itemWithTitle("Quit Nightpane")},
                          0);
        return menu;
    }

    QXSharedScope scope;
    NPSimulatedPlatform platform;
    NPSimulatedDesktop desktop{platform.log};
};

} // namespace

TEST_P(NPWindowPicturesTest, Menu)
{
    QMenu menu;
    new NPMenuMirror(effectsMenu(), menu);
    keep(menu, "menu");
}

TEST_P(NPWindowPicturesTest, AboutBox)
{
    QXAboutBoxSetBackgroundTint({0.81, 0.81, 0.84, 1.0});
    QXAboutBoxController controller(desktop.bundle, platform.notifications);
    controller.showWindow();
    keep(*controller.textView().window(), "about");
}

TEST_P(NPWindowPicturesTest, Alert)
{
    const auto box = NPMessageBox({.messageText = "No effect has been chosen.",
                                   .informativeText = "You should check at least one box in the preference panel "
                                                      "relating to the screen effect, or Nightpane will have no "
                                                      "visible effect on your screen.",
                                   .buttons = {"Open preferences...", "Cancel"}});
    keep(*box, "alert");
}

TEST_P(NPWindowPicturesTest, CriticalAlert)
{
    const auto box = NPMessageBox({.messageText = "Other is present on this computer.",
                                   .informativeText = "[Nightpane installed, might interfer Other.]",
                                   .buttons = {"Continue", "Quit"},
                                   .style = NPAlertStyle::critical});
    keep(*box, "alert-critical");
}

TEST_P(NPWindowPicturesTest, UpdateSheet)
{
    platform.defaults.setObject(QXValue("https://beta.example.org/appcast.xml"), SUFeedURLKey);
    auto* const sheet = new NPUpdatePreferencesController(sharedUpdateManager(), platform.notifications, nullptr);
    keep(*sheet, "update-sheet");
    delete sheet;
}

TEST_P(NPWindowPicturesTest, UpdateOffer)
{
    auto* const offer = new NPUpdateOfferWindow({.version = "1.2 (340)",
                                                 .currentVersion = "1.0",
                                                 .releaseNotes = "<h3>New</h3><ul><li>Fades are smoother.</li>"
                                                                 "<li>Spanish texts.</li></ul>"},
                                                [](NPUpdateChoice) {});
    keep(*offer, "update-offer");
    delete offer;
}

TEST_P(NPWindowPicturesTest, MainWindow)
{
    platform.defaults.setObject(QXValue(true), "EffectActive");
    const auto effects = effectsMenu();
    const auto mainMenu = NPMenu::menu();
    for (const std::string title : {"Nightpane", "Effects", "Help"}) {
        const auto item = NPMenuItem::itemWithTitle(title);
        item->setSubmenu(NPMenu::menu());
        mainMenu->addItem(item);
    }
    NPMainWindowController controller(
        {mainMenu, effects, effects->itemAtIndex(0), platform.defaults, platform.notifications});
    const auto window = std::dynamic_pointer_cast<NPWindowQt>(controller.window());
    keep(*window->widget(), "main-window");
}

INSTANTIATE_TEST_SUITE_P(Schemes, NPWindowPicturesTest, testing::Values("light", "dark"));
