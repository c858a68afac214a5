// A running application on simulated displays.
#pragma once

#include "Shell/NPAppController.h"
#include "Support/NPScreensTest.h"

class NPApplicationTest : public NPScreensTest {
protected:
    using NPScreensTest::NPScreensTest;

    // Starts the application on what is stored; with other timers than the platform's, on those.
    void launch() { launch(platform.services()); }
    void launch(const NPPlatform& services)
    {
        controller = std::make_shared<NPAppController>(services, *sharedEffectManager(), *sharedScreenManager());
        controller->applicationDidFinishLaunching();
    }

    void setDefault(std::string_view key, QXValue value) { platform.defaults.setObject(std::move(value), key); }

    // So that nothing but the groups' timers runs.
    void stopContinuousApplying() { setDefault(NPContinuouslyApplyKey, false); }

    std::shared_ptr<NPAppController> controller;
};
