// The time zone that the C library works with.
//
// The C library answers only "which offset, and is it daylight-saving time, at this moment". The rest is
// found by asking it: the stretches of time with one offset, which are remembered so that most queries do not
// ask at all, and the daylight-saving share, which is what the offset differs by from the standard time next
// to it. Where winter is the exception, as the zone database has it for Dublin, the share is negative.
//
// Moments outside the years 1 to 9999, or that are none, have the offset of the nearest moment inside.
// Main thread only.
#pragma once

#include "Foundation/QXTimeZone.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

class NPSystemTimeZoneLinux final : public QXTimeZone {
public:
    int secondsFromGMT(QXDate at) const override;
    int daylightSavingTimeOffset(QXDate at) const override;

    // To be called when the C library has read another zone.
    void forgetAnswers();

private:
    // From begin until before end (Unix time) the answer is the same. Either end may also be just the place
    // where the search for a change stopped.
    struct Stretch {
        std::int64_t begin = 0;
        std::int64_t end = 0;
        int offset = 0;
        bool daylight = false;
        std::optional<int> daylightShare; // when it has been asked for
    };

    Stretch& _stretchAt(std::int64_t moment) const;

    mutable std::array<Stretch, 4> _stretches{};
    mutable std::size_t _latest = 0; // the one that answered last
};
