// The login manager, org.freedesktop.login1: the end of sleep, and when this process's session becomes active.
//
// The session is the one that the login manager knows this process in, else the one that XDG_SESSION_ID names,
// else the one that the login manager takes for the caller's own ("auto"), in that order: a program that the user's
// service manager has started is in none itself.
#pragma once

#include "Platform/Linux/DBus/NPServicesDBus.h"
#include "Platform/Linux/NPBusEvents.h"

#include <optional>
#include <string>

class NPLoginManagerDBus final : public NPBusEvents {
public:
    // Throws sdbus::Error when there is no connecting. `lost` is called when the bus goes.
    NPLoginManagerDBus(const NPControlModuleHost& host, const std::string& address, NPMainLoopLinux& loop,
                       NPLoginManagerHandlers handlers, std::function<void()> lost);

private:
    void _ownerDidChange(const std::string& owner);
    void _askForOwnSession();
    void _askForNamedSession(const std::string& identifier);
    void _askForCallersSession();
    void _noSession(const sdbus::Error& error);
    void _followSession(const std::string& path);
    void _sessionPropertiesDidChange(sdbus::Message& message);
    void _askWhetherActive();
    void _setActive(bool active);

    const NPLoginManagerHandlers _handlers;
    std::string _owner; // empty while the login manager does not run
    std::string _sessionPath;
    std::optional<bool> _isActive;
    bool _hasComplained = false;
    NPServicesDBus _services;
    sdbus::Slot _sleepSlot; // they go before the connection
    sdbus::Slot _sessionSlot;
};
