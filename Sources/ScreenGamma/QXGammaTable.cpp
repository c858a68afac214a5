#include "ScreenGamma/QXGammaTable.h"

#include <algorithm>
#include <span>
#include <utility>

namespace {

std::span<float> samples(QXGammaTable::Channel& channel, std::uint32_t count)
{
    return std::span(channel).first(count);
}

std::array<std::span<float>, 3> channels(QXGammaTable& table)
{
    return {samples(table.redTable, table.sampleCount), samples(table.greenTable, table.sampleCount),
            samples(table.blueTable, table.sampleCount)};
}

// weightedTarget is the single-precision product of weight and target.
float blended(float weightedTarget, float weight, float sample)
{
    const double kept = 1.0 - static_cast<double>(weight);
    return static_cast<float>(static_cast<double>(weightedTarget) + kept * static_cast<double>(sample));
}

void mixChannel(std::span<float> destination, const QXGammaTable::Channel& source, float weight)
{
    for (std::size_t i = 0; i < destination.size(); ++i) {
        const float weighted = weight * source[i];
        destination[i] = blended(weighted, weight, destination[i]);
    }
}

void scaleChannel(std::span<float> channel, float minimum, float maximum)
{
    const float range = maximum - minimum;
    for (float& sample : channel) {
        sample = sample * range + minimum;
    }
}

} // namespace

QXGammaTable QXGammaTableIdentity(std::uint32_t sampleCount)
{
    QXGammaTable table;
    table.sampleCount = sampleCount;
    for (std::uint32_t i = 1; i < sampleCount; ++i) {
        table.redTable[i] = static_cast<float>(i) / static_cast<float>(sampleCount - 1);
    }
    table.greenTable = table.redTable;
    table.blueTable = table.redTable;
    return table;
}

bool QXGammaTableEqual(const QXGammaTable& left, const QXGammaTable& right)
{
    const auto same = [&](const QXGammaTable::Channel& one, const QXGammaTable::Channel& other) {
        return std::equal(one.begin(), one.begin() + left.sampleCount, other.begin());
    };
    return left.sampleCount == right.sampleCount && same(left.redTable, right.redTable)
           && same(left.greenTable, right.greenTable) && same(left.blueTable, right.blueTable);
}

void QXGammaTableMixWithValue(QXGammaTable& table, float target, float weight)
{
    QXGammaTableMixWithValues({target, target, target}, {weight, weight, weight}, table);
}

void QXGammaTableMixWithValues(const QXGammaTriple& targets, const QXGammaTriple& weights, QXGammaTable& table)
{
    const auto all = channels(table);
    for (std::size_t channel = 0; channel < all.size(); ++channel) {
        const float weighted = weights[channel] * targets[channel];
        for (float& sample : all[channel]) {
            sample = blended(weighted, weights[channel], sample);
        }
    }
}

void QXGammaTableMixWithTable(const QXGammaTable& source, QXGammaTable& destination, float weight)
{
    QXGammaTableMixWithTableWeights(source, {weight, weight, weight}, destination);
}

void QXGammaTableMixWithTableWeights(const QXGammaTable& source, const QXGammaTriple& weights,
                                     QXGammaTable& destination)
{
    const auto all = channels(destination);
    mixChannel(all[0], source.redTable, weights[0]);
    mixChannel(all[1], source.greenTable, weights[1]);
    mixChannel(all[2], source.blueTable, weights[2]);
}

void QXGammaTableScaleToRange(QXGammaTable& table, float minimum, float maximum)
{
    QXGammaTableScaleToRanges({minimum, minimum, minimum}, {maximum, maximum, maximum}, table);
}

void QXGammaTableScaleToRanges(const QXGammaTriple& minima, const QXGammaTriple& maxima, QXGammaTable& table)
{
    const auto all = channels(table);
    scaleChannel(all[0], minima[0], maxima[0]);
    scaleChannel(all[1], minima[1], maxima[1]);
    scaleChannel(all[2], minima[1], maxima[1]); // green's pair, on purpose: kept as it has always been
}

void QXGammaTableClipToOne(QXGammaTable& table)
{
    for (const std::span<float> channel : channels(table)) {
        for (float& sample : channel) {
            if (sample > 1.0F) {
                sample = 1.0F;
            }
        }
    }
}

void QXGammaTableClamp(QXGammaTable& table)
{
    for (const std::span<float> channel : channels(table)) {
        for (float& sample : channel) {
            sample = sample > 0.0F ? std::min(sample, 1.0F) : 0.0F;
        }
    }
}

void QXGammaTableReverse(QXGammaTable& table)
{
    for (const std::span<float> channel : channels(table)) {
        std::ranges::reverse(channel);
    }
}
