#include "Interface/NPMenuMirror.h"

#include "Platform/NPHotKeyServices.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QMenu>
#include <QMenuBar>
#include <QPointer>
#include <QScreen>

#include <algorithm>

namespace {

class Target final : public NPMenuTarget {
public:
    void choose(NPMenuItem& sender) { chosen.push_back(sender.title()); }
    std::vector<std::string> chosen;
};

std::shared_ptr<NPMenuItem> itemNamed(const std::string& title)
{
    return NPMenuItem::itemWithTitle(title);
}

// An item that stands for something, as those of effects do.
std::shared_ptr<NPMenuItem> effectNamed(const std::string& title, NPMenuItemState state)
{
    const auto item = itemNamed(title);
    item->setRepresentedObject(title);
    item->setState(state);
    return item;
}

QStringList texts(const QWidget& widget)
{
    QStringList all;
    for (const QAction* const action : widget.actions()) {
        all += action->isSeparator() ? QStringLiteral("-") : action->text();
    }
    return all;
}

class NPMenuMirrorTest : public testing::Test {
protected:
    void turn() { QCoreApplication::processEvents(); }

    static std::shared_ptr<NPMenu> menuOfTwo()
    {
        auto made = NPMenu::menu();
        made->insertItems({itemNamed("One"), itemNamed("Two")}, 0);
        return made;
    }

    std::shared_ptr<NPMenu> menu = menuOfTwo();
    QMenu shown;
    NPMenuMirror& mirror = *new NPMenuMirror(menu, shown);
};

} // namespace

TEST_F(NPMenuMirrorTest, ShowsTheItemsThatAreThereAlready)
{
    EXPECT_EQ(texts(shown), QStringList({"One", "Two"}));
}

TEST_F(NPMenuMirrorTest, FollowsInsertionsAndRemovals)
{
    menu->insertItem(itemNamed("Between"), 1);
    menu->addItem(NPMenuItem::separatorItem());
    turn();
    EXPECT_EQ(texts(shown), QStringList({"One", "Between", "Two", "-"}));
    menu->removeItems(0, 2);
    turn();
    EXPECT_EQ(texts(shown), QStringList({"Two", "-"}));
}

TEST_F(NPMenuMirrorTest, GathersChangesUntilTheLoopTurns)
{
    menu->itemAtIndex(0)->setTitle("Changed");
    EXPECT_EQ(texts(shown), QStringList({"One", "Two"}));
    turn();
    EXPECT_EQ(texts(shown), QStringList({"Changed", "Two"}));
}

TEST_F(NPMenuMirrorTest, IsUpToDateWhenTheMenuOpens)
{
    menu->itemAtIndex(0)->setTitle("Changed");
    emit shown.aboutToShow();
    EXPECT_EQ(texts(shown), QStringList({"Changed", "Two"}));
}

TEST_F(NPMenuMirrorTest, KeepsActionsWhenTheItemsAreBuiltAnew)
{
    const QList<QAction*> before = shown.actions();
    menu->removeItems(0, 2);
    menu->insertItems({itemNamed("One"), effectNamed("Two", NPMenuItemState::on)}, 0);
    turn();
    EXPECT_EQ(shown.actions(), before);
    EXPECT_TRUE(before[1]->isChecked());
}

TEST_F(NPMenuMirrorTest, ChecksWhatIsOn)
{
    menu->insertItems({effectNamed("On", NPMenuItemState::on), effectNamed("Off", NPMenuItemState::off)}, 0);
    turn();
    EXPECT_TRUE(shown.actions()[0]->isChecked());
    EXPECT_TRUE(shown.actions()[1]->isCheckable());
    EXPECT_FALSE(shown.actions()[1]->isChecked());
}

TEST_F(NPMenuMirrorTest, ShowsADashWhereAnItemIsOnInPart)
{
    menu->insertItem(effectNamed("Part", NPMenuItemState::mixed), 0);
    turn();
    const QAction* const action = shown.actions()[0];
    EXPECT_FALSE(action->isCheckable());
    EXPECT_TRUE(action->isIconVisibleInMenu());
    const QImage dash = action->icon().pixmap(16, 16).toImage();
    EXPECT_GT(qAlpha(dash.pixel(8, 7)), 200); // in the middle …
    EXPECT_EQ(qAlpha(dash.pixel(8, 2)), 0);   // … and not above
    EXPECT_EQ(qAlpha(dash.pixel(1, 7)), 0);   // … or beside
}

TEST_F(NPMenuMirrorTest, TakesTheDashAwayAgain)
{
    const auto item = effectNamed("Part", NPMenuItemState::mixed);
    menu->insertItem(item, 0);
    turn();
    item->setState(NPMenuItemState::off);
    turn();
    EXPECT_TRUE(shown.actions()[0]->icon().isNull());
    EXPECT_TRUE(shown.actions()[0]->isCheckable());
}

// Else a panel that shows the menu would keep the check box, and the mark that was in it.
TEST_F(NPMenuMirrorTest, ADashComesWithAnActionOfItsOwn)
{
    const auto item = effectNamed("Part", NPMenuItemState::on);
    menu->insertItem(item, 0);
    turn();
    const QPointer<QAction> checked = shown.actions()[0];
    item->setState(NPMenuItemState::mixed);
    turn();
    EXPECT_NE(shown.actions()[0], checked);
    EXPECT_EQ(shown.actions()[0]->text(), QStringLiteral("Part"));
    EXPECT_EQ(shown.actions().size(), 3);
}

TEST_F(NPMenuMirrorTest, TheDashStandsOutFromAnyGround)
{
    const QImage dash = NPMixedStateIcon(shown).pixmap(16, 16).toImage();
    int darkest = 255;
    int lightest = 0;
    for (int y = 0; y < dash.height(); ++y) {
        const QRgb pixel = dash.pixel(8, y);
        if (qAlpha(pixel) > 200) {
            darkest = std::min(darkest, qGray(pixel));
            lightest = std::max(lightest, qGray(pixel));
        }
    }
    EXPECT_LT(darkest, 64);
    EXPECT_GT(lightest, 192);
}

TEST_F(NPMenuMirrorTest, LeavesCommandsWithoutACheckBox)
{
    EXPECT_FALSE(shown.actions()[0]->isCheckable());
}

TEST_F(NPMenuMirrorTest, ShowsKeyEquivalents)
{
    menu->itemAtIndex(0)->setKeyEquivalent("d");
    menu->itemAtIndex(0)->setKeyEquivalentModifierMask(NPControlFlag | NPOptionFlag);
    turn();
    EXPECT_EQ(shown.actions()[0]->shortcut().toString(), "Ctrl+Alt+D");
    EXPECT_EQ(shown.actions()[0]->shortcutContext(), Qt::WidgetShortcut); // it is registered elsewhere
    menu->itemAtIndex(0)->setKeyEquivalent("");
    turn();
    EXPECT_TRUE(shown.actions()[0]->shortcut().isEmpty());
}

TEST_F(NPMenuMirrorTest, ShowsKeysWithoutANameInTheirColumn)
{
    menu->itemAtIndex(0)->setKeyEquivalent("ab");
    menu->itemAtIndex(0)->setKeyEquivalentModifierMask(NPControlFlag);
    turn();
    EXPECT_EQ(shown.actions()[0]->text(), "One\tCtrl+AB");
}

TEST_F(NPMenuMirrorTest, HidesAndDisablesItems)
{
    menu->itemAtIndex(0)->setHidden(true);
    menu->itemAtIndex(1)->setEnabled(false);
    turn();
    EXPECT_FALSE(shown.actions()[0]->isVisible());
    EXPECT_FALSE(shown.actions()[1]->isEnabled());
}

TEST_F(NPMenuMirrorTest, IndentsItems)
{
    menu->itemAtIndex(0)->setIndentationLevel(2);
    turn();
    EXPECT_EQ(shown.actions()[0]->text(), "      One");
}

TEST_F(NPMenuMirrorTest, ShowsAmpersandsAndTabsAsTheyAreNamed)
{
    menu->itemAtIndex(0)->setTitle("Salt & Pepper\tCtrl+Q");
    turn();
    EXPECT_EQ(shown.actions()[0]->text(), "Salt && Pepper Ctrl+Q");
}

// The last commands have to be within reach.
TEST_F(NPMenuMirrorTest, AMenuHigherThanTheScreenScrolls)
{
    for (int count = 0; count < 400; ++count) {
        menu->insertItem(itemNamed("Effect"), 0);
    }
    turn();
    shown.popup(QPoint(0, 0));
    EXPECT_LT(shown.width(), 300); // one column
    EXPECT_LE(shown.height(), shown.screen()->geometry().height());
    shown.hide();
}

// The keys beside it have to stay on the screen.
TEST_F(NPMenuMirrorTest, ShortensTheMiddleOfALongName)
{
    menu->items()[0]->setTitle(std::string(300, 'W') + " & end");
    turn();
    const QString text = texts(shown).first();
    EXPECT_LT(shown.sizeHint().width(), 1000);
    EXPECT_TRUE(text.startsWith(QStringLiteral("WW")) && text.endsWith(QStringLiteral(" && end")))
        << text.toStdString();
}

TEST_F(NPMenuMirrorTest, ChoosesTheItem)
{
    const auto target = std::make_shared<Target>();
    const auto item = NPMenuItem::itemWithTitle("Three", NPMenuAction("choose:", &Target::choose));
    item->setTarget(target);
    menu->insertItem(item, 1);
    turn();
    shown.actions()[1]->trigger();
    EXPECT_EQ(target->chosen, std::vector<std::string>({"Three"}));
}

TEST_F(NPMenuMirrorTest, LeavesTheCheckMarkToTheLogic)
{
    const auto item = effectNamed("Off", NPMenuItemState::off);
    menu->insertItem(item, 0);
    turn();
    shown.actions()[0]->trigger(); // nobody answers it
    turn();
    EXPECT_FALSE(shown.actions()[0]->isChecked());
}

TEST_F(NPMenuMirrorTest, SurvivesThatChoosingRemovesTheItem)
{
    class Remover final : public NPMenuTarget {
    public:
        void choose(NPMenuItem& sender) { sender.menu()->removeItems(0, 3); }
    };
    const auto target = std::make_shared<Remover>();
    const auto item = NPMenuItem::itemWithTitle("Gone", NPMenuAction("choose:", &Remover::choose));
    item->setTarget(target);
    menu->insertItem(item, 0);
    turn();
    shown.actions()[0]->trigger();
    turn();
    EXPECT_TRUE(shown.actions().isEmpty());
}

TEST_F(NPMenuMirrorTest, ShowsSubmenusAndFollowsThem)
{
    const auto item = itemNamed("More");
    item->setSubmenu(NPMenu::menu());
    menu->addItem(item);
    turn();
    item->submenu()->addItem(itemNamed("Inner"));
    turn();
    ASSERT_NE(shown.actions()[2]->menu(), nullptr);
    EXPECT_EQ(texts(*shown.actions()[2]->menu()), QStringList({"Inner"}));
}

TEST_F(NPMenuMirrorTest, FillsAMenuBar)
{
    QMenuBar bar;
    new NPMenuMirror(menu, bar);
    EXPECT_EQ(texts(bar), QStringList({"One", "Two"}));
}

TEST_F(NPMenuMirrorTest, MayOutliveTheMenusHolder)
{
    menu = nullptr;
    turn();
    EXPECT_EQ(texts(shown), QStringList({"One", "Two"}));
}
