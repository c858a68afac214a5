// The colour service over D-Bus. See Platform/Linux/NPColorService.h for what it does.
#pragma once

#include "Platform/Linux/DBus/NPColorDevicesDBus.h"
#include "Platform/Linux/NPColorService.h"
#include "Platform/Linux/NPFileDescriptor.h"

#include <deque>
#include <map>
#include <mutex>
#include <thread>

class NPColorServiceDBus final : public NPColorService {
public:
    explicit NPColorServiceDBus(NPColorServiceRequest request);
    ~NPColorServiceDBus() override;

    std::vector<std::string> displayProfiles(const std::string& connector) const override;
    NPColorServiceOutcome setCustomProfile(const std::string& connector,
                                           const std::optional<std::string>& path) override;

private:
    struct Task;
    using Moment = std::chrono::steady_clock::time_point;

    void _run();
    void _connect();
    void _disconnect();
    void _serve();
    void _waitForBus(std::size_t attempt);
    bool _isToEnd() const;
    void _wait();
    bool _takeTask();
    NPColorServiceOutcome _perform(const Task& task);
    void _refresh();
    void _noteOwnChange(const Task& task, const std::map<std::string, NPColorDevice>& devices);
    void _publish(const std::map<std::string, NPColorDevice>& devices);
    void _complain(const std::string& line);
    void _wake();

    const NPColorServiceRequest _request;
    NPFileDescriptor _wakeUp; // an eventfd

    // The service thread's own.
    std::shared_ptr<sdbus::IConnection> _connection;
    std::unique_ptr<NPColorDevicesDBus> _devices; // none when the service is not there
    std::vector<sdbus::Slot> _matches;
    bool _hasNews = true;
    bool _isDeaf = false; // it has not answered in time, and has said nothing since
    bool _isFirstNews = true;
    bool _hasComplained = false;

    mutable std::mutex _mutex; // guards what follows
    std::map<std::string, NPColorDevice> _known;
    std::deque<std::shared_ptr<Task>> _tasks;
    bool _isEnding = false;

    std::thread _thread;
};
