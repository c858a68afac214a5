// Every window as it is drawn, in a light and a dark scheme of colours and in every language; the pictures are kept
// in the build's folder "screenshots", to be looked at. What can be checked without eyes is that nothing is cut off,
// that pictures are as sharp as the screen, and that everything can be reached and named without a mouse and without
// seeing it. Run with QT_SCALE_FACTOR=2 besides.
#include "Effects/NPEffectManager.h"
#include "Foundation/QXSharedScope.h"
#include "Foundation/QXString.h"
#include "Interface/NPAlertsQt.h"
#include "Interface/NPMainWindowController.h"
#include "Interface/NPMenuMirror.h"
#include "Interface/NPUpdateOfferWindow.h"
#include "Interface/NPUpdatePreferencesController.h"
#include "Interface/NPUpdateUserDriverQt.h"
#include "Interface/NPWindowQt.h"
#include "Interface/QXAboutBoxController.h"
#include "Interface/QXStringTranslator.h"
#include "Platform/Linux/NPResourcesLinux.h"
#include "Platform/NPHotKeyServices.h"
#include "Platform/Simulated/NPSimulatedDesktop.h"
#include "Platform/Simulated/NPSimulatedPlatform.h"
#include "Shell/NPAppFace.h"
#include "Shell/QXAboutBoxText.h"
#include "Shell/QXFluxCheck.h"
#include "Support/Data/NPTestData.h"

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QLibraryInfo>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QProgressDialog>
#include <QStyle>
#include <QTextBrowser>

#include <tuple>

namespace {

QPalette darkColors()
{
    QPalette palette(QColor(0x2b, 0x2d, 0x30));
    palette.setColor(QPalette::Base, QColor(0x1e, 0x1f, 0x22));
    palette.setColor(QPalette::WindowText, QColor(0xe6, 0xe6, 0xe6));
    palette.setColor(QPalette::Text, QColor(0xe6, 0xe6, 0xe6));
    palette.setColor(QPalette::ButtonText, QColor(0xe6, 0xe6, 0xe6));
    palette.setColor(QPalette::Highlight, QColor(0x2f, 0x65, 0xca));
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(QPalette::Disabled, role, QColor(0x80, 0x82, 0x86));
    }
    return palette;
}

// The parameter is the scheme of colours and the language.
class NPWindowPicturesTest : public testing::TestWithParam<std::tuple<const char*, const char*>> {
protected:
    NPWindowPicturesTest()
    {
        QApplication::setWindowIcon(QIcon(":/Icons/nightpane.svg"));
        QGuiApplication::setApplicationDisplayName("Nightpane");
        QApplication::setPalette(scheme() == "dark" ? darkColors() : QApplication::style()->standardPalette());
        QXSetStringTables(QXStringTablesInLanguages(
            {language()}, NPStringTableSource(NPTestDataFile("../../Resources/Strings"))));
        QLocale::setDefault(QLocale(QString::fromStdString(language())));
        if (ofQt.load(QLocale(), "qtbase", "_", QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
            QCoreApplication::installTranslator(&ofQt);
        }
        QCoreApplication::installTranslator(&translator);
        NPInstallPlatform(platform.services());
        NPInstallDesktop(desktop.services());
        desktop.bundle.info.insert_or_assign(std::string(NSHumanReadableCopyrightKey),
                                             QXValue("Copyright © 2026 Somebody"));
        desktop.bundle.resources["Credits.html"] = "<p><b>Written by</b><br>Somebody</p>";
    }
    ~NPWindowPicturesTest() override
    {
        QApplication::setPalette(QApplication::style()->standardPalette());
        QGuiApplication::setApplicationDisplayName({});
        QXSetStringTables({});
        QLocale::setDefault(QLocale::c());
    }

    static std::string scheme() { return std::get<0>(GetParam()); }
    static std::string language() { return std::get<1>(GetParam()); }

    static std::string localized(std::string_view key, std::string_view table = "")
    {
        return QXLocalizedString(key, table);
    }

    void keep(QWidget& window, const QString& name) const
    {
        window.show();
        QApplication::setActiveWindow(&window);
        QApplication::processEvents();
        const QPixmap picture = window.grab();
        const QString folder = QCoreApplication::applicationDirPath() + "/../../screenshots";
        const bool isLarge = window.devicePixelRatioF() > 1.0;
        EXPECT_TRUE(QDir().mkpath(folder));
        EXPECT_TRUE(picture.save(folder + '/' + name + '-' + QString::fromStdString(scheme() + '-' + language())
                                 + (isLarge ? "@2x.png" : ".png")));
        EXPECT_EQ(picture.size(), window.size() * window.devicePixelRatioF());
        expectWholeTexts(window);
        expectSharpPictures(window);
        expectNames(window);
        expectKeys(window);
    }

    static void expectWholeTexts(const QWidget& window)
    {
        for (const QAbstractButton* const button : window.findChildren<QAbstractButton*>()) {
            if (button->isVisible() && !button->text().isEmpty()) {
                EXPECT_GE(button->width(), button->minimumSizeHint().width()) << button->text().toStdString();
                EXPECT_GE(button->height(), button->minimumSizeHint().height()) << button->text().toStdString();
            }
        }
        for (const QLabel* const label : window.findChildren<QLabel*>()) {
            if (!label->isVisible() || label->text().isEmpty()) {
                continue;
            }
            const QRect place(label->mapTo(&window, QPoint()), label->size());
            EXPECT_TRUE(window.rect().contains(place)) << label->text().toStdString();
            if (label->wordWrap()) {
                EXPECT_GE(label->height(), label->heightForWidth(label->width())) << label->text().toStdString();
            } else {
                EXPECT_GE(label->width(), label->sizeHint().width()) << label->text().toStdString();
            }
        }
    }

    static void expectSharpPictures(const QWidget& window)
    {
        for (const QLabel* const label : window.findChildren<QLabel*>()) {
            const QPixmap picture = label->pixmap();
            if (!picture.isNull()) {
                EXPECT_EQ(picture.devicePixelRatio(), window.devicePixelRatioF());
                EXPECT_EQ(picture.deviceIndependentSize().toSize() * window.devicePixelRatioF(), picture.size());
            }
        }
    }

    // Of everything that takes the keyboard, for screen readers.
    static void expectNames(const QWidget& window)
    {
        for (QWidget* const control : window.findChildren<QWidget*>()) {
            const bool takesKeys = control->isVisible() && control->focusPolicy() != Qt::NoFocus;
            if (takesKeys && control->focusProxy() == nullptr && qobject_cast<QMenuBar*>(control) == nullptr) {
                const QAccessibleInterface* const face = QAccessible::queryAccessibleInterface(control);
                EXPECT_NE(face->text(QAccessible::Name), "") << control->metaObject()->className();
            }
        }
    }

    // No two controls of a window are reached by the same letter.
    static void expectKeys(const QWidget& window)
    {
        QStringList keys;
        const auto add = [&keys](const QString& text) {
            const QKeySequence key = QKeySequence::mnemonic(text);
            if (!key.isEmpty()) {
                EXPECT_FALSE(keys.contains(key.toString())) << text.toStdString();
                keys += key.toString();
            }
        };
        for (const QAbstractButton* const button : window.findChildren<QAbstractButton*>()) {
            add(button->text());
        }
        for (const QLabel* const label : window.findChildren<QLabel*>()) {
            add(label->buddy() != nullptr ? label->text() : QString());
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
        menu->insertItems(
            {NPMenuItem::itemWithTitle(localized("Deactivate Nightpane")), NPMenuItem::separatorItem(),
             effect("Night", NPMenuItemState::on, "n", NPControlFlag | NPOptionFlag),
             effect("Film on the projector", NPMenuItemState::mixed, "F5", NPCommandFlag),
             effect("Bright day", NPMenuItemState::off), NPMenuItem::separatorItem(),
             NPMenuItem::itemWithTitle(localized("Preferences…")), sharedUpdateManager()->newCheckForUpdatesItem(),
             NPMenuItem::itemWithTitle(localized("Quit Nightpane"))},
            0);
        return menu;
    }

    QTranslator ofQt;
    QXStringTranslator translator;
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

TEST_P(NPWindowPicturesTest, WarningAboutNoEffects)
{
    NPAppFace face(
        {.menus = NPMakeAppMenus(nullptr, desktop.bundle), .makeAboutBox = {}, .makePreferencesController = {}});
    platform.defaults.setObject(QXArray{QXDictionary{{"NPEffectName", "Nothing"}}}, "NPEffectGroups");
    face.warnIfNoEffects(*sharedEffectManager());
    keep(*NPMessageBox(desktop.alerts.shown.at(0)), "alert-no-effect");
}

TEST_P(NPWindowPicturesTest, WarningAboutAConflict)
{
    desktop.workspace.installed[std::string(QXFluxBundleIdentifier)] = "/usr/share/applications/f.lux.desktop";
    EXPECT_FALSE(QXFluxCheckAtLaunch());
    keep(*NPMessageBox(desktop.alerts.shown.at(0)), "alert-conflict");
}

TEST_P(NPWindowPicturesTest, FailureOfAnUpdateCheck)
{
    sharedUpdateManager()->checkForUpdates();
    desktop.downloads.finish();
    keep(*NPMessageBox(desktop.alerts.shown.at(0)), "alert-update-failed");
}

TEST_P(NPWindowPicturesTest, NoUpdate)
{
    desktop.downloads.contents["https://updates.example.org/appcast.xml"] = "<rss/>";
    sharedUpdateManager()->checkForUpdates();
    desktop.downloads.finish();
    keep(*NPMessageBox(desktop.alerts.shown.at(0)), "alert-no-update");
}

TEST_P(NPWindowPicturesTest, WayBackToStableUpdates)
{
    platform.defaults.setObject(QXValue("https://beta.example.org/appcast.xml"), SUFeedURLKey);
    sharedUpdateManager()->askForResetUpdateFeed();
    keep(*NPMessageBox(desktop.alerts.shown.at(0)), "alert-reset-feed");
}

TEST_P(NPWindowPicturesTest, UpdateCheck)
{
    NPUpdateUserDriverQt driver([] {});
    driver.showUserInitiatedUpdateCheck([] {});
    for (QWidget* const window : QApplication::topLevelWidgets()) {
        if (qobject_cast<QProgressDialog*>(window) != nullptr) {
            keep(*window, "update-check");
        }
    }
    driver.stop();
}

TEST_P(NPWindowPicturesTest, UpdateSheet)
{
    platform.defaults.setObject(QXValue("https://updates.real.net/beta.xml"), SUFeedURLKey);
    auto* const sheet = new NPUpdatePreferencesController(sharedUpdateManager(), platform.notifications, nullptr);
    platform.defaults.setObject(true, SUEnableAutomaticChecksKey);
    platform.defaults.setObject(platform.clock.now(), SULastCheckTimeKey);
    keep(*sheet, "update-sheet");
    delete sheet;
}

TEST_P(NPWindowPicturesTest, UpdateSheetWithoutAFeed)
{
    auto* const sheet = new NPUpdatePreferencesController(sharedUpdateManager(), platform.notifications, nullptr);
    keep(*sheet, "update-sheet-without-feed");
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
    for (const std::string_view title : {"Nightpane", "Effects", "Help"}) {
        const auto item = NPMenuItem::itemWithTitle(localized(title));
        item->setSubmenu(NPMenu::menu());
        mainMenu->addItem(item);
    }
    NPMainWindowController controller(
        {mainMenu, effects, effects->itemAtIndex(0), platform.defaults, platform.notifications});
    const auto window = std::dynamic_pointer_cast<NPWindowQt>(controller.window());
    keep(*window->widget(), "main-window");
}

INSTANTIATE_TEST_SUITE_P(Looks, NPWindowPicturesTest,
                         testing::Combine(testing::Values("light", "dark"),
                                          testing::Values("en", "de", "fr", "es", "ja", "zh_CN")),
                         [](const testing::TestParamInfo<std::tuple<const char*, const char*>>& look) {
                             return std::string(std::get<0>(look.param)) + '_' + std::get<1>(look.param);
                         });
