#include "Interface/NPEffectListView.h"

#include "Platform/NPHotKeyServices.h"

#include <gtest/gtest.h>

#include <QCoreApplication>

namespace {

class Target final : public NPMenuTarget {
public:
    void choose(NPMenuItem& sender) { chosen.push_back(sender.title()); }
    std::vector<std::string> chosen;
};

class NPEffectListViewTest : public testing::Test {
protected:
    NPEffectListViewTest()
    {
        list.setColumnCount(2);
        menu->addItem(NPMenuItem::itemWithTitle("Activate"));
        menu->addItem(NPMenuItem::separatorItem());
        add("Night", NPMenuItemState::on);
        add("Movie", NPMenuItemState::mixed);
        add("Day", NPMenuItemState::off);
        new NPEffectListView(menu, list);
    }

    void add(const std::string& title, NPMenuItemState state)
    {
        const auto item = NPMenuItem::itemWithTitle(title, NPMenuAction("choose:", &Target::choose));
        item->setTarget(target);
        item->setRepresentedObject(title);
        item->setState(state);
        menu->addItem(item);
    }

    std::shared_ptr<Target> target = std::make_shared<Target>();
    std::shared_ptr<NPMenu> menu = NPMenu::menu();
    QTreeWidget list;
};

} // namespace

TEST_F(NPEffectListViewTest, ListsWhatItemsStandForAlone)
{
    ASSERT_EQ(list.topLevelItemCount(), 3);
    EXPECT_EQ(list.topLevelItem(0)->text(0), "Night");
}

TEST_F(NPEffectListViewTest, ShowsTheThreeStates)
{
    EXPECT_EQ(list.topLevelItem(0)->checkState(0), Qt::Checked);
    EXPECT_EQ(list.topLevelItem(1)->checkState(0), Qt::PartiallyChecked);
    EXPECT_EQ(list.topLevelItem(2)->checkState(0), Qt::Unchecked);
}

TEST_F(NPEffectListViewTest, ShowsTheHotKey)
{
    menu->itemAtIndex(2)->setKeyEquivalent("n");
    menu->itemAtIndex(2)->setKeyEquivalentModifierMask(NPControlFlag);
    QCoreApplication::processEvents();
    EXPECT_EQ(list.topLevelItem(0)->text(1), "Ctrl+N");
}

TEST_F(NPEffectListViewTest, ChoosesTheItemWhenItsBoxIsChanged)
{
    list.topLevelItem(2)->setCheckState(0, Qt::Checked);
    EXPECT_EQ(target->chosen, std::vector<std::string>({"Day"}));
}

TEST_F(NPEffectListViewTest, LeavesTheBoxToTheLogic)
{
    list.topLevelItem(2)->setCheckState(0, Qt::Checked); // nothing follows from it here
    QCoreApplication::processEvents();
    EXPECT_EQ(list.topLevelItem(2)->checkState(0), Qt::Unchecked);
    EXPECT_EQ(target->chosen.size(), 1U);
}

TEST_F(NPEffectListViewTest, FollowsTheMenu)
{
    menu->removeItemAtIndex(2);
    add("New", NPMenuItemState::on);
    QCoreApplication::processEvents();
    ASSERT_EQ(list.topLevelItemCount(), 3);
    EXPECT_EQ(list.topLevelItem(0)->text(0), "Movie");
    EXPECT_EQ(list.topLevelItem(2)->text(0), "New");
}
