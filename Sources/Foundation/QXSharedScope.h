// Where the shared instances live.
//
// sharedScreenManager() and its kin resolve in the current scope. The program's main function owns one
// scope for its whole run; each test owns its own, so that no test sees another's instances. Objects are
// created on first use and destroyed in the opposite order. Several threads may ask for an instance, which is
// made exactly once; the scope itself, and what its objects do, is for the main thread.
#pragma once

#include <memory>
#include <mutex>
#include <typeindex>
#include <utility>
#include <vector>

class QXSharedScope {
public:
    QXSharedScope(); // becomes the current scope
    ~QXSharedScope(); // destroys its objects, last created first; the former scope is current again
    QXSharedScope(const QXSharedScope&) = delete;
    QXSharedScope& operator=(const QXSharedScope&) = delete;

    // Stops the program when there is no scope.
    static QXSharedScope& current();

    // The scope's instance of a type, made by the given function on the first call. The function may
    // itself ask for other shared instances, which then outlive this one.
    template<class Type, class Make> std::shared_ptr<Type> instance(Make make)
    {
        const std::lock_guard lock(_mutex);
        const std::type_index type(typeid(Type));
        std::shared_ptr<void> found = _find(type);
        if (!found) {
            std::shared_ptr<Type> made = make();
            _add(type, made);
            return made;
        }
        return std::static_pointer_cast<Type>(std::move(found));
    }

private:
    std::shared_ptr<void> _find(std::type_index type) const;
    void _add(std::type_index type, std::shared_ptr<void> object);

    QXSharedScope* _former;
    std::recursive_mutex _mutex; // making one object may ask for another
    std::vector<std::pair<std::type_index, std::shared_ptr<void>>> _objects;
};
