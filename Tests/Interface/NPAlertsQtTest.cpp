#include "Interface/NPAlertsQt.h"

#include "Interface/NPWindowQt.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

namespace {

const NPAlert question{.messageText = "No effect has been chosen.",
                       .informativeText = "You should check at least one box.",
                       .buttons = {"Open preferences...", "Later", "Cancel"},
                       .style = NPAlertStyle::critical};

QPushButton* buttonNamed(const QMessageBox& box, const QString& title)
{
    for (QAbstractButton* const button : box.buttons()) {
        if (button->text() == title) {
            return qobject_cast<QPushButton*>(button);
        }
    }
    return nullptr;
}

// Does something to the alert once it is open.
void whenOpen(std::function<void(QMessageBox&)> action)
{
    QTimer::singleShot(0, qApp, [action = std::move(action)] {
        auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        ASSERT_NE(box, nullptr);
        action(*box);
    });
}

int answerOfButton(const QString& title)
{
    whenOpen([title](QMessageBox& box) { buttonNamed(box, title)->click(); });
    return NPAlertsQt([] {}).runModal(question);
}

} // namespace

TEST(NPAlertsQt, ShowsTheTextsAndButtons)
{
    const auto box = NPMessageBox(question);
    EXPECT_EQ(box->text(), "No effect has been chosen.");
    EXPECT_EQ(box->informativeText(), "You should check at least one box.");
    EXPECT_EQ(box->buttons().size(), 3);
    EXPECT_EQ(box->textFormat(), Qt::PlainText); // an effect's name is no markup
}

TEST(NPAlertsQt, MakesTheFirstButtonTheDefaultOne)
{
    const auto box = NPMessageBox(question);
    EXPECT_EQ(box->defaultButton(), buttonNamed(*box, "Open preferences..."));
}

TEST(NPAlertsQt, AnswersWithTheButtonsNumber)
{
    EXPECT_EQ(answerOfButton("Open preferences..."), NPAlertFirstButtonReturn);
    EXPECT_EQ(answerOfButton("Later"), NPAlertSecondButtonReturn);
    EXPECT_EQ(answerOfButton("Cancel"), NPAlertSecondButtonReturn + 1);
}

TEST(NPAlertsQt, AnswersTheLastButtonWhenItIsClosed)
{
    whenOpen([](QMessageBox& box) { box.close(); });
    EXPECT_EQ(NPAlertsQt([] {}).runModal(question), NPAlertSecondButtonReturn + 1);
}

TEST(NPAlertsQt, HasOneButtonWhenNoneIsNamed)
{
    const auto box = NPMessageBox({.messageText = "Saved."});
    ASSERT_EQ(box->buttons().size(), 1);
    whenOpen([](QMessageBox& open) { open.buttons().front()->click(); });
    EXPECT_EQ(NPAlertsQt([] {}).runModal({.messageText = "Saved."}), NPAlertFirstButtonReturn);
}

TEST(NPAlertsQt, PreparesTheApplicationFirst)
{
    bool isPrepared = false;
    whenOpen([&](QMessageBox& box) {
        EXPECT_TRUE(isPrepared);
        box.close();
    });
    NPAlertsQt([&] { isPrepared = true; }).runModal(question);
}

TEST(NPAlertsQt, OpensSheetsOnTheirWindow)
{
    QXNotificationCenter notifications;
    QWidget view;
    const auto window = std::make_shared<NPWindowQt>(view, notifications);
    view.show();
    int answered = 0;
    NPAlertsQt([] {}).beginSheet(question, window, [&](int answer) { answered = answer; });
    auto* const box = view.findChild<QMessageBox*>();
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(box->windowModality(), Qt::WindowModal);
    EXPECT_EQ(answered, 0);
    buttonNamed(*box, "Later")->click();
    EXPECT_EQ(answered, NPAlertSecondButtonReturn);
}
