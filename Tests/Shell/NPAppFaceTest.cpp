// The application beside its engine: titles, status item, windows, the warning, and the commands.
#include "Shell/QXAboutBoxText.h"
#include "Support/NPDesktopTest.h"

namespace {

class NPAppFaceTest : public NPDesktopTest {
protected:
    NPAppFaceTest()
    {
        plug(1);
        stopContinuousApplying();
    }
    // Starts with group G, which dims to a half, at rest and with an empty log.
    void launchWithEffect(const QXDictionary& settings = {})
    {
        storeGroups({dimming("G", -0.5F, settings)});
        launchApplication();
        serveMainQueue();
        platform.log.clear();
    }
    void launchWithoutEffect()
    {
        storeGroups({QXDictionary{{"NPEffectName", "Nothing"}}});
        launchApplication();
    }
    std::string titles() const
    {
        return menus.activateItem->title() + ", " + menus.dockActivateItem->title() + ", "
               + menus.statusActivateItem->title();
    }
};

const std::string warning = "No effect has been chosen.";

TEST_F(NPAppFaceTest, TitlesSayWhatTheActivateItemsDo)
{
    launchWithEffect();
    EXPECT_EQ(titles(), "Deactivate Nightpane, Deactivate Nightpane, Deactivate Nightpane");
    menus.activateItem->choose();
    EXPECT_FALSE(controller->effectActive());
    EXPECT_FALSE(platform.defaults.boolForKey(NPEffectActiveKey));
    EXPECT_EQ(titles(), "Activate Nightpane, Activate Nightpane, Activate Nightpane");
    menus.statusActivateItem->choose();
    EXPECT_TRUE(controller->effectActive());
    EXPECT_EQ(titles(), "Deactivate Nightpane, Deactivate Nightpane, Deactivate Nightpane");
}

TEST_F(NPAppFaceTest, MenusHaveTheirCommandsInTheirPlaces)
{
    launchWithEffect();
    EXPECT_EQ(linesOf(*menus.preferenceMenuItem->menu()),
              "About Nightpane\n-\nPreferences…\nCheck for Updates…\n-\nQuit Nightpane\n");
    EXPECT_EQ(linesOf(*menus.activateItem->menu()), "Deactivate Nightpane\n-\nG\n");
    for (const NPMenu* const menu :
         {menus.activateItem->menu().get(), menus.dockMenu.get(), menus.statusMenu.get()}) {
        EXPECT_EQ(menu->itemAtIndex(2)->indentationLevel(), 0);
    }
    EXPECT_EQ(linesOf(*menus.mainMenu), "Nightpane\nEffects\nHelp\n");
    EXPECT_EQ(linesOf(*menus.mainMenu->itemAtIndex(2)->submenu()),
              "What’s New in Nightpane\nFrequently Asked Questions\nContact Support\n");
    EXPECT_EQ(linesOf(*menus.dockMenu), "Deactivate Nightpane\n-\nG\n");
    EXPECT_EQ(linesOf(*menus.statusMenu), "Deactivate Nightpane\n-\nG\n-\nPreferences…\nCheck for Updates…\n-\n"
                                          "Help\nAbout Nightpane\nQuit Nightpane\n");
}

TEST_F(NPAppFaceTest, CommandsThatLeadNowhereAreHidden)
{
    desktop.bundle.info.erase(std::string(NPFAQURLKey));
    makeController(platform.services());
    controller->setInterface({menus, [this] { return aboutBox; }, {}});
    EXPECT_TRUE(menus.preferenceMenuItem->isHidden());
    EXPECT_TRUE(menus.preferenceStatusMenuItem->isHidden());
    EXPECT_EQ(linesOf(*menus.mainMenu->itemAtIndex(2)->submenu()),
              "What’s New in Nightpane\nFrequently Asked Questions (hidden)\nContact Support\n");
    controller->openPreferences();
    EXPECT_EQ(takeLog().find("show"), std::string::npos);
}

TEST_F(NPAppFaceTest, HelpLeadsToThePagesAndTheAddressOfTheBundle)
{
    launchWithEffect();
    NPMenu& help = *menus.mainMenu->itemAtIndex(2)->submenu();
    for (const auto& item : help.items()) {
        item->choose();
    }
    EXPECT_EQ(takeLog(), "open https://www.example.org/new\nopen https://www.example.org/faq\n"
                         "open mailto:support@example.org\n");
}

TEST_F(NPAppFaceTest, TranslationsCanLeadToOtherPagesButNotToOtherPeople)
{
    launchWithEffect();
    QXSetStringTables([](std::string_view key, std::string_view) { return std::string(key) + "/de"; });
    controller->visitWhatsNew();
    controller->visitFAQ();
    controller->contactSupport();
    QXSetStringTables({});
    EXPECT_EQ(takeLog(), "open https://www.example.org/new/de\nopen https://www.example.org/faq/de\n"
                         "open mailto:support@example.org\n");
}

TEST_F(NPAppFaceTest, QuitEndsTheProgram)
{
    launchWithEffect();
    menus.statusMenu->items().back()->choose();
    EXPECT_EQ(takeLog(), "terminate\n");
}

TEST_F(NPAppFaceTest, AboutBoxHasItsColourBeforeAnythingIsShown)
{
    QXAboutBoxSetBackgroundTint({});
    desktop.workspace.installed["fluxgui"] = "/opt/f.lux";
    desktop.alerts.answers = {NPAlertSecondButtonReturn};
    launchApplication();
    EXPECT_EQ(QXAboutBoxBackgroundTint(), (QXColor{0.81, 0.81, 0.84, 1.0}));
}

TEST_F(NPAppFaceTest, QuittingAtTheWarningAboutFluxStartsNothing)
{
    storeGroups({dimming("G", -0.5F)});
    desktop.workspace.installed["fluxgui"] = "/opt/f.lux";
    desktop.alerts.answers = {NPAlertSecondButtonReturn};
    platform.log.clear();
    launchApplication();
    serveMainQueue();
    EXPECT_EQ(takeLog(), "find fluxgui\nalert f.lux is present on this computer.\nterminate\n");
    EXPECT_EQ(controller->currentEffect(), nullptr);
}

TEST_F(NPAppFaceTest, AboutBoxIsMadeOnceAndComesToTheFront)
{
    launchWithEffect();
    controller->openAboutBox();
    controller->openAboutBox();
    EXPECT_EQ(takeLog(), "About load\nAbout show\nprocess foreground\nactivate ignoring others\n"
                         "About show\nactivate ignoring others\n");
}

TEST_F(NPAppFaceTest, PreferencesAreMadeOnceAndComeToTheFront)
{
    launchWithEffect();
    menus.preferenceMenuItem->choose();
    menus.preferenceStatusMenuItem->choose();
    EXPECT_EQ(takeLog(), "Preferences load\nPreferences show\nprocess foreground\nactivate ignoring others\n"
                         "Preferences show\nactivate ignoring others\n");
}

TEST_F(NPAppFaceTest, StatusItemIsShownForTheValueOneAlone)
{
    launchWithEffect();
    EXPECT_FALSE(desktop.statusBar.hasItem);
    setDefault(NPShowStatusItemKey, 1);
    EXPECT_TRUE(desktop.statusBar.hasItem);
    EXPECT_EQ(desktop.statusBar.menu, menus.statusMenu);
    EXPECT_EQ(desktop.processMode.type, NPProcessType::uiElement);
    for (const int other : {2, 0, -1}) {
        setDefault(NPShowStatusItemKey, 1);
        EXPECT_TRUE(desktop.statusBar.hasItem);
        setDefault(NPShowStatusItemKey, other);
        EXPECT_FALSE(desktop.statusBar.hasItem);
        EXPECT_EQ(desktop.processMode.type, NPProcessType::foregroundApplication);
    }
}

TEST_F(NPAppFaceTest, LaunchWithTwoShowsNoStatusItemAndIsRegular)
{
    setDefault(NPShowStatusItemKey, 2);
    launchWithEffect();
    EXPECT_FALSE(desktop.statusBar.hasItem);
    EXPECT_EQ(desktop.processMode.type, NPProcessType::foregroundApplication);
}

TEST_F(NPAppFaceTest, StatusItemThatIsShownIsKept)
{
    setDefault(NPShowStatusItemKey, 1);
    launchWithEffect();
    setDefault("SomebodyElses", 1);
    EXPECT_EQ(takeLog(), "defaults set SomebodyElses\nstatus item image NPStatusActiveTemplate\n");
}

TEST_F(NPAppFaceTest, StatusItemsImageFollowsTheSwitch)
{
    setDefault(NPShowStatusItemKey, 1);
    launchWithEffect();
    EXPECT_EQ(desktop.statusBar.image, "NPStatusActiveTemplate");
    controller->toggleGlobalEffect();
    EXPECT_EQ(desktop.statusBar.image, "NPStatusTemplate");
    setDefault(NPShowStatusItemKey, 0);
    setDefault(NPShowStatusItemKey, 1);
    EXPECT_EQ(desktop.statusBar.image, "NPStatusTemplate");
}

TEST_F(NPAppFaceTest, DesktopThatIsTooOldShowsNoStatusItemAndKeepsItsMode)
{
    desktop.statusBar.version = 1137.9;
    setDefault(NPShowStatusItemKey, 1);
    launchWithEffect();
    EXPECT_FALSE(desktop.statusBar.hasItem);
    setDefault(NPShowStatusItemKey, 0);
    EXPECT_EQ(takeLog(), "defaults set ShowStatusItem\n"); // no mode is set either
}

TEST_F(NPAppFaceTest, PreferencesWindowCannotBeHiddenWhileTheStatusItemIsShown)
{
    launchWithEffect();
    controller->openPreferences();
    platform.log.clear();
    setDefault(NPShowStatusItemKey, 1);
    EXPECT_EQ(takeLog(), "defaults set ShowStatusItem\nPreferences can hide 0\nstatus item 32\nstatus item menu\n"
                         "status item highlight 1\nstatus item image NPStatusActiveTemplate\n"
                         "status item image NPStatusActiveTemplate\n");
    setDefault(NPShowStatusItemKey, 0);
    EXPECT_EQ(takeLog(), "defaults set ShowStatusItem\nPreferences can hide 1\nstatus item removed\n"
                         "process foreground\n");
}

TEST_F(NPAppFaceTest, PreferencesWindowIsLeftAloneWhileThereIsNoStatusItem)
{
    launchWithEffect();
    controller->openPreferences();
    platform.log.clear();
    setDefault("SomebodyElses", 1);
    EXPECT_EQ(takeLog(), "defaults set SomebodyElses\nprocess foreground\n");
}

TEST_F(NPAppFaceTest, ClosedPreferencesWindowCannotBeHiddenBeforeTheStatusAreaIsEntered)
{
    launchWithEffect();
    controller->openPreferences();
    preferences->simulatedWindow()->close();
    platform.log.clear();
    setDefault(NPShowStatusItemKey, 1);
    EXPECT_TRUE(takeLog().starts_with(
        "defaults set ShowStatusItem\nPreferences can hide 0\nprocess ui-element\nstatus item 32\n"));
}

TEST_F(NPAppFaceTest, StatusItemThatComesWithAWindowOpenKeepsTheApplicationRegularUntilItCloses)
{
    launchWithEffect();
    controller->openPreferences();
    setDefault(NPShowStatusItemKey, 1);
    EXPECT_EQ(desktop.processMode.type, NPProcessType::foregroundApplication);
    preferences->simulatedWindow()->close();
    EXPECT_EQ(desktop.processMode.type, NPProcessType::uiElement);
}

TEST_F(NPAppFaceTest, WarnsWhenNoEffectIsSelectedOnceTheLaunchIsOver)
{
    launchWithoutEffect();
    EXPECT_TRUE(desktop.alerts.shown.empty());
    serveMainQueue();
    ASSERT_EQ(desktop.alerts.shown.size(), 1U);
    const NPAlert& alert = desktop.alerts.shown[0];
    EXPECT_EQ(alert.messageText, warning);
    EXPECT_EQ(alert.informativeText,
              "You should check at least one box in the preference panel relating to the screen effect, or "
              "Nightpane will have no visible effect on your screen.");
    EXPECT_EQ(alert.buttons, (std::vector<std::string>{"Open preferences...", "Cancel"}));
    EXPECT_FALSE(preferences->isWindowLoaded());
}

TEST_F(NPAppFaceTest, FirstButtonOfTheWarningOpensThePreferences)
{
    launchWithoutEffect();
    desktop.alerts.answers = {NPAlertFirstButtonReturn};
    serveMainQueue();
    EXPECT_TRUE(preferences->isWindowLoaded());
}

TEST_F(NPAppFaceTest, NoWarningWithAnEffectSelectedOrThePreferencesOpen)
{
    launchWithEffect();
    EXPECT_TRUE(desktop.alerts.shown.empty());
}

TEST_F(NPAppFaceTest, NoWarningOncePreferencesAreOpen)
{
    launchWithoutEffect();
    controller->openPreferences();
    serveMainQueue();
    EXPECT_TRUE(desktop.alerts.shown.empty());
}

TEST_F(NPAppFaceTest, EffectsAreLookedAtOnceALaunch)
{
    launchWithEffect();
    NPAppFace warned({menus, {}, {}});
    NPAppFace content({menus, {}, {}});
    content.warnIfNoEffects(*sharedEffectManager());
    sharedEffectManager()->addGroupWithDictionary({});
    sharedEffectManager()->removeGroupAtIndex(0);
    ASSERT_FALSE(sharedEffectManager()->hasGroupWithEffectSelected());
    content.warnIfNoEffects(*sharedEffectManager());
    EXPECT_TRUE(desktop.alerts.shown.empty());
    warned.warnIfNoEffects(*sharedEffectManager());
    warned.warnIfNoEffects(*sharedEffectManager());
    EXPECT_EQ(desktop.alerts.shown.size(), 1U);
}

TEST_F(NPAppFaceTest, NoWarningWithoutACurrentEffect)
{
    launchWithoutEffect();
    controller->setCurrentEffect(nullptr);
    serveMainQueue();
    EXPECT_TRUE(desktop.alerts.shown.empty());
}

TEST_F(NPAppFaceTest, UpdaterThatCannotStartSaysWhyAndNothingElseSuffers)
{
    desktop.bundle.info.insert_or_assign("SUFeedURL", "file:///feed");
    launchWithEffect();
    ASSERT_EQ(desktop.alerts.shown.size(), 1U);
    EXPECT_EQ(desktop.alerts.shown[0].messageText, "The update feed’s address is not valid: file:///feed");
    EXPECT_TRUE(controller->effectActive());
}

TEST_F(NPAppFaceTest, CheckForUpdatesIsTheUpdateManagersWhateverItsMenu)
{
    launchWithEffect();
    controller->checkForUpdates();
    EXPECT_TRUE(takeLog().starts_with("update checking\n"));
}

TEST_F(NPAppFaceTest, EngineAloneHasNoMenusAndNoCommands)
{
    storeGroups({QXDictionary{}});
    launch();
    controller->openPreferences();
    controller->openAboutBox();
    controller->visitWhatsNew();
    controller->contactSupport();
    controller->checkForUpdates();
    controller->terminate();
    setDefault(NPShowStatusItemKey, 1);
    serveMainQueue();
    EXPECT_TRUE(desktop.alerts.shown.empty());
    EXPECT_FALSE(desktop.statusBar.hasItem);
    EXPECT_FALSE(desktop.workspace.isTerminating());
    EXPECT_EQ(takeLog().find("open "), std::string::npos);
}

} // namespace
