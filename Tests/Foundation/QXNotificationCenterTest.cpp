#include "Foundation/QXNotificationCenter.h"

#include <gtest/gtest.h>

namespace {

class QXNotificationCenterTest : public testing::Test {
protected:
    // A handler that writes its letter to `calls`.
    QXNotificationHandler letter(char letter)
    {
        return [this, letter](const QXNotification&) { calls += letter; };
    }

    QXNotificationCenter center;
    QXNotificationObserver observer;
    QXNotificationObserver other;
    std::string calls;
    const int sender = 0;
    const int otherSender = 0;
};

TEST_F(QXNotificationCenterTest, CallsHandlersOfTheNameInTheOrderOfAdding)
{
    center.addObserver(observer, "A", nullptr, letter('1'));
    center.addObserver(other, "A", nullptr, letter('2'));
    center.addObserver(observer, "B", nullptr, letter('x'));
    center.addObserver(observer, "A", nullptr, letter('3'));
    center.postNotification("A", nullptr);
    EXPECT_EQ(calls, "123");
}

TEST_F(QXNotificationCenterTest, HandsOverTheNameAndTheSender)
{
    center.addObserver(observer, "A", nullptr, [&](const QXNotification& notification) {
        EXPECT_EQ(notification.name, "A");
        EXPECT_EQ(notification.object, &sender);
        calls += 'a';
    });
    center.postNotification("A", &sender);
    EXPECT_EQ(calls, "a");
}

TEST_F(QXNotificationCenterTest, AHandlerForASenderHearsThatSenderAlone)
{
    center.addObserver(observer, "A", &sender, letter('s'));
    center.addObserver(observer, "A", nullptr, letter('a'));
    center.postNotification("A", &sender);
    center.postNotification("A", &otherSender);
    center.postNotification("A", nullptr);
    EXPECT_EQ(calls, "saaa");
}

TEST_F(QXNotificationCenterTest, TheSameObserverAddedTwiceIsCalledTwice)
{
    center.addObserver(observer, "A", nullptr, letter('1'));
    center.addObserver(observer, "A", nullptr, letter('1'));
    center.postNotification("A", nullptr);
    EXPECT_EQ(calls, "11");
}

TEST_F(QXNotificationCenterTest, RemovingAnObserverEndsAllItsSubscriptions)
{
    center.addObserver(observer, "A", nullptr, letter('1'));
    center.addObserver(observer, "B", &sender, letter('1'));
    center.addObserver(other, "A", nullptr, letter('2'));
    center.removeObserver(observer);
    center.postNotification("A", nullptr);
    center.postNotification("B", &sender);
    EXPECT_EQ(calls, "2");
}

TEST_F(QXNotificationCenterTest, RemovingByNameAndSenderEndsExactlyThose)
{
    center.addObserver(observer, "A", &sender, letter('1'));
    center.addObserver(observer, "A", &otherSender, letter('2'));
    center.addObserver(observer, "A", nullptr, letter('3'));
    center.addObserver(observer, "B", &sender, letter('4'));
    center.addObserver(other, "A", &sender, letter('5'));
    center.removeObserver(observer, "A", &sender);
    center.postNotification("A", &sender);
    EXPECT_EQ(calls, "35");
    center.postNotification("B", &sender);
    EXPECT_EQ(calls, "354");
}

TEST_F(QXNotificationCenterTest, RemovingByNameAndAnySenderEndsThoseForSendersToo)
{
    center.addObserver(observer, "A", &sender, letter('1'));
    center.addObserver(observer, "A", nullptr, letter('2'));
    center.addObserver(observer, "B", nullptr, letter('3'));
    center.removeObserver(observer, "A", nullptr);
    center.postNotification("A", &sender);
    center.postNotification("B", nullptr);
    EXPECT_EQ(calls, "3");
}

TEST_F(QXNotificationCenterTest, RemovingWhatWasNeverAddedDoesNothing)
{
    center.addObserver(observer, "A", nullptr, letter('1'));
    center.removeObserver(other);
    center.removeObserver(observer, "B", nullptr);
    center.postNotification("A", nullptr);
    EXPECT_EQ(calls, "1");
}

TEST_F(QXNotificationCenterTest, ADestroyedObserverHearsNoCentreAnyMore)
{
    QXNotificationCenter second;
    {
        QXNotificationObserver shortLived;
        center.addObserver(shortLived, "A", nullptr, letter('x'));
        second.addObserver(shortLived, "A", nullptr, letter('x'));
    }
    center.postNotification("A", nullptr);
    second.postNotification("A", nullptr);
    EXPECT_EQ(calls, "");
}

TEST_F(QXNotificationCenterTest, AnObserverMayOutliveACentre)
{
    {
        QXNotificationCenter shortLived;
        shortLived.addObserver(observer, "A", nullptr, letter('x'));
    }
    center.addObserver(observer, "A", nullptr, letter('1'));
    center.postNotification("A", nullptr);
    EXPECT_EQ(calls, "1");
}

TEST_F(QXNotificationCenterTest, AHandlerAddedDuringAPostIsNotCalledByIt)
{
    center.addObserver(observer, "A", nullptr, [&](const QXNotification&) {
        calls += '1';
        if (calls.size() == 1) {
            center.addObserver(other, "A", nullptr, letter('2'));
        }
    });
    center.postNotification("A", nullptr);
    EXPECT_EQ(calls, "1");
    center.postNotification("A", nullptr);
    EXPECT_EQ(calls, "112");
}

TEST_F(QXNotificationCenterTest, AHandlerRemovedDuringAPostIsNotCalledAnyMore)
{
    center.addObserver(observer, "A", nullptr, [&](const QXNotification&) { center.removeObserver(other); });
    center.addObserver(other, "A", nullptr, letter('x'));
    center.addObserver(observer, "A", nullptr, letter('2'));
    center.postNotification("A", nullptr);
    EXPECT_EQ(calls, "2");
}

TEST_F(QXNotificationCenterTest, AnObserverDestroyedDuringAPostIsNotCalledAnyMore)
{
    auto victim = std::make_unique<QXNotificationObserver>();
    center.addObserver(observer, "A", nullptr, [&](const QXNotification&) { victim.reset(); });
    center.addObserver(*victim, "A", nullptr, letter('x'));
    center.postNotification("A", nullptr);
    EXPECT_EQ(calls, "");
}

TEST_F(QXNotificationCenterTest, AHandlerThatRemovesItselfIsKeptUntilItReturns)
{
    const auto data = std::make_shared<std::string>("held while it runs");
    center.addObserver(observer, "A", nullptr, [this, data](const QXNotification&) {
        center.removeObserver(observer);
        calls += *data;
    });
    center.postNotification("A", nullptr);
    center.postNotification("A", nullptr);
    EXPECT_EQ(calls, "held while it runs");
    EXPECT_EQ(data.use_count(), 1);
}

TEST_F(QXNotificationCenterTest, AHandlerMayPostAgain)
{
    center.addObserver(observer, "A", nullptr, [&](const QXNotification&) {
        calls += '(';
        if (calls.size() < 3) {
            center.postNotification("A", nullptr);
        }
        calls += ')';
    });
    center.addObserver(other, "A", nullptr, letter('b'));
    center.postNotification("A", nullptr);
    EXPECT_EQ(calls, "((()b)b)b");
}

TEST_F(QXNotificationCenterTest, AHandlerAddedDuringAPostIsCalledByAnInnerPost)
{
    center.addObserver(observer, "A", nullptr, [&](const QXNotification&) {
        if (calls.empty()) {
            calls += '1';
            center.addObserver(other, "A", nullptr, letter('2'));
            center.postNotification("A", nullptr);
        }
    });
    center.postNotification("A", nullptr);
    EXPECT_EQ(calls, "12");
}

TEST_F(QXNotificationCenterTest, RemovingAHandlerThatHoldsAnotherObserverRemovesThatToo)
{
    auto held = std::make_shared<QXNotificationObserver>();
    center.addObserver(*held, "A", nullptr, letter('h'));
    center.addObserver(other, "A", nullptr, letter('o'));
    center.addObserver(observer, "A", nullptr, [held](const QXNotification&) {});
    center.addObserver(observer, "A", nullptr, letter('x'));
    held.reset();
    center.removeObserver(observer);
    center.postNotification("A", nullptr);
    EXPECT_EQ(calls, "o");
}

} // namespace
