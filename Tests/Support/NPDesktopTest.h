// An application on a simulated desktop.
#pragma once

#include "Platform/Simulated/NPSimulatedDesktop.h"
#include "Support/NPApplicationTest.h"

class NPDesktopTest : public NPApplicationTest {
protected:
    explicit NPDesktopTest(QXDate start = dateOf("2026-03-01T12:00:00Z")) : NPApplicationTest(start)
    {
        NPInstallDesktop(desktop.services());
    }
    ~NPDesktopTest() override { endApplication(); } // before the desktop that it uses

    // Starts the application with its interface.
    void launchApplication() { launchApplication(platform.services()); }
    void launchApplication(const NPPlatform& services)
    {
        makeController(services);
        controller->setInterface({menus, [this] { return aboutBox; }, [this] { return preferences; }});
        controller->applicationDidFinishLaunching();
    }
    void makeController(const NPPlatform& services)
    {
        controller = std::make_shared<NPAppController>(services, *sharedEffectManager(), *sharedScreenManager());
        menus = NPMakeAppMenus(controller, desktop.bundle);
    }

    // Registered hot keys hold the controller.
    void endApplication()
    {
        sharedHotKeyCenter()->unregisterAllHotKeys();
        controller.reset();
    }

    // Runs what waits in the main queue.
    void serveMainQueue() { platform.clock.advance(0.0); }

    static std::string linesOf(const NPMenu& menu)
    {
        std::string text;
        for (const auto& item : menu.items()) {
            text += item->isSeparatorItem() ? "-" : item->title();
            text += item->isHidden() ? " (hidden)\n" : "\n";
        }
        return text;
    }

    // The log since the last question.
    std::string takeLog()
    {
        const std::string text = platform.log.text();
        platform.log.clear();
        return text;
    }

    NPSimulatedDesktop desktop{platform.log};
    NPAppMenus menus;
    std::shared_ptr<NPSimulatedWindowController> aboutBox = makeWindowController("About");
    std::shared_ptr<NPSimulatedWindowController> preferences = makeWindowController("Preferences");

private:
    std::shared_ptr<NPSimulatedWindowController> makeWindowController(const std::string& name)
    {
        return std::make_shared<NPSimulatedWindowController>(platform.log, platform.notifications, name);
    }
};
