// What the tests of the buses' announcements share: a bus that is both the system's and the session's, and a loop.
#pragma once

#include "Foundation/QXLog.h"
#include "Platform/Linux/NPBusEvents.h"
#include "Platform/Linux/NPTestMockService.h"
#include "Platform/Linux/NPTestSessionBus.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class NPBusEventsTesting : public testing::Test {
protected:
    // Turns the loop until the condition holds. False when it does not within 20 seconds.
    bool turnUntil(const std::function<bool()>& condition)
    {
        const double end = loop.monotonicTime() + 20.0;
        while (!condition() && loop.monotonicTime() < end) {
            loop.processEvents(20);
        }
        return condition();
    }

    bool hear(const std::vector<std::string>& expected)
    {
        return turnUntil([&] { return heard == expected; });
    }

    // For what is not to come: whatever is on its way has come afterwards.
    void settle()
    {
        for (int i = 0; i < 20; ++i) {
            loop.processEvents(5);
        }
    }

    NPTestSessionBus bus;
    NPTestVariable systemBus{"DBUS_SYSTEM_BUS_ADDRESS", bus.address()};
    std::vector<std::string> heard;
    std::vector<std::string> log;
    QXLogRedirection redirection{[this](std::string_view line) { log.emplace_back(line); }};
    NPMainLoopLinux loop;
    std::unique_ptr<NPBusEvents> events;
};
