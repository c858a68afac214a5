// The interface's names, and failures on their way over the bus.
//
// A failure of the control travels as one of two D-Bus errors, with its line as the message; the client turns
// them back. Any other D-Bus error tells of the way between the two.
#pragma once

#include "Platform/NPControl.h"

#include <sdbus-c++/sdbus-c++.h>

#include <exception>
#include <string>
#include <type_traits>
#include <utility>

inline const std::string NPBusName = "org.nightpane.Nightpane1";
inline const std::string NPBusInterface = "org.nightpane.Nightpane1";
inline const std::string NPBusObjectPath = "/org/nightpane/Nightpane1";

sdbus::Error NPBusErrorFromControlError(const NPControlError& error);
NPControlError NPControlErrorFromBusError(const sdbus::Error& error);

// The value, or the error as an exception.
template<class Value> Value NPValueOrThrow(NPControlResult<Value> result)
{
    if (!result) {
        throw NPBusErrorFromControlError(result.error());
    }
    if constexpr (!std::is_void_v<Value>) {
        return std::move(*result);
    }
}

// The message of an exception on one line.
std::string NPLineOfException(const std::exception& exception);
