// The screen savers of desktops. Each has an interface of its own with the same two members: the method GetActive
// and the signal ActiveChanged.
#pragma once

#include "Platform/Linux/DBus/NPServicesDBus.h"
#include "Platform/Linux/NPBusEvents.h"

#include <string>
#include <vector>

class NPScreenSaversDBus final : public NPBusEvents {
public:
    // Throws sdbus::Error when there is no connecting. `lost` is called when the bus goes.
    NPScreenSaversDBus(const NPControlModuleHost& host, const std::string& address, NPMainLoopLinux& loop,
                       NPScreenSaverHandler handler, std::function<void()> lost);

private:
    struct Saver;

    void _follow(const Saver& saver);
    void _ownerDidChange(const Saver& saver, const std::string& owner);

    const NPScreenSaverHandler _handler;
    NPServicesDBus _services;
    std::vector<sdbus::Slot> _slots; // they go before the connection
};
