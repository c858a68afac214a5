// What an application does when it starts and when it ends, as one list each.
#include "Support/NPDesktopTest.h"
#include "Support/NPLoggingServices.h"
#include "Support/NPRecordingProfiles.h"

namespace {

class NPApplicationStartTest : public NPDesktopTest {
protected:
    NPApplicationStartTest()
    {
        scope.instance<NPProfileApplying>([this] { return std::make_shared<NPRecordingProfiles>(platform.log); });
        plug(1);
    }
    ~NPApplicationStartTest() override { endApplication(); } // before the timers that it uses

    // The lines that the start leaves in the log.
    std::string start()
    {
        NPPlatform services{platform.clock,
                            timers,
                            queue,
                            platform.timeZones,
                            platform.defaults,
                            platform.displays,
                            platform.displays,
                            platform.hotKeys,
                            platform.keyboardLayout,
                            platform.notifications,
                            platform.workspaceEvents};
        makeController(services);
        observeMenu("main menu", *menus.preferenceMenuItem->menu());
        observeMenu("main menu", *menus.activateItem->menu());
        observeMenu("dock menu", *menus.dockMenu);
        observeMenu("status menu", *menus.statusMenu);
        platform.logObservers();
        platform.log.clear();
        controller->setInterface({menus, [this] { return aboutBox; }, [this] { return preferences; }});
        controller->applicationDidFinishLaunching();
        return takeLog();
    }

    NPLoggingTimers timers{platform.log, platform.clock};
    NPLoggingQueue queue{platform.log, platform.clock};

private:
    void observeMenu(const std::string& name, NPMenu& menu)
    {
        _menuSubscriptions.push_back(menu.observe(
            {[this, name, &menu](std::size_t index, std::size_t count) {
                 for (std::size_t i = index; i < index + count; ++i) {
                     platform.log.add(name + " insert " + menu.itemAtIndex(i)->title());
                 }
             },
             [this, name](std::size_t, std::size_t count) {
                 platform.log.add(name + " remove " + std::to_string(count));
             },
             [this, name](const NPMenuItem& item) { platform.log.add(name + " title " + item.title()); }}));
    }

    std::vector<NPMenuSubscription> _menuSubscriptions;
};

// What every start begins and ends with.
const std::string untilTheDefaultsAreObserved = R"(find fluxgui
main menu insert Check for Updates…
status menu insert Check for Updates…
later
defaults register ActivateAtLaunch
defaults register ApplyToColorProfile
defaults register ContinuouslyApply
defaults register NPDeactivateForScreenSaver
defaults register ShowStatusItem
default: observe NPUserDefaultsDidChangeNotification
default: observe NPUserDefaultsDidChangeNotification
default: observe NSApplicationDidChangeScreenParametersNotification
custom on
custom on
custom apply
)";

const std::string observersOfTheEngine = R"(default: observe NPEffectGroupDidChangeNotification
default: observe NPEffectManagerGroupsDidChangeNotification
default: observe NPSunriseSunsetCalculatorLocationChanged
default: observe NPSystemTimeZoneDidChangeNotification
default: observe NPSystemClockDidChangeNotification
)";

const std::string observersOfAList = R"(default: observe NPScreenManagerEffectStateDidChange
default: observe NPEffectGroupDidChangeNotification
default: observe NPEffectManagerGroupsDidChangeNotification
)";

const std::string observersOfTheDesktop = R"(workspace: observe NSWorkspaceDidWakeNotification
workspace: observe NSWorkspaceSessionDidBecomeActiveNotification
workspace: observe NSWorkspaceDidTerminateApplicationNotification
distributed: observe NSScreenColorSpaceDidChangeNotification
observe displays
)";

// The switch is set twice: writing the saved one is a change of the settings, which sets it.
TEST_F(NPApplicationStartTest, FirstStartWithNothingSaved)
{
    const std::string switchOn = R"(defaults set EffectActive
profile 1
read 1
write 1 256 1 1 1
custom on
custom apply
main menu title Deactivate Nightpane
dock menu title Deactivate Nightpane
status menu title Deactivate Nightpane
distributed: observe com.apple.screensaver.didstart
timer every 6 within 1.5
distributed: unobserve com.apple.screensaver.didstart
distributed: observe com.apple.screensaver.didstart
)";
    const std::string modeAndCatchUp = R"(process foreground
write 1 256 1 1 1
custom on
custom apply
)";
    const std::string activation = R"(defaults set ScreenState
process foreground
distributed: unobserve com.apple.screensaver.didstart
distributed: observe com.apple.screensaver.didstart
write 1 256 1 1 1
custom 1 wait
custom 1 write
custom on
custom apply
main menu remove 1
main menu insert Default Effect
dock menu remove 1
dock menu insert Default Effect
status menu remove 1
status menu insert Default Effect
)";
    EXPECT_EQ(start(), untilTheDefaultsAreObserved + switchOn + modeAndCatchUp + observersOfTheEngine
                           + "main menu insert Default Effect\n" + observersOfAList
                           + "dock menu insert Default Effect\n" + observersOfAList
                           + "status menu insert Default Effect\n" + observersOfAList + observersOfTheDesktop
                           + activation);
}

// G has a hot key and timers, and is on; the status item is shown. Catching up records the event, which is a change of
// the settings, and so registers the hot keys before their turn.
TEST_F(NPApplicationStartTest, StartWithWhatWasSaved)
{
    storeGroups({dimming("G", -0.5F, timed("22:00", "07:00", {{"HotKeyCode", 2}, {"HotKeyModifiers", 0x100000}})),
                 dimming("H", -0.75F)});
    storeState({{"AllScreens", stateEntry("G", true, dateOf("2026-03-01T11:00:00Z"))}});
    setDefault(NPEffectActiveKey, true);
    setDefault(NPShowStatusItemKey, 1);
    const std::string switchOn = R"(profile 1
read 1
defaults set ScreenState
hotkey register 1 2 0x100
main menu title Deactivate Nightpane
dock menu title Deactivate Nightpane
status menu title Deactivate Nightpane
distributed: observe com.apple.screensaver.didstart
timer every 6 within 1.5
write 1 256 1 1 1
custom off
distributed: unobserve com.apple.screensaver.didstart
distributed: observe com.apple.screensaver.didstart
)";
    const std::string hotKeysStatusItemAndTimers = R"(hotkey unregister 1
hotkey register 2 2 0x100
process ui-element
status item 32
status item menu
status item highlight 1
status item image NPStatusActiveTemplate
write 1 256 1 1 1
timer at 2026-03-01T22:00:00Z
timer at 2026-03-02T07:00:00Z
)";
    const auto list = [](const std::string& menu) {
        return menu + " insert G\n" + menu + " insert H\n" + observersOfAList;
    };
    EXPECT_EQ(start(), untilTheDefaultsAreObserved + switchOn + hotKeysStatusItemAndTimers + observersOfTheEngine
                           + list("main menu") + list("dock menu") + list("status menu") + observersOfTheDesktop);
}

// Hot keys, status item, the saved switch, which is the master, and then the custom profiles.
TEST_F(NPApplicationStartTest, ChangeOfSettingsWhileTheScreensWereOff)
{
    storeGroups({dimming("G", -0.5F, {{"HotKeyCode", 2}, {"HotKeyModifiers", 0x100000}})});
    setDefault(NPEffectActiveKey, true);
    start();
    manager().setScreenManagementEnabled(false);
    takeLog();
    setDefault(NPApplyToColorProfileKey, false);
    EXPECT_EQ(takeLog(), R"(defaults set ApplyToColorProfile
hotkey unregister 1
hotkey register 2 2 0x100
process foreground
profile 1
read 1
write 1 256 1 1 1
custom on
custom apply
main menu remove 1
main menu insert G
dock menu remove 1
dock menu insert G
status menu remove 1
status menu insert G
distributed: unobserve com.apple.screensaver.didstart
distributed: observe com.apple.screensaver.didstart
custom begin
custom 1 set none
custom 1 remove
custom end
custom off
write 1 256 1 1 1
custom off
)");
}

// Switched by the screen saver, which saves nothing, so that the saved switch changes nothing besides.
TEST_F(NPApplicationStartTest, SwitchingOffAndOn)
{
    storeGroups({dimming("G", -0.5F)});
    setDefault(NPEffectActiveKey, true);
    setDefault(NPShowStatusItemKey, 1);
    setDefault(NPDeactivateForScreenSaverKey, true);
    start();
    platform.workspaceEvents.distributed.postNotification(NPScreenSaverDidStartNotification, nullptr);
    EXPECT_EQ(takeLog(), R"(custom begin
write 1 256 1 1 1
custom 1 set none
custom 1 remove
custom end
custom on
main menu title Activate Nightpane
dock menu title Activate Nightpane
status menu title Activate Nightpane
distributed: unobserve everything
status item image NPStatusTemplate
distributed: observe com.apple.screensaver.didstop
)");
    platform.workspaceEvents.distributed.postNotification(NPScreenSaverDidStopNotification, nullptr);
    EXPECT_EQ(takeLog(), R"(profile 1
read 1
write 1 256 1 1 1
custom on
custom apply
main menu remove 1
main menu insert G
dock menu remove 1
dock menu insert G
status menu remove 1
status menu insert G
main menu title Deactivate Nightpane
dock menu title Deactivate Nightpane
status menu title Deactivate Nightpane
distributed: observe com.apple.screensaver.didstart
timer every 6 within 1.5
status item image NPStatusActiveTemplate
)");
}

TEST_F(NPApplicationStartTest, LastStepWaitsForTheLoopAndEndGivesEverythingBack)
{
    storeGroups({QXDictionary{{"NPEffectName", "Nothing"}}});
    start();
    EXPECT_EQ(takeLog(), "");
    serveMainQueue();
    EXPECT_EQ(takeLog(), "alert No effect has been chosen.\n"
                         "default: observe NPUserDefaultsDidChangeNotification\n");
    controller->applicationWillTerminate();
    EXPECT_EQ(takeLog(), R"(custom begin
write 1 256 1 1 1
custom 1 set none
custom 1 remove
custom end
custom on
custom remove folder
custom wait for all
)");
    EXPECT_TRUE(platform.defaults.boolForKey(NPEffectActiveKey));
}

TEST_F(NPApplicationStartTest, EndWhileTheScreensAreOff)
{
    storeGroups({dimming("G", -0.5F)});
    setDefault(NPActivateAtLaunchKey, false);
    start();
    controller->applicationWillTerminate();
    EXPECT_EQ(takeLog(), "custom remove folder\ncustom wait for all\n");
    EXPECT_FALSE(platform.defaults.objectForKey(NPEffectActiveKey)); // as it was
}

} // namespace
