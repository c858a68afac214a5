// Services that write what they are asked for into the action log, and have the simulated ones do it.
#pragma once

#include "Platform/Simulated/NPSimulatedPlatform.h"

#include "Foundation/QXString.h"

// "timer every 6 within 1.5", "timer at 2026-03-01T22:00:00Z" (rounded down to seconds).
class NPLoggingTimers final : public NPTimerServices {
public:
    NPLoggingTimers(NPActionLog& log, NPTimerServices& services) : _log(log), _services(services) {}

    std::shared_ptr<NPTimerSource> makeMonotonicTimer(std::uint64_t delay, std::uint64_t interval,
                                                      std::uint64_t leeway) override
    {
        const auto seconds = [](std::uint64_t time) {
            return QXDoubleDescription(static_cast<double>(time) / 1e9);
        };
        _log.add("timer every " + seconds(interval) + " within " + seconds(leeway));
        return _services.makeMonotonicTimer(delay, interval, leeway);
    }
    std::shared_ptr<NPTimerSource> makeWallClockTimer(QXDate start, std::uint64_t interval,
                                                      std::uint64_t leeway) override
    {
        _log.add("timer at " + QXDateDescription(start));
        return _services.makeWallClockTimer(start, interval, leeway);
    }

private:
    NPActionLog& _log;
    NPTimerServices& _services;
};

// "later"
class NPLoggingQueue final : public NPMainQueue {
public:
    NPLoggingQueue(NPActionLog& log, NPMainQueue& queue) : _log(log), _queue(queue) {}

    void performOnMain(std::function<void()> work) override
    {
        _log.add("later");
        _queue.performOnMain(std::move(work));
    }

private:
    NPActionLog& _log;
    NPMainQueue& _queue;
};
