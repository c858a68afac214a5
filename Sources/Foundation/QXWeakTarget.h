// Callbacks that do not keep their target alive and do nothing once it has gone. While the operation
// runs, the target is held, so it may drop the last other reference to itself.
#pragma once

#include <functional>
#include <memory>
#include <utility>

template<class Target, class... Arguments>
std::function<void(Arguments...)> weakTarget(std::weak_ptr<Target> target, void (Target::*operation)(Arguments...))
{
    return [target = std::move(target), operation](Arguments... arguments) {
        if (const std::shared_ptr<Target> held = target.lock()) {
            ((*held).*operation)(std::forward<Arguments>(arguments)...);
        }
    };
}

template<class Target, class... Arguments>
std::function<void(Arguments...)> weakTarget(const std::shared_ptr<Target>& target,
                                             void (Target::*operation)(Arguments...))
{
    return weakTarget(std::weak_ptr<Target>(target), operation);
}
