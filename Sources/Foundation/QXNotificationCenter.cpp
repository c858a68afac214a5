#include "Foundation/QXNotificationCenter.h"

#include <algorithm>
#include <utility>

struct QXNotificationObserver::Subscriptions {
    struct Entry {
        const QXNotificationObserver* observer;
        std::string name;
        const void* object;
        QXNotificationHandler handler;
        bool removed = false;
    };
    std::vector<std::shared_ptr<Entry>> entries;

    // Whether there was any.
    template<class Predicate> bool removeIf(Predicate matches)
    {
        // They go when the list is whole again: a handler may hold the last reference to another observer.
        std::vector<std::shared_ptr<Entry>> removed;
        std::erase_if(entries, [&](const std::shared_ptr<Entry>& entry) {
            entry->removed = matches(*entry);
            if (entry->removed) {
                removed.push_back(entry);
            }
            return entry->removed;
        });
        return !removed.empty();
    }
};

QXNotificationObserver::~QXNotificationObserver()
{
    for (const auto& center : _centers) {
        if (const auto subscriptions = center.lock()) {
            subscriptions->removeIf([this](const auto& entry) { return entry.observer == this; });
        }
    }
}

QXNotificationCenter::QXNotificationCenter()
    : _subscriptions(std::make_shared<QXNotificationObserver::Subscriptions>())
{
}

QXNotificationCenter::~QXNotificationCenter() = default;

void QXNotificationCenter::addObserver(QXNotificationObserver& observer, std::string name, const void* object,
                                       QXNotificationHandler handler)
{
    const bool known = std::ranges::any_of(observer._centers,
                                           [this](const auto& center) { return center.lock() == _subscriptions; });
    if (!known) {
        observer._centers.push_back(_subscriptions);
    }
    if (_trace) {
        _trace("observe " + name);
    }
    using Entry = QXNotificationObserver::Subscriptions::Entry;
    _subscriptions->entries.push_back(
        std::make_shared<Entry>(Entry{&observer, std::move(name), object, std::move(handler)}));
}

void QXNotificationCenter::removeObserver(const QXNotificationObserver& observer)
{
    const bool removed = _subscriptions->removeIf([&](const auto& entry) { return entry.observer == &observer; });
    if (removed && _trace) {
        _trace("unobserve everything");
    }
}

void QXNotificationCenter::removeObserver(const QXNotificationObserver& observer, std::string_view name,
                                          const void* object)
{
    const bool removed = _subscriptions->removeIf([&](const auto& entry) {
        return entry.observer == &observer && entry.name == name && (object == nullptr || entry.object == object);
    });
    if (removed && _trace) {
        _trace("unobserve " + std::string(name));
    }
}

void QXNotificationCenter::postNotification(std::string_view name, const void* object)
{
    const auto entries = _subscriptions->entries; // what is added during the post is not called by it
    for (const auto& entry : entries) {
        if (!entry->removed && entry->name == name && (entry->object == nullptr || entry->object == object)) {
            entry->handler(QXNotification{name, object});
        }
    }
}
