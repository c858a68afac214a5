#include "Interface/NPUpdateOfferWindow.h"

#include "Interface/NPUpdateUserDriverQt.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QPointer>
#include <QProgressDialog>
#include <QPushButton>
#include <QTextBrowser>

#include <optional>

namespace {

class NPUpdateOfferWindowTest : public testing::Test {
protected:
    ~NPUpdateOfferWindowTest() override { driver.stop(); }

    void show(const NPUpdateOffer& found, bool byHand = true)
    {
        driver.showUpdateFound(found, byHand, [this](NPUpdateChoice made) { choice = made; });
    }

    template<class Window> static QList<Window*> shown()
    {
        QList<Window*> found;
        for (QWidget* const widget : QApplication::topLevelWidgets()) {
            auto* const window = dynamic_cast<Window*>(widget);
            if (window != nullptr && window->isVisible()) {
                found += window;
            }
        }
        return found;
    }
    static NPUpdateOfferWindow& window() { return *shown<NPUpdateOfferWindow>().at(0); }
    static QPushButton& button(const QString& title)
    {
        for (QPushButton* const found : window().findChildren<QPushButton*>()) {
            if (found->text() == title) {
                return *found;
            }
        }
        throw std::runtime_error("no button " + title.toStdString());
    }
    static QStringList labels()
    {
        QStringList texts;
        for (const QLabel* const label : window().findChildren<QLabel*>()) {
            texts += label->text();
        }
        return texts;
    }

    const NPUpdateOffer offer{
        .version = "1.2 (340)", .currentVersion = "1.0", .releaseNotes = "<p>Fades are <b>smoother</b>.</p>"};
    bool isPrepared = false;
    NPUpdateUserDriverQt driver{[this] { isPrepared = true; }};
    std::optional<NPUpdateChoice> choice;
};

} // namespace

TEST_F(NPUpdateOfferWindowTest, SaysWhichVersionThereIsAndWhichOneRuns)
{
    show(offer);
    EXPECT_TRUE(isPrepared);
    EXPECT_TRUE(
        labels().contains(QGuiApplication::applicationDisplayName() + " 1.2 (340) is available; you have 1.0."));
    EXPECT_EQ(window().findChild<QTextBrowser*>()->toPlainText(), "Fades are smoother.");
}

TEST_F(NPUpdateOfferWindowTest, HasNoPlaceForNotesThatThereAreNot)
{
    show({.version = "2", .currentVersion = "1", .releaseNotes = ""});
    EXPECT_EQ(window().findChild<QTextBrowser*>(), nullptr);
}

TEST_F(NPUpdateOfferWindowTest, ShowsNothingInTheNotesThatComesFromElsewhere)
{
    show({.version = "2",
          .currentVersion = "1",
          .releaseNotes = "<img src=\"file:///etc/passwd\"><img src=\"https://www.real.net/reader.png\">"});
    auto* const notes = window().findChild<QTextBrowser*>();
    EXPECT_FALSE(notes->loadResource(2, QUrl("file:///etc/hostname")).isValid());
    EXPECT_FALSE(notes->document()->resource(2, QUrl("https://www.real.net/reader.png")).isValid());
}

TEST_F(NPUpdateOfferWindowTest, ShowsNotesInTheDesktopsColors)
{
    show({.version = "2", .currentVersion = "1", .releaseNotes = "<p style=\"color: black\">Better</p>"});
    const QTextCursor word = window().findChild<QTextBrowser*>()->document()->find("Better");
    EXPECT_FALSE(word.charFormat().hasProperty(QTextFormat::ForegroundBrush));
}

TEST_F(NPUpdateOfferWindowTest, AnswersWhatIsChosen)
{
    const std::pair<const char*, NPUpdateChoice> choices[] = {
        {"Open Download Page", NPUpdateChoice::openDownloadPage},
        {"Remind Me Later", NPUpdateChoice::remindLater},
        {"Skip This Version", NPUpdateChoice::skip},
    };
    for (const auto& [title, expected] : choices) {
        show(offer);
        button(title).click();
        EXPECT_EQ(choice, expected) << title;
        EXPECT_TRUE(shown<NPUpdateOfferWindow>().isEmpty());
    }
}

TEST_F(NPUpdateOfferWindowTest, ClosingItIsToBeRemindedLater)
{
    show(offer);
    window().close();
    EXPECT_EQ(choice, NPUpdateChoice::remindLater);
    choice.reset();
    show(offer);
    window().reject(); // Escape
    EXPECT_EQ(choice, NPUpdateChoice::remindLater);
}

TEST_F(NPUpdateOfferWindowTest, OpensThePageByReturn)
{
    show(offer);
    EXPECT_TRUE(button("Open Download Page").isDefault());
    EXPECT_EQ(window().focusWidget(), &button("Open Download Page"));
}

TEST_F(NPUpdateOfferWindowTest, CriticalVersionCannotBeSkipped)
{
    NPUpdateOffer critical = offer;
    critical.isCritical = true;
    show(critical);
    EXPECT_FALSE(button("Skip This Version").isVisible());
}

TEST_F(NPUpdateOfferWindowTest, TakesNoFocusWhenNobodyHasAsked)
{
    show(offer, false);
    EXPECT_TRUE(window().testAttribute(Qt::WA_ShowWithoutActivating));
}

TEST_F(NPUpdateOfferWindowTest, ANewOneTakesThePlaceOfTheOldOneWithoutAnAnswer)
{
    show(offer);
    show({.version = "2", .currentVersion = "1", .releaseNotes = ""});
    EXPECT_EQ(shown<NPUpdateOfferWindow>().size(), 1);
    EXPECT_FALSE(choice.has_value());
}

TEST_F(NPUpdateOfferWindowTest, CheckByHandIsShownUntilItEnds)
{
    driver.showUserInitiatedUpdateCheck([] {});
    ASSERT_EQ(shown<QProgressDialog>().size(), 1);
    EXPECT_EQ(shown<QProgressDialog>().at(0)->labelText(), "Checking for updates…");
    driver.dismissUpdateCheck();
    EXPECT_TRUE(shown<QProgressDialog>().isEmpty());
}

TEST_F(NPUpdateOfferWindowTest, CheckByHandCanBeCancelledByItsButtonAndByClosingIt)
{
    int cancelled = 0;
    driver.showUserInitiatedUpdateCheck([&] { ++cancelled; });
    shown<QProgressDialog>().at(0)->findChild<QPushButton*>()->click();
    EXPECT_EQ(cancelled, 1);
    driver.showUserInitiatedUpdateCheck([&] { ++cancelled; });
    shown<QProgressDialog>().at(0)->close();
    EXPECT_EQ(cancelled, 2);
}
