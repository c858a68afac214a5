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
    ~NPDesktopTest() override { controller.reset(); } // before the desktop that it uses

    // The log since the last question.
    std::string takeLog()
    {
        const std::string text = platform.log.text();
        platform.log.clear();
        return text;
    }

    NPSimulatedDesktop desktop{platform.log};
};
