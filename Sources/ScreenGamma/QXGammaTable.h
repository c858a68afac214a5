// The colour transfer (gamma) table of a display, and the arithmetic that every effect is made of.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

inline constexpr std::size_t QXGammaTableCapacity = 256;

// Sample i of a channel is the output intensity, nominally 0 to 1, for input position i of `sampleCount`
// evenly spaced positions; a neutral table rises from 0 to 1. Only the first `sampleCount` entries mean
// anything; no function here touches the others, and a table with sampleCount 0 is "empty": it stays as it
// is and is never written to a display. Samples may lie outside 0..1; whoever writes a table clamps it.
// A plain value: copied whole, held on the stack, handed to the display services without allocation.
struct QXGammaTable {
    using Channel = std::array<float, QXGammaTableCapacity>;

    Channel redTable{};
    Channel greenTable{};
    Channel blueTable{};
    std::uint32_t sampleCount = 0; // 0 to 256; producers guarantee it, nobody here checks
};

// The neutral table: sample i is i / (sampleCount - 1); a single sample is 0.
QXGammaTable QXGammaTableIdentity(std::uint32_t sampleCount = QXGammaTableCapacity);

// Whether the counts and the meaningful samples are the same, bit for bit in value (NaN differs).
bool QXGammaTableEqual(const QXGammaTable& left, const QXGammaTable& right);

// Three values, one a channel, in the order red, green, blue.
using QXGammaTriple = std::array<float, 3>;

// Blending, x := w·t + (1 − w)·x. The product w·t is formed in single precision and widened; (1 − w), its
// product with x and the sum are formed in double precision; the result is stored in single precision. The
// weight is not limited to 0..1: a negative one pushes samples away from the target, 1 replaces them.
void QXGammaTableMixWithValue(QXGammaTable& table, float target, float weight);
void QXGammaTableMixWithValues(const QXGammaTriple& targets, const QXGammaTriple& weights, QXGammaTable& table);

// The same with the source's sample at the same index as the target. The destination is modified, and its
// sampleCount alone decides how many entries are.
void QXGammaTableMixWithTable(const QXGammaTable& source, QXGammaTable& destination, float weight);
void QXGammaTableMixWithTableWeights(const QXGammaTable& source, const QXGammaTriple& weights,
                                     QXGammaTable& destination);

// Scaling, x := x·(M − m) + m, wholly in single precision. In the form with three pairs the blue channel
// uses the second pair, green's; the third is not looked at.
void QXGammaTableScaleToRange(QXGammaTable& table, float minimum, float maximum);
void QXGammaTableScaleToRanges(const QXGammaTriple& minima, const QXGammaTriple& maxima, QXGammaTable& table);

// Samples above 1 become 1. There is no lower clamp: negative samples and not-a-number stay.
void QXGammaTableClipToOne(QXGammaTable& table);

// Brings every sample into [0, 1] for writing: negative samples, −0 and not-a-number become +0.
void QXGammaTableClamp(QXGammaTable& table);

// Mirrors each channel: sample i and sample n − 1 − i change places. Below 2 samples nothing changes.
void QXGammaTableReverse(QXGammaTable& table);
