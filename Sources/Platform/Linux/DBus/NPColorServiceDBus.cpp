#include "Platform/Linux/DBus/NPColorServiceDBus.h"

#include "Platform/Linux/DBus/NPErrorDBus.h"
#include "Platform/Linux/NPBusRetry.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <csignal>
#include <exception>
#include <limits>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace {

constexpr std::size_t never = std::numeric_limits<std::size_t>::max();

} // namespace

// One request of another thread. Whoever asked goes away after the deadline, whatever becomes of it.
struct NPColorServiceDBus::Task {
    std::string connector;
    std::optional<std::string> path;
    Moment deadline;

    std::mutex mutex;
    std::condition_variable change;
    std::optional<NPColorServiceOutcome> outcome;
};

NPColorServiceDBus::NPColorServiceDBus(NPColorServiceRequest request)
    : _request(std::move(request)), _wakeUp(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), _thread([this] { _run(); })
{
}

NPColorServiceDBus::~NPColorServiceDBus()
{
    {
        const std::lock_guard lock(_mutex);
        _isEnding = true;
    }
    _wake();
    _thread.join();
}

void NPColorServiceDBus::_wake()
{
    ::eventfd_write(_wakeUp.get(), 1);
}

std::vector<std::string> NPColorServiceDBus::displayProfiles(const std::string& connector) const
{
    const std::lock_guard lock(_mutex);
    const auto found = _known.find(connector);
    return found == _known.end() ? std::vector<std::string>() : found->second.files;
}

NPColorServiceOutcome NPColorServiceDBus::setCustomProfile(const std::string& connector,
                                                           const std::optional<std::string>& path)
{
    const auto task = std::make_shared<Task>();
    task->connector = connector;
    task->path = path;
    task->deadline = std::chrono::steady_clock::now() + patience;
    {
        const std::lock_guard lock(_mutex);
        _tasks.push_back(task);
    }
    _wake();
    std::unique_lock lock(task->mutex);
    task->change.wait_until(lock, task->deadline, [&] { return task->outcome.has_value(); });
    return task->outcome.value_or(NPColorServiceOutcome::failed);
}

// As far as exceptions go. A bus that was there once is tried again.
void NPColorServiceDBus::_run()
{
    sigset_t all;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_BLOCK, &all, nullptr); // signals are the main thread's
    bool hasBeenThere = false;
    for (std::size_t attempt = 0; !_isToEnd(); ++attempt) {
        try {
            _connect();
            hasBeenThere = true;
            attempt = 0;
            _serve();
        } catch (const std::exception& exception) {
            _complain(NPLineOfException(exception));
            _disconnect();
            _publish({});
            _waitForBus(hasBeenThere ? attempt : never);
        }
    }
    _disconnect();
}

void NPColorServiceDBus::_disconnect()
{
    _devices.reset();
    _matches.clear();
    _connection.reset();
}

bool NPColorServiceDBus::_isToEnd() const
{
    const std::lock_guard lock(_mutex);
    return _isEnding;
}

// What is asked meanwhile is answered with "not managed".
void NPColorServiceDBus::_waitForBus(std::size_t attempt)
{
    using std::chrono::milliseconds;
    const auto end =
        std::chrono::steady_clock::now() + NPBusRetryPauses[std::min(attempt, NPBusRetryPauses.size() - 1)];
    while (!_isToEnd()) {
        while (_takeTask()) {
        }
        const auto left = std::chrono::ceil<milliseconds>(end - std::chrono::steady_clock::now()).count();
        if (attempt != never && left <= 0) {
            return;
        }
        pollfd wakeUp{_wakeUp.get(), POLLIN, 0};
        ::poll(&wakeUp, 1, attempt == never ? -1 : static_cast<int>(left));
        eventfd_t ignored = 0;
        ::eventfd_read(_wakeUp.get(), &ignored);
    }
}

void NPColorServiceDBus::_connect()
{
    if (const auto isAlive = _request.checkBus(); !isAlive) {
        throw std::runtime_error(isAlive.error());
    }
    _connection = sdbus::createSessionBusConnectionWithAddress(_request.busAddress);
    _connection->setMethodCallTimeout(patience);
    _hasNews = true;
    _isDeaf = false;
    const auto noticeNews = [this](sdbus::Message&) {
        _hasNews = true;
        _isDeaf = false;
    };
    const std::string signal = "type='signal',";
    const std::string manager =
        signal + "path='" + NPColorManagerPath + "',interface='" + NPColorManagerName + "',";
    for (const std::string& rule :
         {manager + "member='DeviceAdded'", manager + "member='DeviceRemoved'",
          signal + "interface='org.freedesktop.ColorManager.Device',member='Changed'",
          signal + "sender='org.freedesktop.DBus',member='NameOwnerChanged',arg0='" + NPColorManagerName + "'"}) {
        _matches.push_back(_connection->addMatch(rule, noticeNews));
    }
}

void NPColorServiceDBus::_serve()
{
    while (!_isToEnd()) {
        while (_connection->processPendingRequest()) {
        }
        if (std::exchange(_hasNews, false)) {
            _refresh();
        } else if (!_takeTask()) {
            _wait();
        }
    }
}

void NPColorServiceDBus::_wait()
{
    const sdbus::IConnection::PollData wanted = _connection->getEventLoopPollData();
    if (wanted.timeout_usec == 0) {
        return; // messages came along with an answer
    }
    std::array<pollfd, 2> items{{{wanted.fd, wanted.events, 0}, {_wakeUp.get(), POLLIN, 0}}};
    ::poll(items.data(), items.size(), -1);
    eventfd_t ignored = 0;
    ::eventfd_read(_wakeUp.get(), &ignored);
}

bool NPColorServiceDBus::_takeTask()
{
    std::shared_ptr<Task> task;
    {
        const std::lock_guard lock(_mutex);
        if (_tasks.empty()) {
            return false;
        }
        task = std::move(_tasks.front());
        _tasks.pop_front();
    }
    // Nobody waits any more for what is too late.
    if (std::chrono::steady_clock::now() < task->deadline) {
        const NPColorServiceOutcome outcome = _perform(*task);
        const std::lock_guard lock(task->mutex);
        task->outcome = outcome;
        task->change.notify_all();
    }
    return true;
}

NPColorServiceOutcome NPColorServiceDBus::_perform(const Task& task)
{
    if (!_devices || _isDeaf) {
        return _isDeaf ? NPColorServiceOutcome::failed : NPColorServiceOutcome::notManaged;
    }
    try {
        _devices->setDeadline(task.deadline);
        const std::map<std::string, NPColorDevice> devices = _devices->devices();
        const auto device = devices.find(task.connector);
        if (device == devices.end()) {
            return NPColorServiceOutcome::notManaged;
        }
        if (task.path) {
            _devices->useCustomProfile(device->second, task.connector, *task.path);
        } else {
            _devices->removeCustomProfiles(device->second);
        }
        _noteOwnChange(task, _devices->devices());
        return NPColorServiceOutcome::done;
    } catch (const std::exception& exception) {
        _isDeaf = std::chrono::steady_clock::now() >= task.deadline;
        _request.log("The colour service did not take the profile of " + task.connector + ": "
                     + (_isDeaf ? "it does not answer" : NPLineOfException(exception)));
        return NPColorServiceOutcome::failed;
    }
}

// Asked of the bus, because a call by the service's name would start it where it does not run: it has nothing to
// say before a program of the session has told it of the displays.
void NPColorServiceDBus::_refresh()
{
    const auto bus = sdbus::createProxy(*_connection, "org.freedesktop.DBus", "/org/freedesktop/DBus");
    sdbus::MethodCall call = bus->createMethodCall("org.freedesktop.DBus", "GetNameOwner");
    call << NPColorManagerName;
    _devices.reset();
    try {
        std::string owner;
        bus->callMethod(call) >> owner;
        _devices = std::make_unique<NPColorDevicesDBus>(*_connection, owner);
        _devices->setDeadline(std::chrono::steady_clock::now() + patience);
        _publish(_devices->devices());
        return;
    } catch (const sdbus::Error& error) {
        const bool isMissing = error.getName() == "org.freedesktop.DBus.Error.NameHasNoOwner";
        _isDeaf = !isMissing;
        _complain(isMissing ? "the colour service (colord) does not run"
                            : "the colour service cannot be used: " + NPLineOfException(error));
    }
    _devices.reset();
    _publish({});
}

// One line until the service works again.
void NPColorServiceDBus::_complain(const std::string& line)
{
    if (!std::exchange(_hasComplained, true)) {
        _request.log("Custom colour profiles go into the X server alone: " + line);
    }
}

// What we have done ourselves is no news; what others have done meanwhile, to this display or another, is.
void NPColorServiceDBus::_noteOwnChange(const Task& task, const std::map<std::string, NPColorDevice>& devices)
{
    const auto device = devices.find(task.connector);
    if (device == devices.end() || device->second.usesCustomProfile != task.path.has_value()) {
        _hasNews = true;
        return;
    }
    const std::lock_guard lock(_mutex);
    _known.insert_or_assign(task.connector, device->second);
}

// A custom profile of ours in use is no news. What was known of a display
// that has gone, alone or with the service, stays: its profile is as it was.
void NPColorServiceDBus::_publish(const std::map<std::string, NPColorDevice>& devices)
{
    _hasComplained = _hasComplained && !_devices;
    std::vector<std::string> changed;
    {
        const std::lock_guard lock(_mutex);
        for (const auto& [connector, device] : devices) {
            const auto former = _known.find(connector);
            if (!device.usesCustomProfile
                && (former == _known.end() || former->second.defaultProfile != device.defaultProfile)) {
                changed.push_back(connector);
            }
            _known.insert_or_assign(connector, device);
        }
    }
    if (_isFirstNews || !changed.empty()) {
        _isFirstNews = false;
        _request.changed(std::move(changed));
    }
}

extern "C" [[gnu::visibility("default")]] void NPStartColorService(NPColorServiceRequest request,
                                                                   std::unique_ptr<NPColorService>& result)
{
    result = std::make_unique<NPColorServiceDBus>(std::move(request));
}

static_assert(std::is_same_v<decltype(&NPStartColorService), NPColorServiceEntry>);
