#include "Platform/NPMenu.h"

#include <gtest/gtest.h>

namespace {

class Chooser final : public NPMenuTarget {
public:
    void choose(NPMenuItem& sender)
    {
        chosen += sender.title() + ' ';
        if (alsoDo) {
            alsoDo(sender);
        }
    }
    std::string chosen;
    std::function<void(NPMenuItem&)> alsoDo;
};

class Stranger final : public NPMenuTarget {};

std::shared_ptr<NPMenuItem> itemFor(const std::shared_ptr<NPMenuTarget>& target, const std::string& title)
{
    auto item = NPMenuItem::itemWithTitle(title, NPMenuAction("choose:", &Chooser::choose));
    item->setTarget(target);
    return item;
}

std::string titles(const NPMenu& menu)
{
    std::string text;
    for (const std::shared_ptr<NPMenuItem>& item : menu.items()) {
        text += item->isSeparatorItem() ? "-" : item->title();
    }
    return text;
}

// A menu with items A, B and C, and what its observer is told.
class NPMenuTest : public testing::Test {
protected:
    NPMenuTest()
    {
        for (const char* title : {"A", "B", "C"}) {
            menu->addItem(NPMenuItem::itemWithTitle(title));
        }
        subscription = menu->observe({[this](std::size_t index, std::size_t count) { tell("+", index, count); },
                                      [this](std::size_t index, std::size_t count) { tell("-", index, count); },
                                      [this](const NPMenuItem& item) { told += '!' + item.title() + ' '; }});
    }
    void tell(const char* what, std::size_t index, std::size_t count)
    {
        told += what + std::to_string(index) + ',' + std::to_string(count) + ' ';
    }

    std::shared_ptr<NPMenu> menu = NPMenu::menu();
    NPMenuSubscription subscription;
    std::string told;
};

TEST_F(NPMenuTest, InsertsAndRemovesAtAnIndex)
{
    menu->insertItem(NPMenuItem::separatorItem(), 1);
    EXPECT_EQ(titles(*menu), "A-BC");
    menu->insertItems({NPMenuItem::itemWithTitle("X"), NPMenuItem::itemWithTitle("Y")}, 4);
    EXPECT_EQ(titles(*menu), "A-BCXY");
    menu->removeItemAtIndex(0);
    menu->removeItems(1, 2);
    EXPECT_EQ(titles(*menu), "-XY");
    EXPECT_EQ(told, "+1,1 +4,2 -0,1 -1,2 ");
}

TEST_F(NPMenuTest, TakesIndexesBeyondItsEndAsItsEnd)
{
    menu->insertItem(NPMenuItem::itemWithTitle("D"), 99);
    menu->removeItems(3, 99);
    menu->removeItems(99, 1);
    EXPECT_EQ(titles(*menu), "ABC");
    EXPECT_EQ(told, "+3,1 -3,1 ");
}

TEST_F(NPMenuTest, KnowsItsItemsAndTheyKnowIt)
{
    const std::shared_ptr<NPMenuItem> item = menu->itemAtIndex(1);
    EXPECT_EQ(menu->indexOfItem(*item), 1U);
    EXPECT_EQ(item->menu(), menu);
    menu->removeItemAtIndex(1);
    EXPECT_EQ(menu->indexOfItem(*item), std::nullopt);
    EXPECT_EQ(item->menu(), nullptr);
    menu->addItem(item);
    EXPECT_EQ(menu->indexOfItem(*item), 2U);
}

TEST_F(NPMenuTest, ItemThatIsInAMenuCannotBeInsertedInAnother)
{
    const auto other = NPMenu::menu();
    EXPECT_DEATH(other->addItem(menu->itemAtIndex(0)), "item.menu == nil");
}

TEST_F(NPMenuTest, TellsOfEachRealChangeOfAnItemOnce)
{
    NPMenuItem& item = *menu->itemAtIndex(0);
    item.setState(NPMenuItemState::mixed);
    item.setState(NPMenuItemState::mixed);
    item.setKeyEquivalent("d");
    item.setKeyEquivalentModifierMask(0x100000);
    item.setEnabled(false);
    item.setHidden(true);
    item.setIndentationLevel(1);
    item.setSubmenu(NPMenu::menu());
    EXPECT_EQ(told, "!A !A !A !A !A !A !A ");
    told.clear();
    item.setTitle("Z");
    item.setTitle("Z");
    EXPECT_EQ(told, "!Z ");
}

TEST_F(NPMenuTest, RemovedItemIsNotTalkedAbout)
{
    const std::shared_ptr<NPMenuItem> item = menu->itemAtIndex(0);
    menu->removeItemAtIndex(0);
    told.clear();
    item->setTitle("Z");
    EXPECT_EQ(told, "");
}

TEST_F(NPMenuTest, ObserverThatHasGoneIsNotTold)
{
    subscription.reset();
    menu->removeItemAtIndex(0);
    EXPECT_EQ(told, "");
}

TEST_F(NPMenuTest, SubscriptionMayOutliveTheMenu)
{
    menu.reset();
    subscription.reset();
    EXPECT_EQ(told, "");
}

TEST(NPMenuItem, IsPlainAtFirst)
{
    const auto item = NPMenuItem::itemWithTitle("A");
    EXPECT_EQ(item->state(), NPMenuItemState::off);
    EXPECT_EQ(item->keyEquivalent(), "");
    EXPECT_EQ(item->action().name(), "");
    EXPECT_TRUE(item->isEnabled());
    EXPECT_FALSE(item->isHidden());
    EXPECT_FALSE(item->isSeparatorItem());
    EXPECT_FALSE(item->representedObject().has_value());
    item->choose(); // nothing
}

TEST(NPMenuItem, KeepsATagAndAnObject)
{
    const auto item = NPMenuItem::itemWithTitle("A", {}, "d");
    item->setTag(7);
    item->setRepresentedObject(std::string("thing"));
    EXPECT_EQ(item->tag(), 7);
    EXPECT_EQ(std::any_cast<std::string>(item->representedObject()), "thing");
    EXPECT_EQ(item->keyEquivalent(), "d");
}

TEST(NPMenuItem, ChosenItemHasItsTargetPerformItsAction)
{
    const auto target = std::make_shared<Chooser>();
    const auto item = itemFor(target, "A");
    EXPECT_EQ(item->action().name(), "choose:");
    EXPECT_EQ(item->target(), target);
    item->choose();
    EXPECT_EQ(target->chosen, "A ");
}

TEST(NPMenuItem, DisabledItemCannotBeChosen)
{
    const auto target = std::make_shared<Chooser>();
    const auto item = itemFor(target, "A");
    item->setEnabled(false);
    item->choose();
    EXPECT_EQ(target->chosen, "");
}

TEST(NPMenuItem, TargetThatHasGoneOrDoesNotRespondDoesNothing)
{
    auto target = std::make_shared<Chooser>();
    const auto item = itemFor(target, "A");
    target.reset();
    item->choose();
    const auto stranger = std::make_shared<Stranger>();
    item->setTarget(stranger);
    item->choose();
    EXPECT_EQ(item->target(), stranger);
}

TEST(NPMenuItem, ActionMayDestroyTheMenuAndTheItem)
{
    const auto target = std::make_shared<Chooser>();
    auto menu = NPMenu::menu();
    menu->addItem(itemFor(target, "A"));
    const std::weak_ptr<NPMenuItem> item = menu->itemAtIndex(0);
    target->alsoDo = [&](NPMenuItem& sender) {
        menu.reset();
        EXPECT_NE(sender.menu(), nullptr); // held until the action is over
    };
    menu->itemAtIndex(0)->choose();
    EXPECT_EQ(target->chosen, "A ");
    EXPECT_TRUE(item.expired());
}

} // namespace
