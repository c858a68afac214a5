#include "HotKey/JXHotKey.h"

#include <gtest/gtest.h>

namespace {

// Counts what reaches it.
class Receiver : public JXHotKeyTarget {
public:
    void act(const JXKeyEvent& event, const std::shared_ptr<int>& object)
    {
        ++actions;
        lastEvent = event;
        lastObject = object;
    }

    int actions = 0;
    JXKeyEvent lastEvent;
    std::shared_ptr<int> lastObject;
};

// A registration that tells when it ends.
NPHotKeyRef refThatSets(bool& ended)
{
    return std::shared_ptr<bool>(&ended, [](bool* flag) { *flag = true; });
}

} // namespace

TEST(JXHotKey, IsEqualToOneOfTheSameCodeAndFlagsOnly)
{
    EXPECT_EQ(JXHotKey(2, NPCommandFlag), JXHotKey(2, NPCommandFlag));
    EXPECT_NE(JXHotKey(2, NPCommandFlag), JXHotKey(3, NPCommandFlag));
    EXPECT_NE(JXHotKey(2, NPCommandFlag), JXHotKey(2, NPShiftFlag));
}

TEST(JXHotKey, DeviceBitsCountForIdentity)
{
    EXPECT_NE(JXHotKey(2, NPCommandFlag), JXHotKey(2, NPCommandFlag | 0x8U));
}

TEST(JXHotKey, TaskDoesNotCountForIdentity)
{
    const JXHotKey withTask = JXHotKey::hotKeyWithKeyCode(2, NPCommandFlag, [](const JXKeyEvent&) {});
    EXPECT_EQ(withTask, JXHotKey(2, NPCommandFlag));
    EXPECT_EQ(withTask.hash(), JXHotKey(2, NPCommandFlag).hash());
}

TEST(JXHotKey, HashIsFlagsXorCode)
{
    EXPECT_EQ(JXHotKey(0x1234, 0x8000000000100234U).hash(), 0x8000000000101000U);
}

TEST(JXHotKey, KeepsFlagsAsGiven)
{
    EXPECT_EQ(JXHotKey(2, 0x80000000001F0108U).modifierFlags(), 0x80000000001F0108U);
}

TEST(JXHotKey, WithoutTaskIsAPlainValue)
{
    const JXHotKey hotKey = JXHotKey::hotKeyWithKeyCode(2, NPCommandFlag, {});
    EXPECT_EQ(hotKey.keyCode(), 2);
    EXPECT_EQ(hotKey.modifierFlags(), NPCommandFlag);
    EXPECT_FALSE(hotKey.task());
    EXPECT_EQ(hotKey.target(), nullptr);
    EXPECT_FALSE(hotKey.action());
    EXPECT_FALSE(hotKey.pressedAction());
    EXPECT_EQ(hotKey.object(), nullptr);
    EXPECT_EQ(hotKey.actionString(), "");
    EXPECT_EQ(hotKey.hotKeyRef(), nullptr);
}

TEST(JXHotKey, PlainValueInvokesNothing)
{
    const JXHotKey hotKey(2, NPCommandFlag);
    hotKey.invokeWithEvent({});
    hotKey.invokePressedWithEvent({});
}

TEST(JXHotKey, TaskRunsOnReleaseOnly)
{
    int runs = 0;
    std::uint16_t keyCode = 0;
    const JXHotKey hotKey = JXHotKey::hotKeyWithKeyCode(2, 0, [&](const JXKeyEvent& event) {
        ++runs;
        keyCode = event.keyCode;
    });
    hotKey.invokePressedWithEvent({.keyCode = 2});
    EXPECT_EQ(runs, 0);
    hotKey.invokeWithEvent({.keyCode = 2});
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(keyCode, 2);
}

TEST(JXHotKey, EndOfItsLifeEndsItsRegistration)
{
    bool ended = false;
    {
        JXHotKey hotKey(2, NPCommandFlag);
        hotKey.setHotKeyRef(refThatSets(ended));
        EXPECT_FALSE(ended);
    }
    EXPECT_TRUE(ended);
}

TEST(JXHotKey, CopyHasNoRegistrationAndEndsNone)
{
    bool ended = false;
    JXHotKey hotKey(2, NPCommandFlag);
    hotKey.setHotKeyRef(refThatSets(ended));
    hotKey.setHotKeyID(7);
    {
        const JXHotKey copy = hotKey;
        EXPECT_EQ(copy, hotKey);
        EXPECT_EQ(copy.hotKeyRef(), nullptr);
        EXPECT_EQ(copy.hotKeyID(), 0U);
    }
    EXPECT_FALSE(ended);
}

TEST(JXHotKey, AssignmentEndsTheRegistrationOfTheFormerCombination)
{
    bool ended = false;
    JXHotKey hotKey(2, NPCommandFlag);
    hotKey.setHotKeyRef(refThatSets(ended));
    hotKey = JXHotKey(3, NPShiftFlag);
    EXPECT_TRUE(ended);
    EXPECT_EQ(hotKey, JXHotKey(3, NPShiftFlag));
    EXPECT_EQ(hotKey.hotKeyRef(), nullptr);
}

TEST(JXHotKey, AssignmentToItselfKeepsTheRegistration)
{
    bool ended = false;
    JXHotKey hotKey(2, NPCommandFlag);
    hotKey.setHotKeyRef(refThatSets(ended));
    const JXHotKey& same = hotKey;
    hotKey = same;
    EXPECT_FALSE(ended);
}

TEST(JXHotKey, CopyInvokesWhatTheOriginalInvokes)
{
    int runs = 0;
    const JXHotKey copy = [&] {
        const JXHotKey original = JXHotKey::hotKeyWithKeyCode(2, 0, [&](const JXKeyEvent&) { ++runs; });
        return JXHotKey(original);
    }();
    copy.invokeWithEvent({});
    EXPECT_EQ(runs, 1);
}

TEST(JXHotKeyAction, IsPerformedWithEventAndObjectByATargetOfItsClass)
{
    const JXHotKeyAction action("act", &Receiver::act);
    Receiver receiver;
    EXPECT_TRUE(action.perform(receiver, {.timestamp = 12.5, .keyCode = 2}, std::make_shared<int>(42)));
    EXPECT_EQ(receiver.actions, 1);
    EXPECT_EQ(receiver.lastEvent.keyCode, 2);
    EXPECT_EQ(receiver.lastEvent.timestamp, 12.5);
    EXPECT_EQ(*receiver.lastObject, 42);
}

TEST(JXHotKeyAction, IsNotPerformedByATargetOfAnotherClass)
{
    JXHotKeyTarget other;
    EXPECT_FALSE(JXHotKeyAction("act", &Receiver::act).perform(other, {}, {}));
}

TEST(JXKeyEvent, IsAKeyUpOfNoWindowWithoutCharacters)
{
    const JXKeyEvent event;
    EXPECT_EQ(event.type, 11);
    EXPECT_EQ(event.windowNumber, -1);
    EXPECT_EQ(event.characters, "");
    EXPECT_EQ(event.charactersIgnoringModifiers, "");
    EXPECT_FALSE(event.isARepeat);
}

TEST(JXHotKey, DescriptionNamesTheModifiersInTheirOrder)
{
    const std::string description =
        JXHotKey(122, NPOptionFlag | NPShiftFlag | NPCommandFlag | NPControlFlag | NPCapsLockFlag).description();
    EXPECT_TRUE(description.starts_with("<JXHotKey: "));
    EXPECT_TRUE(description.ends_with(
        ">\n\t(key: 122\n\tflags: (NSControlKeyMask | NSCommandKeyMask | NSShiftKeyMask | NSAlternateKeyMask)"
        "\n\tinvokes: (block))"))
        << description;
}

TEST(JXHotKey, DescriptionOfNoModifiersIsEmptyParentheses)
{
    EXPECT_TRUE(JXHotKey(2, 0).description().ends_with(">\n\t(key: 2\n\tflags: ()\n\tinvokes: (block))"));
}
