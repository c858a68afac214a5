// A time zone whose changes a test writes down one by one.
#pragma once

#include "Foundation/QXTimeZone.h"

#include <memory>
#include <string_view>
#include <utility>
#include <vector>

class NPTestTimeZone final : public QXTimeZone {
public:
    struct Period {
        QXDate begin;
        int secondsFromGMT;
        int daylightSavingTimeOffset;
    };

    // In force before the first period: that offset, in standard time.
    NPTestTimeZone(int secondsFromGMT, std::vector<Period> periods)
        : _first{QXDate{}, secondsFromGMT, 0}, _periods(std::move(periods))
    {
    }

    int secondsFromGMT(QXDate at) const override { return _periodAt(at).secondsFromGMT; }
    int daylightSavingTimeOffset(QXDate at) const override { return _periodAt(at).daylightSavingTimeOffset; }
    const std::vector<Period>& periods() const { return _periods; }

    // Central Europe in 2026 and the winter after it.
    static std::shared_ptr<const NPTestTimeZone> berlin()
    {
        return std::make_shared<NPTestTimeZone>(
            3600, std::vector<Period>{{QXDateFromDescription("2026-03-29T01:00:00Z").value(), 7200, 3600},
                                      {QXDateFromDescription("2026-10-25T01:00:00Z").value(), 3600, 0}});
    }

    // Samoa, where the 30th of December 2011 was left out.
    static std::shared_ptr<const NPTestTimeZone> apia()
    {
        return std::make_shared<NPTestTimeZone>(
            -36000, std::vector<Period>{{QXDateFromDescription("2011-12-30T10:00:00Z").value(), 50400, 3600}});
    }

private:
    const Period& _periodAt(QXDate at) const
    {
        const Period* found = &_first;
        for (const Period& period : _periods) {
            if (!(at < period.begin)) {
                found = &period;
            }
        }
        return *found;
    }

    Period _first;
    std::vector<Period> _periods;
};
