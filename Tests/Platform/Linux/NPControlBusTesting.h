// What the tests of the session-bus interface share: a bus, an instance that serves on it from this thread's
// loop, and clients on threads of their own.
#pragma once

#include "Foundation/QXLog.h"
#include "Platform/Linux/NPControlModule.h"
#include "Platform/Linux/NPSessionBusAddress.h"
#include "Platform/Linux/NPTestControl.h"
#include "Platform/Linux/NPTestSessionBus.h"

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

class NPControlBusTesting : public testing::Test {
protected:
    // A connection of its own, made by the module as built.
    static std::shared_ptr<NPControlBus> connect()
    {
        return NPOpenControlBusFromFolders({NP_TEST_MODULE_FOLDER}, NPSessionBusAddress().value()).value();
    }

    void publish()
    {
        instance = std::move(instanceBus->publish(control, loop, [this] { hasLostBus = true; }).value());
    }

    // Does the work on a thread of its own while the instance serves, and gives what comes of it.
    template<class Work> auto whileServing(const Work& work) -> decltype(work())
    {
        bool done = false;
        auto result = std::async(std::launch::async, [&] {
            struct Finish {
                ~Finish()
                {
                    loop.performOnMain([&flag = flag] { flag = true; });
                }
                NPMainLoopLinux& loop;
                bool& flag;
            } const finish{loop, done};
            return work();
        });
        while (!done) {
            loop.processEvents(-1);
        }
        return result.get();
    }

    // Asks the instance as another program would.
    template<class Request> auto ask(const Request& request) -> decltype(request(std::declval<NPControl&>()))
    {
        return whileServing([&] { return request(*connect()->runningInstance()); });
    }

    std::string outputOf(const std::vector<std::string>& arguments)
    {
        return whileServing([&] { return NPTestOutputOf(arguments); });
    }

    NPTestSessionBus bus;
    std::vector<std::string> log;
    QXLogRedirection redirection{[this](std::string_view line) { log.emplace_back(line); }};
    NPTestControl control;
    NPMainLoopLinux loop;
    bool hasLostBus = false;
    std::shared_ptr<NPControlBus> instanceBus = connect();
    std::unique_ptr<NPControlExport> instance;
};
