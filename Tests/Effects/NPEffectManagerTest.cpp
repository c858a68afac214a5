#include "Effects/NPEffectManager.h"

#include "Foundation/QXString.h"
#include "Support/NPEngineTest.h"

#include <stdexcept>

namespace {

constexpr std::string_view savedGroups = "defaults set NPEffectGroups";

QXDictionary storedGroup(std::string identifier)
{
    return {{"NPEffectIdentifier", identifier}, {"NPEffectName", "Group " + identifier}};
}

class NPEffectManagerTest : public NPEngineTest {
protected:
    // Loads what is stored, and from here on counts what is saved.
    NPEffectManager& manager()
    {
        if (!_manager) {
            _manager = sharedEffectManager();
            platform.log.clear();
        }
        return *_manager;
    }

    void storeThree() { storeGroups({storedGroup("A"), storedGroup("B"), storedGroup("C")}); }

    QXArray saved() const { return platform.defaults.arrayForKey(NPEffectGroupsKey).value(); }
    std::string savedIdentifier(std::size_t index) const
    {
        return *saved().at(index).dictionary()->at("NPEffectIdentifier").string();
    }

private:
    std::shared_ptr<NPEffectManager> _manager;
};
using NPEffectManagerDeathTest = NPEffectManagerTest;

TEST_F(NPEffectManagerTest, FirstRunMakesTheDefaultGroupAndSavesNothing)
{
    ASSERT_EQ(manager().groups().size(), 1U);
    EXPECT_EQ(manager().groups()[0]->name(), "Default Effect");
    EXPECT_TRUE(manager().createdFirstEffectOnInitialization());
    EXPECT_TRUE(platform.defaults.stored().empty());
}

TEST_F(NPEffectManagerTest, FirstChangeSavesTheDefaultGroup)
{
    manager().groups()[0]->dimEffect().setSelected(true);
    EXPECT_EQ(logged(savedGroups), 1);
    EXPECT_EQ(savedIdentifier(0), manager().groups()[0]->identifier());
    EXPECT_EQ(saved()[0].dictionary()->at("NPEffectName"), QXValue("Default Effect"));
}

TEST_F(NPEffectManagerTest, NamesOfNewGroupsAreLocalized)
{
    QXSetStringTables([](std::string_view key, std::string_view) {
        return std::optional(key == "%@ copy" ? std::string("Kopie von %@") : "<" + std::string(key) + ">");
    });
    manager().addNewGroup();
    manager().duplicateGroupAtIndex(1);
    QXSetStringTables({});
    EXPECT_EQ(groupAt(0)->stringForKey(NPEffectNameKey), "<Default Effect>");
    EXPECT_EQ(groupAt(1)->stringForKey(NPEffectNameKey), "<New Effect>");
    EXPECT_EQ(groupAt(2)->stringForKey(NPEffectNameKey), "Kopie von <New Effect>");
}

TEST_F(NPEffectManagerTest, LoadingSkipsWhatIsNoDictionary)
{
    storeGroups({storedGroup("A"), 5, storedGroup("B")});
    ASSERT_EQ(manager().groups().size(), 2U);
    EXPECT_EQ(manager().groups()[0]->identifier(), "A");
    EXPECT_EQ(manager().groups()[1]->identifier(), "B");
    EXPECT_FALSE(manager().createdFirstEffectOnInitialization());
    EXPECT_EQ(logged(savedGroups), 0);
}

TEST_F(NPEffectManagerTest, NothingUsableStoredCountsAsAFirstRun)
{
    for (const QXValue& stored : {QXValue("groups"), QXValue(QXArray{5, "x"}), QXValue(QXArray{})}) {
        const QXSharedScope another;
        NPInstallPlatform(platform.services());
        platform.defaults.setObject(stored, NPEffectGroupsKey);
        EXPECT_TRUE(sharedEffectManager()->createdFirstEffectOnInitialization());
        EXPECT_EQ(sharedEffectManager()->groups().size(), 1U);
        EXPECT_EQ(platform.defaults.objectForKey(NPEffectGroupsKey), stored);
    }
}

TEST_F(NPEffectManagerTest, ThereIsOneManager)
{
    EXPECT_EQ(sharedEffectManager(), sharedEffectManager());
}

TEST_F(NPEffectManagerTest, FindsTheFirstGroupWithAnIdentifier)
{
    storeGroups({storedGroup("A"), storedGroup("B"), storedGroup("B")});
    EXPECT_EQ(manager().groupWithIdentifier("B"), manager().groups()[1]);
    EXPECT_EQ(manager().groupWithIdentifier("b"), nullptr);
    EXPECT_EQ(manager().groupWithIdentifier(""), nullptr);
}

TEST_F(NPEffectManagerTest, NewGroupComesLastAndIsSavedOnce)
{
    storeThree();
    const auto added = manager().addNewGroup();
    EXPECT_EQ(manager().groups().back(), added);
    EXPECT_EQ(added->stringForKey(NPEffectNameKey), "New Effect");
    EXPECT_EQ(logged(savedGroups), 1);
    EXPECT_EQ(saved().size(), 4U);
    EXPECT_EQ(saved()[3], added->dictionary());
}

TEST_F(NPEffectManagerTest, DuplicateComesRightAfterItsOriginalWithAnIdentifierAndNameOfItsOwn)
{
    storeThree();
    manager().groups()[0]->setObject("kept", "SomebodyElses");
    platform.log.clear();
    const auto copy = manager().duplicateGroupAtIndex(0);
    EXPECT_EQ(manager().groups()[1], copy);
    EXPECT_NE(copy->identifier(), "A");
    EXPECT_EQ(copy->name(), "Group A copy");
    EXPECT_EQ(copy->stringForKey("SomebodyElses"), "kept");
    EXPECT_EQ(logged(savedGroups), 1);
    ASSERT_EQ(saved().size(), 4U);
    EXPECT_EQ(savedIdentifier(1), copy->identifier());
    EXPECT_EQ(savedIdentifier(2), "B");
}

TEST_F(NPEffectManagerTest, DuplicateDoesNotShareItsSettings)
{
    storeThree();
    const auto copy = manager().duplicateGroupAtIndex(2);
    copy->invertEffect().setSelected(true);
    EXPECT_FALSE(manager().groups()[2]->invertEffect().isSelected());
}

TEST_F(NPEffectManagerTest, ImportedGroupComesLastWithANewIdentifierAndIsSaved)
{
    storeThree();
    const auto added = manager().addGroupWithDictionary(storedGroup("A"));
    EXPECT_EQ(manager().groups().back(), added);
    EXPECT_NE(added->identifier(), "A");
    EXPECT_EQ(added->name(), "Group A");
    EXPECT_EQ(logged(savedGroups), 1);
    EXPECT_EQ(saved().size(), 4U);
}

TEST_F(NPEffectManagerTest, RemovingOneOfTwoSavesTheOther)
{
    storeGroups({storedGroup("A"), storedGroup("B")});
    const auto removed = manager().removeGroupAtIndex(0);
    EXPECT_EQ(removed->identifier(), "A");
    EXPECT_EQ(manager().groups().size(), 1U);
    EXPECT_EQ(saved().size(), 1U);
    EXPECT_EQ(savedIdentifier(0), "B");
    EXPECT_EQ(manager().groupWithIdentifier("A"), nullptr);
}

TEST_F(NPEffectManagerTest, RemovingOutsideTheListIsAnErrorOfTheCaller)
{
    storeThree();
    EXPECT_THROW(manager().removeGroupAtIndex(3), std::out_of_range);
    EXPECT_THROW(manager().duplicateGroupAtIndex(3), std::out_of_range);
    EXPECT_EQ(manager().groups().size(), 3U);
}

TEST_F(NPEffectManagerTest, EveryChangedKeyOfAnyGroupSavesOnce)
{
    storeThree();
    manager().groups()[1]->dimEffect().setLevel(-0.5F); // the flag and the level
    EXPECT_EQ(logged(savedGroups), 2);
    EXPECT_EQ(saved()[1], manager().groups()[1]->dictionary());
    manager().groups()[1]->dimEffect().setLevel(-0.5F);
    EXPECT_EQ(logged(savedGroups), 2);
    manager().groups()[2]->setName("Night");
    EXPECT_EQ(logged(savedGroups), 3);
}

TEST_F(NPEffectManagerTest, SavingKeepsUnknownKeysOfEveryGroup)
{
    QXDictionary other = storedGroup("B");
    other.insert_or_assign("SomebodyElses", QXArray{1.5, "x"});
    storeGroups({storedGroup("A"), other});
    manager().groups()[0]->setName("Night");
    EXPECT_EQ(saved()[1].dictionary()->at("SomebodyElses"), QXValue(QXArray{1.5, "x"}));
}

TEST_F(NPEffectManagerTest, HasAGroupWithAnEffectWhenAnyHas)
{
    storeThree();
    EXPECT_FALSE(manager().hasGroupWithEffectSelected());
    manager().groups()[2]->dimEffect().setSelected(true); // no level
    EXPECT_FALSE(manager().hasGroupWithEffectSelected());
    manager().groups()[2]->invertEffect().setSelected(true);
    EXPECT_TRUE(manager().hasGroupWithEffectSelected());
}

TEST_F(NPEffectManagerDeathTest, RemovingTheLastGroupStopsTheProgram)
{
    EXPECT_DEATH(manager().removeGroupAtIndex(0), "_groups.count > 1");
}

TEST_F(NPEffectManagerTest, ChangesOfTheListAreAnnouncedOnceTheyAreSaved)
{
    storeGroups({storedGroup("A")});
    std::string seen;
    QXNotificationObserver observer;
    platform.notifications.addObserver(
        observer, std::string(NPEffectManagerGroupsDidChangeNotification), nullptr,
        [&](const QXNotification& notification) {
            EXPECT_EQ(notification.object, &manager());
            seen += std::to_string(platform.defaults.arrayForKey(NPEffectGroupsKey)->size()) + ' ';
        });
    manager().addNewGroup();
    manager().duplicateGroupAtIndex(0);
    manager().addGroupWithDictionary({});
    manager().removeGroupAtIndex(1);
    EXPECT_EQ(seen, "2 3 4 3 ");
    manager().groups().front()->setName("B"); // no change of the list
    EXPECT_EQ(seen, "2 3 4 3 ");
}

} // namespace
