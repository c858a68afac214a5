// Serves a connection's incoming requests from the main loop, and writes what the connection could not write
// at once, until it is destroyed or the bus goes.
//
// It wakes the loop only when the bus has something for us: every call of our own on such a connection is
// synchronous, waits without limit or is content with an answer that never comes, so no time-out need wake it.
#pragma once

#include "Platform/Linux/NPControlModule.h"

#include <sdbus-c++/sdbus-c++.h>

#include <cstdint>
#include <functional>
#include <memory>

class NPServingDBus : public std::enable_shared_from_this<NPServingDBus> {
public:
    // The handler is called once, when the bus goes.
    static std::shared_ptr<NPServingDBus> start(std::shared_ptr<sdbus::IConnection> connection,
                                                NPMainLoopLinux& loop, const NPControlModuleHost& host,
                                                std::function<void()> lost);

private:
    NPServingDBus(std::shared_ptr<sdbus::IConnection> connection, NPMainLoopLinux& loop,
                  const NPControlModuleHost& host, std::function<void()> lost)
        : _connection(std::move(connection)), _loop(loop), _mainQueue(loop), _host(host),
          _lostHandler(std::move(lost))
    {
    }

    void _prepareToWait();
    void _process();
    void _watch(std::uint32_t events);
    void _lose();

    const std::shared_ptr<sdbus::IConnection> _connection;
    NPMainLoopLinux& _loop;
    NPMainQueue& _mainQueue; // the loop, called through its interface: its class is not in this module
    const NPControlModuleHost& _host;
    const std::function<void()> _lostHandler;
    NPWatch _beforeWaiting;
    NPWatch _descriptorWatch;
    std::uint32_t _watchedEvents = 0;
    bool _processing = false;
    bool _lost = false;
};
