// Where the D-Bus buses are, and whether they are alive, found out without any D-Bus library: most of the time
// that a bus would cost is spent only when there is one.
#pragma once

#include <expected>
#include <optional>
#include <string>

// In D-Bus notation: DBUS_SESSION_BUS_ADDRESS when it is not empty, else the socket "bus" in
// $XDG_RUNTIME_DIR. None when there is no session bus here.
std::optional<std::string> NPSessionBusAddress();

// The same of the system bus: DBUS_SYSTEM_BUS_ADDRESS, else the socket that it always has.
std::optional<std::string> NPSystemBusAddress();

// Connects, for the moment, and waits at most two seconds for a sign of life. The error is one line.
// Addresses other than Unix sockets count as alive: nothing is known of them before they are used. The bus is
// called by the name in messages.
std::expected<void, std::string> NPCheckBusIsAlive(const std::string& address,
                                                   const std::string& name = "the session bus");
