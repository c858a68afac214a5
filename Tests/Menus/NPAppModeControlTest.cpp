#include "Menus/NPAppModeControl.h"

#include "Support/NPDesktopTest.h"

namespace {

class NPAppModeControlTest : public NPDesktopTest {
protected:
    std::shared_ptr<NPSimulatedWindow> makeWindow()
    {
        return std::make_shared<NPSimulatedWindow>(platform.log, platform.notifications, "Window");
    }
    static std::size_t windowCount() { return _NPAppModeObserver::sharedObserver()->foregroundWindowCount(); }
};

TEST_F(NPAppModeControlTest, StatusAreaIsEnteredAtOnceWithoutWindows)
{
    NPAppModeSetDefaultUIElement();
    EXPECT_EQ(takeLog(), "process ui-element\n");
}

TEST_F(NPAppModeControlTest, RegularModeIsEnteredAtOnce)
{
    NPAppModeSetDefaultUIElement();
    platform.log.clear();
    NPAppModeSetDefaultForeground();
    EXPECT_EQ(takeLog(), "process foreground\n");
}

TEST_F(NPAppModeControlTest, ShownWindowMakesTheApplicationRegularAndBringsItToTheFront)
{
    NPAppModeSetDefaultUIElement();
    platform.log.clear();
    NPAppModeShowWindow(makeWindow());
    EXPECT_EQ(takeLog(), "process foreground\nactivate ignoring others\n");
}

TEST_F(NPAppModeControlTest, KnownWindowOnlyBringsTheApplicationToTheFront)
{
    const auto window = makeWindow();
    NPAppModeShowWindow(window);
    platform.log.clear();
    NPAppModeShowWindow(window);
    EXPECT_EQ(takeLog(), "activate ignoring others\n");
    EXPECT_EQ(windowCount(), 1U);
}

TEST_F(NPAppModeControlTest, LastClosedWindowLeadsBackToTheStatusArea)
{
    NPAppModeSetDefaultUIElement();
    const auto first = makeWindow();
    const auto second = makeWindow();
    NPAppModeShowWindow(first);
    NPAppModeShowWindow(second);
    platform.log.clear();
    first->close();
    EXPECT_EQ(takeLog(), "");
    second->close();
    EXPECT_EQ(takeLog(), "process ui-element\n");
    EXPECT_EQ(windowCount(), 0U);
}

TEST_F(NPAppModeControlTest, ClosingTheLastWindowOfARegularApplicationChangesNothing)
{
    const auto window = makeWindow();
    NPAppModeShowWindow(window);
    platform.log.clear();
    window->close();
    EXPECT_EQ(takeLog(), "");
    EXPECT_EQ(windowCount(), 0U);
}

TEST_F(NPAppModeControlTest, StatusAreaWaitsForTheOpenWindowToClose)
{
    const auto window = makeWindow();
    NPAppModeShowWindow(window);
    platform.log.clear();
    NPAppModeSetDefaultUIElement();
    EXPECT_EQ(takeLog(), "");
    window->close();
    EXPECT_EQ(takeLog(), "process ui-element\n");
}

TEST_F(NPAppModeControlTest, RegularModeThatIsSetWhileAWindowIsOpenStaysAfterIt)
{
    NPAppModeSetDefaultUIElement();
    const auto window = makeWindow();
    NPAppModeShowWindow(window);
    NPAppModeSetDefaultForeground();
    platform.log.clear();
    window->close();
    EXPECT_EQ(takeLog(), "");
}

TEST_F(NPAppModeControlTest, ClosedWindowCanBeShownAgain)
{
    NPAppModeSetDefaultUIElement();
    const auto window = makeWindow();
    NPAppModeShowWindow(window);
    window->close();
    platform.log.clear();
    NPAppModeShowWindow(window);
    window->close();
    EXPECT_EQ(takeLog(), "process foreground\nactivate ignoring others\nprocess ui-element\n");
}

TEST_F(NPAppModeControlTest, WindowsThatWereNotShownByItPlayNoPart)
{
    NPAppModeSetDefaultUIElement();
    const auto shown = makeWindow();
    NPAppModeShowWindow(shown);
    platform.log.clear();
    makeWindow()->close();
    EXPECT_EQ(takeLog(), "");
}

TEST_F(NPAppModeControlTest, SwitchingToTheStatusAreaUnaskedStopsTheProgram)
{
    EXPECT_DEATH(_NPAppModeSetUIElementImpl(), "_NPAppModeDefaultIsUIElement");
    const auto window = makeWindow();
    NPAppModeShowWindow(window);
    NPAppModeSetDefaultUIElement();
    EXPECT_DEATH(_NPAppModeSetUIElementImpl(),
                 "\\[_NPAppModeObserver sharedObserver\\].foregroundWindowCount == 0");
}

} // namespace
