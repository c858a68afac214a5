// A world to run the program in, from a property list:
//
//   Start      text     the first moment, "2026-06-20T10:00:00Z"; now when absent
//   TimeZone   text     a POSIX rule, "CET-1CEST,M3.5.0,M10.5.0/3"; GMT when absent
//   Speed      number   simulated seconds per real second, up to 100,000; 1 when absent
//   Duration   number   simulated seconds after which the run ends; absent: never
//   Displays   array    of dictionaries: Identifier (1 to 4294967295), Name, Samples (2 to 256; 256),
//                       ReadsFail, WritesFail (false)
//   Defaults   dictionary   the user-defaults store
//   Events     array    of dictionaries: After (seconds from the start), Kind ("plug", "unplug", "sleep" or
//                       "set clock"), Display (an identifier), Seconds (of sleep, or to move the clock by)
#pragma once

#include "Platform/Simulated/NPSimulatedPlatform.h"

#include <expected>
#include <optional>
#include <string>
#include <vector>

struct NPSimulatedEvent {
    enum class Kind { plug, unplug, sleep, setClock };
    double after = 0.0;
    Kind kind = Kind::plug;
    NPDisplayID display = 0;
    double seconds = 0.0;
};

struct NPSimulatedScenario {
    std::optional<QXDate> start;
    std::shared_ptr<const QXTimeZone> timeZone = std::make_shared<QXFixedTimeZone>();
    double speed = 1.0;
    std::optional<double> duration;
    std::vector<NPSimulatedDisplay> displays;
    QXDictionary defaults;
    std::vector<NPSimulatedEvent> events;

    // The error is one line that names the key that is wrong.
    static std::expected<NPSimulatedScenario, std::string> fromValue(const QXValue& value);

    // Two displays, in GMT, in real time.
    static NPSimulatedScenario standard();

    // Puts the platform, which is at the start, into this world. The events happen as its clock passes them,
    // as long as the result is held.
    [[nodiscard]] std::vector<std::shared_ptr<NPTimerSource>> install(NPSimulatedPlatform& platform) const;
};
