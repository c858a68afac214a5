// The system's time zone.
#pragma once

#include "Foundation/QXTimeZone.h"

#include <string_view>

// Posted on the default notification centre, with no object, after the system's zone has changed.
inline constexpr std::string_view NPSystemTimeZoneDidChangeNotification = "NPSystemTimeZoneDidChangeNotification";

class NPTimeZoneServices {
public:
    virtual ~NPTimeZoneServices() = default;

    // The zone in force. The reference stays valid and follows a change of the system's zone.
    virtual const QXTimeZone& systemTimeZone() const = 0;
};
