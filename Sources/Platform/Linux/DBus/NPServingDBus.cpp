#include "Platform/Linux/DBus/NPServingDBus.h"

#include "Foundation/QXWeakTarget.h"

#include <poll.h>
#include <sys/epoll.h>

#include <exception>
#include <utility>

namespace {

// So that a flood of requests keeps nobody else from their turn.
constexpr int mostMessagesPerTurn = 16;

std::uint32_t epollEvents(short pollEvents)
{
    return ((pollEvents & POLLIN) != 0 ? std::uint32_t(EPOLLIN) : 0)
           | ((pollEvents & POLLOUT) != 0 ? std::uint32_t(EPOLLOUT) : 0);
}

} // namespace

std::shared_ptr<NPServingDBus> NPServingDBus::start(std::shared_ptr<sdbus::IConnection> connection,
                                                    NPMainLoopLinux& loop, const NPControlModuleHost& host,
                                                    std::function<void()> lost)
{
    const std::shared_ptr<NPServingDBus> serving(
        new NPServingDBus(std::move(connection), loop, host, std::move(lost)));
    serving->_beforeWaiting = host.watchBeforeWaiting(loop, weakTarget(serving, &NPServingDBus::_prepareToWait));
    serving->_prepareToWait(); // a loop that another one drives may get no turn before a request comes
    return serving;
}

// What the connection waits for changes with every message that is sent or read, so it is asked each time.
void NPServingDBus::_prepareToWait()
{
    if (_processing) {
        // A request serves events itself. The next message has to wait for its end, and must not keep
        // waking the loop until then.
        _watch(0);
        return;
    }
    try {
        const sdbus::IConnection::PollData wanted = _connection->getEventLoopPollData();
        _watch(epollEvents(wanted.events));
        if (wanted.timeout_usec == 0) { // messages came along with the answer to a call of ours
            _mainQueue.performOnMain(weakTarget(weak_from_this(), &NPServingDBus::_process));
        }
    } catch (const std::exception&) {
        _lose();
    }
}

void NPServingDBus::_process()
{
    if (_processing || _lost) {
        return;
    }
    _processing = true;
    try {
        for (int i = 0; i < mostMessagesPerTurn && _connection->processPendingRequest(); ++i) {
        }
    } catch (const std::exception&) {
        _lose();
    }
    _processing = false;
}

void NPServingDBus::_watch(std::uint32_t events)
{
    if (events == _watchedEvents) {
        return;
    }
    _descriptorWatch.reset(); // the loop takes one watch for a descriptor
    _watchedEvents = events;
    if (events != 0) {
        _descriptorWatch = _host.watchFileDescriptor(
            _loop, _connection->getEventLoopPollData().fd, events,
            [process = weakTarget(weak_from_this(), &NPServingDBus::_process)](std::uint32_t) { process(); });
    }
}

void NPServingDBus::_lose()
{
    _lost = true;
    _beforeWaiting.reset();
    _descriptorWatch.reset();
    _lostHandler();
}
