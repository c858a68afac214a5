// Where the session bus is, and whether it is alive, found out without any D-Bus library: most of the time
// that a bus would cost is spent only when there is one.
#pragma once

#include <expected>
#include <optional>
#include <string>

// In D-Bus notation: DBUS_SESSION_BUS_ADDRESS when it is not empty, else the socket "bus" in
// $XDG_RUNTIME_DIR. None when there is no session bus here.
std::optional<std::string> NPSessionBusAddress();

// Connects, for the moment, and waits at most two seconds for a sign of life. The error is one line.
// Addresses other than Unix sockets count as alive: nothing is known of them before they are used.
std::expected<void, std::string> NPCheckBusIsAlive(const std::string& address);
