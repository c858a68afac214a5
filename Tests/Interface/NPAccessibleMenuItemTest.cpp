#include "Interface/NPAccessibleMenuItem.h"

#include "Interface/NPEffectListView.h"
#include "Interface/NPMenuMirror.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QApplication>
#include <QMenu>
#include <QMenuBar>

namespace {

class NPAccessibleMenuItemTest : public testing::Test {
protected:
    NPAccessibleMenuItemTest()
    {
        static const bool isInstalled = [] {
            NPInstallMenuAccessibility();
            return true;
        }();
        EXPECT_TRUE(isInstalled);
        for (const NPMenuItemState state : {NPMenuItemState::on, NPMenuItemState::mixed, NPMenuItemState::off}) {
            const auto item = NPMenuItem::itemWithTitle("Salt & Pepper");
            item->setRepresentedObject("effect");
            item->setState(state);
            menu->addItem(item);
        }
        menu->addItem(NPMenuItem::separatorItem());
        const auto more = NPMenuItem::itemWithTitle("More");
        more->setSubmenu(NPMenu::menu());
        more->submenu()->addItem(NPMenuItem::itemWithTitle("Inner"));
        menu->addItem(more);
    }

    static QAccessibleInterface& interfaceOf(QObject& object)
    {
        return *QAccessible::queryAccessibleInterface(&object);
    }
    QAccessibleInterface& item(int index) { return *interfaceOf(shown).child(index); }

    std::shared_ptr<NPMenu> menu = NPMenu::menu();
    QMenu shown;
    NPMenuMirror& mirror = *new NPMenuMirror(menu, shown);
};

} // namespace

TEST_F(NPAccessibleMenuItemTest, SaysWhatTheDashMeans)
{
    mirror.update();
    EXPECT_EQ(item(1).text(QAccessible::Description), "On for some of its screens");
    EXPECT_TRUE(item(1).state().checkStateMixed);
    EXPECT_TRUE(item(1).state().checkable);
    EXPECT_FALSE(item(1).state().checked);
    for (const int other : {0, 2}) {
        EXPECT_EQ(item(other).text(QAccessible::Description), "");
        EXPECT_FALSE(item(other).state().checkStateMixed);
        EXPECT_TRUE(item(other).state().checkable);
        EXPECT_EQ(item(other).state().checked, other == 0);
    }
}

TEST_F(NPAccessibleMenuItemTest, FollowsTheStateOfAnItem)
{
    mirror.update();
    menu->itemAtIndex(1)->setState(NPMenuItemState::on);
    mirror.update();
    EXPECT_EQ(item(1).text(QAccessible::Description), "");
    EXPECT_FALSE(item(1).state().checkStateMixed);
    EXPECT_TRUE(item(1).state().checked);
}

TEST_F(NPAccessibleMenuItemTest, NamesItemsAsTheyAreRead)
{
    mirror.update();
    EXPECT_EQ(item(0).text(QAccessible::Name), "Salt & Pepper");
    QMenu other;
    QAction& action = *other.addAction("&Quit\tCtrl+Q");
    action.setShortcut(QKeySequence("Ctrl+Q"));
    EXPECT_EQ(interfaceOf(other).child(0)->text(QAccessible::Name), "Quit");
    EXPECT_EQ(interfaceOf(other).child(0)->text(QAccessible::Accelerator), "Ctrl+Q");
}

TEST_F(NPAccessibleMenuItemTest, KnowsItsPlaceInTheTree)
{
    mirror.update();
    EXPECT_EQ(item(0).role(), QAccessible::MenuItem);
    EXPECT_EQ(item(3).role(), QAccessible::Separator);
    EXPECT_EQ(item(0).parent()->object(), &shown);
    EXPECT_EQ(item(0).childCount(), 0);
    ASSERT_EQ(item(4).childCount(), 1);
    EXPECT_EQ(item(4).child(0)->child(0)->text(QAccessible::Name), "Inner");
    EXPECT_EQ(item(4).indexOfChild(item(4).child(0)), 0);
    EXPECT_EQ(item(4).child(1), nullptr);
}

TEST_F(NPAccessibleMenuItemTest, ShowsWhereItIsAndWhetherItIsAtHand)
{
    mirror.update();
    EXPECT_TRUE(item(0).state().invisible);
    shown.popup(QPoint(40, 40));
    QApplication::processEvents();
    EXPECT_FALSE(item(0).state().invisible);
    EXPECT_TRUE(shown.geometry().contains(item(0).rect()));
    shown.setActiveAction(shown.actions()[0]);
    EXPECT_TRUE(item(0).state().focused);
    EXPECT_FALSE(item(2).state().focused);
    shown.hide();
}

TEST_F(NPAccessibleMenuItemTest, IsPressedAndOpensItsSubmenu)
{
    mirror.update();
    QAction& first = *shown.actions()[0];
    int presses = 0;
    QObject::connect(&first, &QAction::triggered, &shown, [&] { ++presses; });
    QAccessibleActionInterface& press = *item(0).actionInterface();
    EXPECT_EQ(press.actionNames(), QStringList(QAccessibleActionInterface::pressAction()));
    press.doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(presses, 1);
    first.setEnabled(false);
    press.doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(presses, 1);
    EXPECT_TRUE(item(0).state().disabled);
    EXPECT_TRUE(item(3).actionInterface()->actionNames().isEmpty());

    QMenuBar bar;
    new NPMenuMirror(menu, bar);
    bar.show();
    QAccessibleInterface& more = *interfaceOf(bar).child(4);
    EXPECT_TRUE(bar.rect().translated(bar.mapToGlobal(QPoint())).contains(more.rect()));
    more.actionInterface()->doAction(QAccessibleActionInterface::showMenuAction());
    EXPECT_EQ(bar.activeAction(), bar.actions()[4]);
    bar.actions()[4]->menu()->hide();
}

TEST_F(NPAccessibleMenuItemTest, ListOfEffectsSaysItToo)
{
    QTreeWidget list;
    list.setColumnCount(2);
    new NPEffectListView(menu, list);
    QAccessibleTableInterface& rows = *interfaceOf(list).tableInterface();
    EXPECT_EQ(rows.cellAt(1, 0)->text(QAccessible::Description), "On for some of its screens");
    EXPECT_EQ(rows.cellAt(0, 0)->text(QAccessible::Description), "");
}
