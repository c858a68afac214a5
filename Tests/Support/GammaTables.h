// Tables for tests: making them, and comparing them to the last bit.
#pragma once

#include "ScreenGamma/QXGammaTable.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <string>

inline std::uint32_t bitsOf(float value)
{
    return std::bit_cast<std::uint32_t>(value);
}

inline float floatOf(std::uint32_t bits)
{
    return std::bit_cast<float>(bits);
}

// Every entry of the record, those after sampleCount included, has its channel's value.
inline QXGammaTable flatTable(float red, float green, float blue, std::uint32_t sampleCount = 256)
{
    QXGammaTable table;
    table.redTable.fill(red);
    table.greenTable.fill(green);
    table.blueTable.fill(blue);
    table.sampleCount = sampleCount;
    return table;
}

inline QXGammaTable flatTable(float value, std::uint32_t sampleCount = 256)
{
    return flatTable(value, value, value, sampleCount);
}

// The neutral table with every sample scaled in single precision.
inline QXGammaTable scaledTable(float factor, std::uint32_t sampleCount = 256)
{
    QXGammaTable table = QXGammaTableIdentity(sampleCount);
    for (QXGammaTable::Channel* channel : {&table.redTable, &table.greenTable, &table.blueTable}) {
        for (float& sample : *channel) {
            sample *= factor;
        }
    }
    return table;
}

// Whether two channels are the same bits from one entry on up to another; says where they are not.
inline testing::AssertionResult sameBits(const QXGammaTable::Channel& one, const QXGammaTable::Channel& other,
                                         std::size_t begin, std::size_t end)
{
    for (std::size_t i = begin; i < end; ++i) {
        if (bitsOf(one[i]) != bitsOf(other[i])) {
            return testing::AssertionFailure() << "entry " << i << ": " << one[i] << " and " << other[i];
        }
    }
    return testing::AssertionSuccess();
}

inline testing::AssertionResult sameEntries(const QXGammaTable& one, const QXGammaTable& other, std::size_t begin,
                                            std::size_t end)
{
    const auto red = sameBits(one.redTable, other.redTable, begin, end);
    const auto green = sameBits(one.greenTable, other.greenTable, begin, end);
    return !red ? red : !green ? green : sameBits(one.blueTable, other.blueTable, begin, end);
}

// The whole records, also what lies after their samples.
inline testing::AssertionResult sameRecord(const QXGammaTable& one, const QXGammaTable& other)
{
    if (one.sampleCount != other.sampleCount) {
        return testing::AssertionFailure() << one.sampleCount << " and " << other.sampleCount << " samples";
    }
    return sameEntries(one, other, 0, QXGammaTableCapacity);
}

// The counts and the samples.
inline testing::AssertionResult sameTable(const QXGammaTable& one, const QXGammaTable& other)
{
    if (one.sampleCount != other.sampleCount) {
        return testing::AssertionFailure() << one.sampleCount << " and " << other.sampleCount << " samples";
    }
    return sameEntries(one, other, 0, one.sampleCount);
}
