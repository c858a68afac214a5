// What the tests of the effects, the screens and the application share: a simulated platform with the
// shared instances on it, in a scope of the test's own.
#pragma once

#include "Effects/NPEffectManager.h"
#include "Foundation/QXSharedScope.h"
#include "Platform/Simulated/NPSimulatedPlatform.h"
#include "Sunset & Sunrise/NPSunriseSunsetCalculator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string_view>
#include <utility>

// "2026-03-01T22:00:00Z"; a fraction of a second is allowed.
inline QXDate dateOf(std::string_view text)
{
    return QXDateFromDescription(text).value();
}

// Counts the posts of one name.
class NPNotificationCounter {
public:
    NPNotificationCounter(QXNotificationCenter& center, std::string_view name)
    {
        center.addObserver(_observer, std::string(name), nullptr, [this](const QXNotification& notification) {
            ++_count;
            _lastObject = notification.object;
        });
    }

    // How many there were since the last question.
    int take() { return std::exchange(_count, 0); }
    const void* lastObject() const { return _lastObject; }

private:
    int _count = 0;
    const void* _lastObject = nullptr;
    QXNotificationObserver _observer;
};

class NPEngineTest : public testing::Test {
protected:
    explicit NPEngineTest(QXDate start = dateOf("2026-03-01T12:00:00Z")) : platform(start)
    {
        NPInstallPlatform(platform.services());
    }

    QXDate now() const { return platform.clock.now(); }

    // A group of its own, which no manager knows.
    static std::shared_ptr<NPEffectGroup> makeGroup(QXDictionary settings = {})
    {
        return std::make_shared<NPEffectGroup>(NPEffectEnvironment::current(), std::move(settings), false);
    }

    // Stores the groups, for the manager to load: before its first use.
    void storeGroups(QXArray dictionaries)
    {
        platform.defaults.setObject(std::move(dictionaries), NPEffectGroupsKey);
    }

    static std::shared_ptr<NPEffectGroup> groupAt(std::size_t index)
    {
        return sharedEffectManager()->groups().at(index);
    }

    // How often a line occurs in the action log.
    int logged(std::string_view line) const
    {
        return static_cast<int>(std::ranges::count(platform.log.lines(), line));
    }

    NPSimulatedPlatform platform; // outlives the scope, whose objects use it
    QXSharedScope scope;
};
