#include "Support/NPApplicationTest.h"

namespace {

constexpr std::uint16_t keyD = 2;
constexpr std::uint16_t keyF = 3;
constexpr std::uint64_t controlOption = NPControlFlag | NPOptionFlag;
constexpr std::uint32_t controlOptionMask = NPHotKeyControlMask | NPHotKeyOptionMask;

QXDictionary groupWithHotKey(const char* identifier, std::uint16_t keyCode, std::uint64_t flags)
{
    return {{std::string(NPEffectIdentifierKey), identifier},
            {std::string(NPEffectNameKey), std::string("Effect ") + identifier},
            {std::string(NPHotKeyCodeKey), keyCode},
            {std::string(NPHotKeyModifiersKey), flags}};
}

class NPHotKeyRegistrationTest : public NPApplicationTest {
protected:
    NPHotKeyRegistrationTest() { plug(1); }

    void pressAndRelease(std::uint16_t keyCode, std::uint32_t mask)
    {
        platform.hotKeys.press(keyCode, mask);
        platform.hotKeys.release(keyCode, mask);
    }

    // The key codes that are registered, in order.
    std::vector<std::uint16_t> registeredKeyCodes() const
    {
        std::vector<std::uint16_t> keyCodes;
        for (const NPHotKeyRequest& request : platform.hotKeys.registered()) {
            keyCodes.push_back(request.keyCode);
        }
        return keyCodes;
    }

    int stateOf(std::size_t index) const
    {
        return sharedScreenManager()->combinedStateForEffectGroup(*groupAt(index));
    }
};

using KeyCodes = std::vector<std::uint16_t>;

} // namespace

TEST_F(NPHotKeyRegistrationTest, LaunchRegistersTheHotKeyOfEveryGroupThatHasOne)
{
    storeGroups(
        {groupWithHotKey("A", keyD, controlOption), QXDictionary{}, groupWithHotKey("B", keyF, controlOption)});
    launch();
    EXPECT_EQ(registeredKeyCodes(), (KeyCodes{keyD, keyF}));
    EXPECT_EQ(platform.hotKeys.registered().at(0).modifierMask, controlOptionMask);
    EXPECT_EQ(platform.hotKeys.registered().at(0).label.name, "A");
    EXPECT_EQ(platform.hotKeys.registered().at(0).label.description, "Effect A");
}

TEST_F(NPHotKeyRegistrationTest, HotKeyTogglesItsGroupOnRelease)
{
    storeGroups({groupWithHotKey("A", keyD, controlOption)});
    launch();
    platform.hotKeys.press(keyD, controlOptionMask);
    EXPECT_EQ(stateOf(0), 0);
    platform.hotKeys.release(keyD, controlOptionMask);
    EXPECT_EQ(stateOf(0), 1);
    pressAndRelease(keyD, controlOptionMask);
    EXPECT_EQ(stateOf(0), 0);
}

TEST_F(NPHotKeyRegistrationTest, HotKeyFadesAsForChangesByHand)
{
    QXDictionary settings = groupWithHotKey("A", keyD, controlOption);
    settings.insert({{"Dim", true},
                     {"DimLevel", -0.5},
                     {std::string(NPManualTransitionDurationKey), 2.0},
                     {std::string(NPTimerTransitionDurationKey), 0.0}});
    storeGroups({settings});
    launch();
    pressAndRelease(keyD, controlOptionMask);
    EXPECT_EQ(white(1), 1.0F);
    platform.clock.advance(1.0);
    EXPECT_NEAR(white(1), 0.75F, 0.01F);
    platform.clock.advance(1.5);
    EXPECT_EQ(white(1), 0.5F);
}

TEST_F(NPHotKeyRegistrationTest, HotKeySwitchesTheGlobalSwitchOnWhenItActivates)
{
    storeGroups({groupWithHotKey("A", keyD, controlOption)});
    launch();
    controller->setEffectActive(false, true);
    pressAndRelease(keyD, controlOptionMask);
    EXPECT_TRUE(controller->effectActive());
    EXPECT_TRUE(platform.defaults.boolForKey(NPEffectActiveKey));
}

TEST_F(NPHotKeyRegistrationTest, EveryChangeOfSettingsRegistersAllAnew)
{
    storeGroups({groupWithHotKey("A", keyD, controlOption), groupWithHotKey("B", keyF, controlOption)});
    setDefault(NPEffectActiveKey, true); // or switching on would be the first change
    launch();
    platform.log.clear();
    setDefault("Anything", true);
    EXPECT_EQ(platform.log.text(), "defaults set Anything\nhotkey unregister 1\nhotkey unregister 2\n"
                                   "hotkey register 3 2 0x1800\nhotkey register 4 3 0x1800\n");
}

TEST_F(NPHotKeyRegistrationTest, ToggleThatRegistersAllAnewLeavesTheHotKeyWorking)
{
    storeGroups({groupWithHotKey("A", keyD, controlOption)});
    launch();
    const std::uint32_t before = platform.hotKeys.registered().at(0).identifier.id;
    pressAndRelease(keyD, controlOptionMask); // saves the state of the screens
    EXPECT_GT(platform.hotKeys.registered().at(0).identifier.id, before);
    pressAndRelease(keyD, controlOptionMask);
    EXPECT_EQ(stateOf(0), 0);
}

TEST_F(NPHotKeyRegistrationTest, ChangedHotKeyReplacesTheFormerOne)
{
    storeGroups({groupWithHotKey("A", keyD, controlOption)});
    launch();
    groupAt(0)->setHotKey(JXHotKey(keyF, controlOption));
    EXPECT_EQ(registeredKeyCodes(), KeyCodes{keyF});
    groupAt(0)->setHotKey(std::nullopt);
    EXPECT_EQ(registeredKeyCodes(), KeyCodes{});
}

TEST_F(NPHotKeyRegistrationTest, RemovedGroupLosesItsHotKey)
{
    storeGroups({groupWithHotKey("A", keyD, controlOption), groupWithHotKey("B", keyF, controlOption)});
    launch();
    sharedEffectManager()->removeGroupAtIndex(0);
    EXPECT_EQ(registeredKeyCodes(), KeyCodes{keyF});
}

TEST_F(NPHotKeyRegistrationTest, RefusalIsKnownOfItsGroupAlone)
{
    storeGroups({groupWithHotKey("A", keyD, controlOption), groupWithHotKey("B", keyF, controlOption)});
    platform.hotKeys.take(keyD, controlOptionMask);
    launch();
    EXPECT_EQ(controller->hotKeyRefusal(*groupAt(0)), "another program has it");
    EXPECT_EQ(controller->hotKeyRefusal(*groupAt(1)), std::nullopt);
    EXPECT_EQ(registeredKeyCodes(), KeyCodes{keyF});
}

TEST_F(NPHotKeyRegistrationTest, RefusalEndsWhenTheHotKeyCanBeHad)
{
    storeGroups({groupWithHotKey("A", keyD, controlOption)});
    platform.hotKeys.take(keyD, controlOptionMask);
    launch();
    platform.hotKeys.letGo(keyD, controlOptionMask);
    setDefault("Anything", true);
    EXPECT_EQ(controller->hotKeyRefusal(*groupAt(0)), std::nullopt);
}

TEST_F(NPHotKeyRegistrationTest, SecondGroupWithTheSameKeysIsToldWhoHasThem)
{
    storeGroups({groupWithHotKey("A", keyD, controlOption), groupWithHotKey("B", keyD, controlOption),
                 groupWithHotKey("C", keyD, controlOption | 0x108U), groupWithHotKey("D", keyF, controlOption)});
    launch();
    EXPECT_EQ(controller->hotKeyRefusal(*groupAt(0)), std::nullopt);
    EXPECT_EQ(controller->hotKeyRefusal(*groupAt(1)), "effect 'Effect A' has it");
    EXPECT_EQ(controller->hotKeyRefusal(*groupAt(2)), "effect 'Effect A' has it");
    EXPECT_EQ(controller->hotKeyRefusal(*groupAt(3)), std::nullopt);
    pressAndRelease(keyD, controlOptionMask);
    EXPECT_EQ(stateOf(0), 1);
    EXPECT_EQ(stateOf(1), 0);
}

TEST_F(NPHotKeyRegistrationTest, GroupsWithTheSameTakenKeysAreBothToldOfTheOtherProgram)
{
    storeGroups({groupWithHotKey("A", keyD, controlOption), groupWithHotKey("B", keyD, controlOption)});
    platform.hotKeys.take(keyD, controlOptionMask);
    launch();
    EXPECT_EQ(controller->hotKeyRefusal(*groupAt(1)), "another program has it");
}

TEST_F(NPHotKeyRegistrationTest, ChangeOfAvailabilityRegistersAllAnew)
{
    storeGroups({groupWithHotKey("A", keyD, controlOption)});
    platform.hotKeys.setUnavailable("not yet");
    launch();
    EXPECT_EQ(controller->hotKeyRefusal(*groupAt(0)), "not yet");
    platform.hotKeys.setUnavailable("");
    EXPECT_EQ(controller->hotKeyRefusal(*groupAt(0)), std::nullopt);
    EXPECT_EQ(registeredKeyCodes(), KeyCodes{keyD});
}

TEST_F(NPHotKeyRegistrationTest, TriggerIsTheDesktopsOwn)
{
    storeGroups({groupWithHotKey("A", keyD, controlOption), QXDictionary{}});
    platform.hotKeys.triggers["A"] = "Press Ctrl+Alt+X";
    launch();
    EXPECT_EQ(controller->hotKeyTrigger(*groupAt(0)), "Press Ctrl+Alt+X");
    EXPECT_EQ(controller->hotKeyTrigger(*groupAt(1)), std::nullopt);
}

TEST_F(NPHotKeyRegistrationTest, UseHotKeyPlaysNoPart)
{
    QXDictionary settings = groupWithHotKey("A", keyD, controlOption);
    settings.emplace(NPUseHotKeyKey, false);
    storeGroups({settings});
    launch();
    EXPECT_EQ(registeredKeyCodes(), KeyCodes{keyD});
}
