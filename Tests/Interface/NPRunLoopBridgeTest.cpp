#include "Interface/NPRunLoopBridge.h"

#include "Platform/Linux/NPMainLoopLinux.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDialog>
#include <QEventLoop>
#include <QTimer>

#include <thread>

namespace {

constexpr int patience = 20'000; // milliseconds

class NPRunLoopBridgeTest : public testing::Test {
protected:
    // Waits in Qt's loop until quit(); false when that does not come.
    bool wait()
    {
        QTimer::singleShot(patience, &events, [this] { events.exit(1); });
        return events.exec() == 0;
    }

    NPMainLoopLinux loop;
    QEventLoop events;
    NPRunLoopBridge bridge{loop.fileDescriptor(), [this] { loop.processEvents(); },
                           [this] { loop.prepareToWait(); }};
};

} // namespace

TEST_F(NPRunLoopBridgeTest, FiresTimersThatQtsHandlersArm)
{
    std::shared_ptr<NPTimerSource> timer;
    QTimer::singleShot(0, &events, [&] {
        timer = loop.makeMonotonicTimer(1'000'000, 1'000'000'000, 0);
        timer->setEventHandler([&] { events.quit(); });
        timer->resume();
    });
    EXPECT_TRUE(wait());
}

TEST_F(NPRunLoopBridgeTest, DoesWorkThatQtsHandlersQueue)
{
    QTimer::singleShot(0, &events, [&] { loop.performOnMain([&] { events.quit(); }); });
    EXPECT_TRUE(wait());
}

TEST_F(NPRunLoopBridgeTest, DoesWorkThatOtherThreadsQueue)
{
    std::thread other([&] { loop.performOnMain([&] { events.quit(); }); });
    EXPECT_TRUE(wait());
    other.join();
}

TEST_F(NPRunLoopBridgeTest, GoesOnWhileAHandlerShowsADialog)
{
    bool servedInside = false;
    loop.performOnMain([&] {
        QDialog dialog;
        loop.performOnMain([&] {
            servedInside = true;
            dialog.accept();
        });
        dialog.exec();
        events.quit();
    });
    EXPECT_TRUE(wait());
    EXPECT_TRUE(servedInside);
}

TEST_F(NPRunLoopBridgeTest, GoesOnAfterADialog)
{
    loop.performOnMain([&] {
        QDialog dialog;
        QTimer::singleShot(0, &dialog, &QDialog::accept);
        dialog.exec();
        QTimer::singleShot(0, &events, [&] { loop.performOnMain([&] { events.quit(); }); });
    });
    EXPECT_TRUE(wait());
}

TEST_F(NPRunLoopBridgeTest, SleepsWhenThereIsNothingToDo)
{
    int prepared = 0;
    const NPWatch counter = loop.watchBeforeWaiting([&] { ++prepared; });
    QTimer::singleShot(200, &events, &QEventLoop::quit);
    EXPECT_TRUE(wait());
    EXPECT_LT(prepared, 50);
}
