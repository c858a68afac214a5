// Synchronous notifications between objects that do not know each other.
//
// Posting calls every matching handler before it returns, in the order in which they were added. During a
// post: a handler added meanwhile is not called by that post; one removed meanwhile (by anyone, itself
// included) is not called any more; a handler may post again. A running handler is kept alive until it
// returns. Main thread only.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class QXNotificationCenter;

struct QXNotification {
    std::string_view name;
    const void* object; // who posted it; nullptr for nobody in particular
};

using QXNotificationHandler = std::function<void(const QXNotification&)>;

// The identity under which an object observes. It belongs to one observing object, may be used with
// several centres, and when it is destroyed every subscription made with it ends.
class QXNotificationObserver {
public:
    QXNotificationObserver() = default;
    ~QXNotificationObserver();
    QXNotificationObserver(const QXNotificationObserver&) = delete;
    QXNotificationObserver& operator=(const QXNotificationObserver&) = delete;

private:
    friend class QXNotificationCenter;
    struct Subscriptions;
    std::vector<std::weak_ptr<Subscriptions>> _centers;
};

class QXNotificationCenter {
public:
    QXNotificationCenter();
    ~QXNotificationCenter();
    QXNotificationCenter(const QXNotificationCenter&) = delete;
    QXNotificationCenter& operator=(const QXNotificationCenter&) = delete;

    // Calls the handler on each later post of that name by that sender (nullptr: by any sender). The same
    // observer may be added twice, and is then called twice.
    void addObserver(QXNotificationObserver& observer, std::string name, const void* object,
                     QXNotificationHandler handler);

    // Ends every subscription of the observer here; or those for that name and sender (nullptr: any).
    void removeObserver(const QXNotificationObserver& observer);
    void removeObserver(const QXNotificationObserver& observer, std::string_view name, const void* object);

    void postNotification(std::string_view name, const void* object);

    // From now on told of every observer that is added or removed by a call: "observe NAME", "unobserve NAME",
    // "unobserve everything". For logs in which the order of events shows.
    void setTrace(std::function<void(std::string line)> trace) { _trace = std::move(trace); }

private:
    std::function<void(std::string)> _trace; // empty for nobody
    std::shared_ptr<QXNotificationObserver::Subscriptions> _subscriptions;
};
