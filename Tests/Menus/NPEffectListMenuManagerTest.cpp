#include "Menus/NPEffectListMenuManager.h"

#include "Support/NPScreensTest.h"

namespace {

// "[x] Night": what a line of a menu shows.
std::string lineOf(const NPMenuItem& item)
{
    if (item.isSeparatorItem()) {
        return "---";
    }
    static const std::map<NPMenuItemState, std::string> marks{
        {NPMenuItemState::mixed, "[-] "}, {NPMenuItemState::off, "[ ] "}, {NPMenuItemState::on, "[x] "}};
    return marks.at(item.state()) + item.title();
}

// Groups G, on all of two displays, and H, on the first alone, in a menu between two separators.
class NPEffectListMenuManagerTest : public NPScreensTest {
protected:
    NPEffectListMenuManagerTest()
    {
        plug(1);
        plug(2);
        const QXDictionary atOnce{{"NPManualTransitionDuration", 2.0}, {"NPTimerTransitionDuration", 8.0}};
        storeGroups({dimming("G", -0.5F, atOnce), dimming("H", -0.75F, onScreens({1}, atOnce))});
        platform.defaults.setObject(true, NPEffectActiveKey);
        sharedScreenManager()->setScreenManagementEnabled(true);
        separator = NPMenuItem::separatorItem();
        for (const auto& item : {NPMenuItem::itemWithTitle("Activate"), separator, NPMenuItem::separatorItem(),
                                 NPMenuItem::itemWithTitle("Quit")}) {
            menu->addItem(item);
        }
    }

    void makeList(int indent = 0)
    {
        list = NPEffectListMenuManager::managerWithMenu(platform.services(), *sharedEffectManager(),
                                                        *sharedScreenManager(), menu, separator, indent);
    }
    void activate(std::size_t index)
    {
        manager().activateEffectGroup(groupAt(index), NPTransitionKind::none, now());
    }

    std::string lines() const
    {
        std::string text;
        for (const auto& item : menu->items()) {
            text += lineOf(*item) + '\n';
        }
        return text;
    }
    NPMenuItem& item(std::size_t index) const { return *menu->itemAtIndex(2 + index); }
    void setHotKey(std::size_t index, std::uint16_t keyCode, std::uint64_t flags)
    {
        groupAt(index)->setHotKey(JXHotKey(keyCode, flags));
    }

    std::shared_ptr<NPMenu> menu = NPMenu::menu();
    std::shared_ptr<NPMenuItem> separator;
    std::shared_ptr<NPEffectListMenuManager> list;
};

TEST_F(NPEffectListMenuManagerTest, ListsTheGroupsAfterItsItemAtOnce)
{
    makeList();
    EXPECT_EQ(lines(), "[ ] Activate\n---\n[ ] G\n[ ] H\n---\n[ ] Quit\n");
}

TEST_F(NPEffectListMenuManagerTest, ListsThemAtTheTopWithoutAnItem)
{
    separator = nullptr;
    makeList();
    EXPECT_TRUE(lines().starts_with("[ ] G\n[ ] H\n[ ] Activate\n"));
    list->setupEffectsMenu();
    EXPECT_TRUE(lines().starts_with("[ ] G\n[ ] H\n[ ] Activate\n"));
}

TEST_F(NPEffectListMenuManagerTest, ItemsRepresentTheirGroupsAndCallTheList)
{
    makeList(3);
    EXPECT_EQ(std::any_cast<std::shared_ptr<NPEffectGroup>>(item(1).representedObject()), groupAt(1));
    EXPECT_EQ(item(1).action().name(), "chooseEffect:");
    EXPECT_EQ(item(1).target(), list);
    EXPECT_EQ(item(1).indentationLevel(), 3);
}

TEST_F(NPEffectListMenuManagerTest, GroupWithoutHotKeyHasNoKeyEquivalent)
{
    makeList();
    EXPECT_EQ(item(0).keyEquivalent(), "");
    EXPECT_EQ(item(0).keyEquivalentModifierMask(), 0U);
}

TEST_F(NPEffectListMenuManagerTest, HotKeyShowsItsKeyWithoutModifiersAndItsFlagsAsTheyAre)
{
    makeList();
    setHotKey(0, 2, NPCommandFlag | NPShiftFlag | 0x8);
    EXPECT_EQ(item(0).keyEquivalent(), "d"); // not "⇧⌘D"
    EXPECT_EQ(item(0).keyEquivalentModifierMask(), NPCommandFlag | NPShiftFlag | 0x8);
    setHotKey(0, 122, 0);
    EXPECT_EQ(item(0).keyEquivalent(), "F1");
}

// The text of key code 0 without modifiers is that of no hot key at all, although it is a key, A.
TEST_F(NPEffectListMenuManagerTest, KeyWithCodeZeroShowsItsModifiersAlone)
{
    makeList();
    setHotKey(0, 0, NPCommandFlag);
    EXPECT_EQ(item(0).keyEquivalent(), "");
    EXPECT_EQ(item(0).keyEquivalentModifierMask(), NPCommandFlag);
}

TEST_F(NPEffectListMenuManagerTest, StatesFollowTheScreens)
{
    makeList();
    activate(0);
    EXPECT_TRUE(lines().find("[x] G\n[ ] H\n") != std::string::npos);
    activate(1);
    EXPECT_TRUE(lines().find("[-] G\n[x] H\n") != std::string::npos); // G on one of its two screens
}

TEST_F(NPEffectListMenuManagerTest, ChosenItemThatIsOnIsSwitchedOffWithAManualFade)
{
    activate(0);
    makeList();
    item(0).choose();
    EXPECT_EQ(state(), "AllScreens:G-");
    platform.clock.advance(1.0);
    EXPECT_EQ(white(1), 0.75F); // half of two seconds
}

TEST_F(NPEffectListMenuManagerTest, ChosenItemThatIsOffIsSwitchedOn)
{
    makeList();
    item(0).choose();
    EXPECT_EQ(state(), "AllScreens:G+");
    EXPECT_EQ(lineOf(item(0)), "[x] G");
    platform.clock.advance(1.0);
    EXPECT_EQ(white(1), 0.75F);
}

TEST_F(NPEffectListMenuManagerTest, ChosenItemThatIsMixedIsSwitchedOn)
{
    activate(0);
    activate(1);
    makeList();
    ASSERT_EQ(item(0).state(), NPMenuItemState::mixed);
    item(0).choose();
    EXPECT_EQ(lineOf(item(0)), "[x] G");
}

TEST_F(NPEffectListMenuManagerTest, ItemWithoutGroupTogglesNothing)
{
    makeList();
    const auto stranger = NPMenuItem::itemWithTitle("Stranger");
    list->chooseEffect(*stranger);
    stranger->setRepresentedObject(std::shared_ptr<NPEffectGroup>());
    list->chooseEffect(*stranger);
    EXPECT_EQ(state(), "");
}

TEST_F(NPEffectListMenuManagerTest, RebuildingLeavesOneItemForEachGroup)
{
    makeList();
    list->setupEffectsMenu();
    list->setupEffectsMenu();
    EXPECT_EQ(lines(), "[ ] Activate\n---\n[ ] G\n[ ] H\n---\n[ ] Quit\n");
}

TEST_F(NPEffectListMenuManagerTest, FollowsItsItemThroughTheMenu)
{
    makeList();
    menu->insertItem(NPMenuItem::itemWithTitle("First"), 0);
    list->setupEffectsMenu();
    EXPECT_EQ(lines(), "[ ] First\n[ ] Activate\n---\n[ ] G\n[ ] H\n---\n[ ] Quit\n");
}

TEST_F(NPEffectListMenuManagerTest, RenamedGroupIsRenamed)
{
    makeList();
    groupAt(1)->setName("Night");
    EXPECT_EQ(lineOf(item(1)), "[ ] Night");
}

TEST_F(NPEffectListMenuManagerTest, ListFollowsAddingCopyingImportingAndRemoving)
{
    makeList();
    const auto names = [&] {
        std::string text;
        for (std::size_t i = 0; i + 4 < menu->numberOfItems(); ++i) {
            text += item(i).title() + ',';
        }
        return text;
    };
    NPEffectManager& effects = *sharedEffectManager();
    effects.addNewGroup();
    EXPECT_EQ(names(), "G,H,New Effect,");
    effects.duplicateGroupAtIndex(0);
    EXPECT_EQ(names(), "G,G copy,H,New Effect,");
    effects.addGroupWithDictionary({{"NPEffectName", "Imported"}});
    EXPECT_EQ(names(), "G,G copy,H,New Effect,Imported,");
    effects.removeGroupAtIndex(2);
    EXPECT_EQ(names(), "G,G copy,New Effect,Imported,");
}

TEST_F(NPEffectListMenuManagerTest, MirrorSeesARebuildAsOneRemovalAndOneInsertion)
{
    makeList();
    std::string told;
    const auto subscription =
        menu->observe({[&](std::size_t index, std::size_t count) {
                           told += '+' + std::to_string(index) + ',' + std::to_string(count) + ' ';
                       },
                       [&](std::size_t index, std::size_t count) {
                           told += '-' + std::to_string(index) + ',' + std::to_string(count) + ' ';
                       },
                       [&](const NPMenuItem&) { told += "! "; }});
    list->setupEffectsMenu();
    EXPECT_EQ(told, "-2,2 +2,2 ");
}

TEST_F(NPEffectListMenuManagerTest, ListThatHasGoneFollowsNothing)
{
    makeList();
    list.reset();
    activate(0);
    EXPECT_EQ(lineOf(item(0)), "[ ] G");
    item(0).choose(); // nothing
    EXPECT_EQ(state(), "AllScreens:G+");
}

} // namespace
