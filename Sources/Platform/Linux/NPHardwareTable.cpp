#include "Platform/Linux/NPHardwareTable.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr float fullScale = 65535.0F;
constexpr double fullScaleDouble = 65535.0;

// Where position `index` of `count` evenly spaced ones lies among the samples of a channel, and what is
// there: the whole part is found with integers, so that the ends and all common points are met exactly.
template<typename Sample>
double interpolated(std::span<const Sample> channel, std::size_t index, std::size_t count)
{
    if (count < 2 || channel.size() < 2) {
        return static_cast<double>(channel.front());
    }
    const std::size_t scaled = index * (channel.size() - 1);
    const std::size_t whole = scaled / (count - 1);
    const std::size_t rest = scaled % (count - 1);
    const auto left = static_cast<double>(channel[whole]);
    if (rest == 0) {
        return left;
    }
    const double fraction = static_cast<double>(rest) / static_cast<double>(count - 1);
    return left + (static_cast<double>(channel[whole + 1]) - left) * fraction;
}

std::uint16_t hardwareSample(float value)
{
    const float clamped = value > 0.0F ? std::min(value, 1.0F) : 0.0F;
    // One single-precision product, as for the tables in colour profiles. The sum in double precision is exact.
    return static_cast<std::uint16_t>(static_cast<double>(clamped * fullScale) + 0.5);
}

void fillChannel(std::span<const float> source, std::span<std::uint16_t> channel)
{
    if (source.size() == channel.size()) {
        std::ranges::transform(source, channel.begin(), hardwareSample);
        return;
    }
    for (std::size_t i = 0; i < channel.size(); ++i) {
        channel[i] = hardwareSample(static_cast<float>(interpolated(source, i, channel.size())));
    }
}

} // namespace

NPHardwareTable NPHardwareTableIdentity(std::size_t size)
{
    static constexpr std::array<std::uint16_t, 6> ends = {0, 65535, 0, 65535, 0, 65535};
    NPHardwareTable smallest(2);
    std::ranges::copy(ends, smallest.samples().begin());
    return NPHardwareTableResized(smallest, size);
}

bool NPHardwareTableShowsPicture(const NPHardwareTable& table)
{
    for (std::size_t i = 0; i < NPHardwareTable::channelCount; ++i) {
        const auto channel = table.channel(i);
        if (std::ranges::adjacent_find(channel, std::ranges::not_equal_to()) != channel.end()) {
            return true;
        }
    }
    return false;
}

NPHardwareTable NPHardwareTableResized(const NPHardwareTable& table, std::size_t size)
{
    NPHardwareTable resized(size);
    for (std::size_t i = 0; i < NPHardwareTable::channelCount; ++i) {
        const auto source = table.channel(i);
        const auto channel = resized.channel(i);
        for (std::size_t k = 0; k < size; ++k) {
            channel[k] = static_cast<std::uint16_t>(std::floor(interpolated(source, k, size) + 0.5));
        }
    }
    return resized;
}

QXGammaTable NPGammaTableFromHardwareTable(const NPHardwareTable& table)
{
    QXGammaTable record;
    if (table.size() < NPHardwareTable::minimumSize) {
        return record;
    }
    record.sampleCount = QXGammaTableCapacity;
    const std::array channels{&record.redTable, &record.greenTable, &record.blueTable};
    for (std::size_t i = 0; i < channels.size(); ++i) {
        const auto source = table.channel(i);
        for (std::size_t k = 0; k < QXGammaTableCapacity; ++k) {
            // The quotient of single precision: the double one is rounded once more, to the same value.
            const double value = interpolated(source, k, QXGammaTableCapacity);
            (*channels[i])[k] = static_cast<float>(value / fullScaleDouble);
        }
    }
    return record;
}

void NPHardwareTableFill(const QXGammaTable& record, NPHardwareTable& table)
{
    if (record.sampleCount == 0) {
        return;
    }
    fillChannel(std::span(record.redTable).first(record.sampleCount), table.channel(0));
    fillChannel(std::span(record.greenTable).first(record.sampleCount), table.channel(1));
    fillChannel(std::span(record.blueTable).first(record.sampleCount), table.channel(2));
}
