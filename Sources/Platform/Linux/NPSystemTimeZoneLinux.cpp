#include "Platform/Linux/NPSystemTimeZoneLinux.h"

#include <time.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

constexpr std::int64_t secondsPerDay = 86400;
constexpr std::int64_t firstMoment = -62135596800; // 0001-01-01T00:00:00Z
constexpr std::int64_t lastMoment = 253402300799;  // 9999-12-31T23:59:59Z

// The zone database has stretches of no less than 3.9 days, so that no change hides between two probes.
constexpr std::int64_t probeStep = 3 * secondsPerDay;
constexpr int probesEachWay = 60;

// Of a zone that has no standard time within reach.
constexpr int usualDaylightShare = 3600;

std::int64_t momentFromDate(QXDate date)
{
    const double seconds = std::floor(QXUnixTimeFromDate(date));
    if (!(seconds > static_cast<double>(firstMoment))) {
        return firstMoment; // also what is not a number
    }
    return static_cast<std::int64_t>(std::min(seconds, static_cast<double>(lastMoment)));
}

struct Answer {
    int offset = 0;
    bool daylight = false;
    friend bool operator==(const Answer&, const Answer&) = default;
};

Answer answerAt(std::int64_t moment)
{
    const time_t time = moment;
    tm fields{};
    localtime_r(&time, &fields);
    return {static_cast<int>(fields.tm_gmtoff), fields.tm_isdst > 0};
}

// The furthest moment in a direction up to which the answer stays the same, as far as is looked.
std::int64_t lastAlike(std::int64_t moment, std::int64_t step)
{
    const Answer answer = answerAt(moment);
    std::int64_t alike = moment;
    for (int probe = 0; probe < probesEachWay; ++probe) {
        std::int64_t other = std::clamp(alike + step, firstMoment, lastMoment);
        if (answerAt(other) == answer) {
            alike = other;
            continue;
        }
        while (std::abs(other - alike) > 1) {
            const std::int64_t middle = alike + (other - alike) / 2;
            (answerAt(middle) == answer ? alike : other) = middle;
        }
        break;
    }
    return alike;
}

// The offset of the standard time that comes next in a direction, or none within some years.
std::optional<int> standardOffset(std::int64_t moment, std::int64_t step)
{
    for (int stretch = 0; stretch < 10; ++stretch) {
        const Answer answer = answerAt(moment);
        if (!answer.daylight) {
            return answer.offset;
        }
        moment = std::clamp(lastAlike(moment, step) + (step > 0 ? 1 : -1), firstMoment, lastMoment);
    }
    return std::nullopt;
}

// Of a moment with daylight-saving time. A zone may also have changed its standard time just before or just
// after; the smaller share is then the true one.
int daylightShare(std::int64_t moment)
{
    const int offset = answerAt(moment).offset;
    const std::optional<int> before = standardOffset(moment, -probeStep);
    const std::optional<int> after = standardOffset(moment, probeStep);
    if (!before && !after) {
        return usualDaylightShare;
    }
    const int shareBefore = offset - (before ? *before : *after);
    const int shareAfter = offset - (after ? *after : *before);
    return std::abs(shareAfter) < std::abs(shareBefore) ? shareAfter : shareBefore;
}

} // namespace

int NPSystemTimeZoneLinux::secondsFromGMT(QXDate at) const
{
    return _stretchAt(momentFromDate(at)).offset;
}

int NPSystemTimeZoneLinux::daylightSavingTimeOffset(QXDate at) const
{
    const std::int64_t moment = momentFromDate(at);
    Stretch& stretch = _stretchAt(moment);
    if (!stretch.daylightShare) {
        stretch.daylightShare = stretch.daylight ? daylightShare(moment) : 0;
    }
    return *stretch.daylightShare;
}

void NPSystemTimeZoneLinux::forgetAnswers()
{
    _stretches = {};
}

NPSystemTimeZoneLinux::Stretch& NPSystemTimeZoneLinux::_stretchAt(std::int64_t moment) const
{
    for (std::size_t i = 0; i < _stretches.size(); ++i) {
        const std::size_t index = (_latest + i) % _stretches.size();
        if (moment >= _stretches[index].begin && moment < _stretches[index].end) {
            _latest = index;
            return _stretches[index];
        }
    }
    _latest = (_latest + 1) % _stretches.size();
    const Answer answer = answerAt(moment);
    _stretches[_latest] = {lastAlike(moment, -probeStep), lastAlike(moment, probeStep) + 1, answer.offset,
                           answer.daylight, std::nullopt};
    return _stretches[_latest];
}
