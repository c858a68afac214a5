// What the calendar and the sun calculator need to know of a time zone.
#pragma once

#include "Foundation/QXDate.h"

class QXTimeZone {
public:
    virtual ~QXTimeZone() = default;

    // Seconds to add to GMT to get the zone's wall-clock time at that moment, daylight saving included.
    virtual int secondsFromGMT(QXDate at) const = 0;

    // The daylight-saving share of secondsFromGMT at that moment: 0 in standard time, usually 3600 in
    // summer; a zone whose winter time is the exceptional one may report it as negative.
    virtual int daylightSavingTimeOffset(QXDate at) const = 0;
};

// A zone with one offset for all time. The default is GMT.
class QXFixedTimeZone final : public QXTimeZone {
public:
    explicit QXFixedTimeZone(int secondsFromGMT = 0) : _secondsFromGMT(secondsFromGMT) {}
    int secondsFromGMT(QXDate) const override { return _secondsFromGMT; }
    int daylightSavingTimeOffset(QXDate) const override { return 0; }

private:
    int _secondsFromGMT;
};
