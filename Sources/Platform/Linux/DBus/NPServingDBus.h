// Serves a connection's incoming requests from the main loop, and writes what the connection could not write
// at once, until it is destroyed or the bus goes.
//
// It wakes the loop only when the bus has something for us: every call of our own on such a connection is
// synchronous, so none of their time-outs is ever pending while the loop waits.
#pragma once

#include "Platform/Linux/NPControlModule.h"

#include <sdbus-c++/sdbus-c++.h>

#include <cstdint>
#include <memory>

class NPServingDBus : public std::enable_shared_from_this<NPServingDBus> {
public:
    // When the bus goes, the host's log gets one line.
    static std::shared_ptr<NPServingDBus> start(std::shared_ptr<sdbus::IConnection> connection,
                                                NPMainLoopLinux& loop, const NPControlModuleHost& host);

private:
    NPServingDBus(std::shared_ptr<sdbus::IConnection> connection, NPMainLoopLinux& loop,
                  const NPControlModuleHost& host)
        : _connection(std::move(connection)), _loop(loop), _mainQueue(loop), _host(host)
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
    NPWatch _beforeWaiting;
    NPWatch _descriptorWatch;
    std::uint32_t _watchedEvents = 0;
    bool _processing = false;
    bool _lost = false;
};
