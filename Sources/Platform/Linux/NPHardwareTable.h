// A gamma table as the hardware has it: any number of 16-bit samples a channel, and the way between it and
// the record of at most 256 floating-point samples.
#pragma once

#include "ScreenGamma/QXGammaTable.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

class NPHardwareTable {
public:
    static constexpr std::size_t channelCount = 3;
    static constexpr std::size_t minimumSize = 2; // below it there is no curve, and the table cannot be used

    NPHardwareTable() = default;
    explicit NPHardwareTable(std::size_t size) : _samples(channelCount * size) {} // every sample 0

    std::size_t size() const { return _samples.size() / channelCount; } // samples in each channel

    // The channels one behind the other: red, green, blue.
    std::span<std::uint16_t> samples() { return _samples; }
    std::span<const std::uint16_t> samples() const { return _samples; }

    std::span<std::uint16_t> channel(std::size_t index) { return samples().subspan(index * size(), size()); }
    std::span<const std::uint16_t> channel(std::size_t index) const
    {
        return samples().subspan(index * size(), size());
    }

    bool operator==(const NPHardwareTable& other) const = default;

private:
    std::vector<std::uint16_t> _samples;
};

// The neutral table: every channel rises evenly from 0 to 65535.
NPHardwareTable NPHardwareTableIdentity(std::size_t size);

// Whether something can be told apart through the table: at least one channel is not constant. A display
// whose table nobody has set yet may hold zeros throughout; taken for its own table, it would stay dark.
bool NPHardwareTableShowsPicture(const NPHardwareTable& table);

// The table with another number of samples, interpolated linearly; the ends stay exact.
NPHardwareTable NPHardwareTableResized(const NPHardwareTable& table, std::size_t size);

// The hardware's table as a record of 256 samples, value / 65535; interpolated linearly unless the hardware
// has 256 as well. A table that is too small gives an empty record.
QXGammaTable NPGammaTableFromHardwareTable(const NPHardwareTable& table);

// Fills a table of the hardware's size from a record, the product with 65535 rounded to the nearest integer,
// halves upwards; interpolated linearly unless the sizes agree. Samples outside 0..1 are clamped, and
// not-a-number is 0. An empty record changes nothing.
void NPHardwareTableFill(const QXGammaTable& record, NPHardwareTable& table);
