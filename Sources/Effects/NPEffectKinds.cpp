#include "Effects/NPEffectKinds.h"

#include "Foundation/QXString.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float greenPhase = 0.33333334F;
constexpr float bluePhase = 0.6666667F;
constexpr float hideStripesWeight = -0.1F;
constexpr float hdtvBlack = 16.0F / 255.0F;
constexpr float hdtvWhite = 235.0F / 255.0F;

} // namespace

std::string NPInvertEffect::localizedShortDescription() const
{
    return QXLocalizedString("Invert");
}

void NPInvertEffect::applyEffectOnGammaCurve(QXGammaTable& table) const
{
    QXGammaTableReverse(table);
}

std::string NPHideStripesEffect::localizedShortDescription() const
{
    return QXLocalizedString("Overexposure");
}

// The table's dark end is judged by its first samples, read even when there are none: a mirrored table
// begins bright, and then the samples move away from 1 instead of from 0. The order of the samples stays.
void NPHideStripesEffect::applyEffectOnGammaCurve(QXGammaTable& table) const
{
    const float firstSamples = table.redTable[0] + table.greenTable[0] + table.blueTable[0];
    const float target = firstSamples < 1.5F ? 0.0F : 1.0F; // not a number counts as bright
    QXGammaTableMixWithValue(table, target, hideStripesWeight);
    QXGammaTableClipToOne(table);
}

std::string NPDimEffect::localizedShortDescription() const
{
    return QXLocalizedString("Dim");
}

void NPDimEffect::applyEffectOnGammaCurve(QXGammaTable& table) const
{
    const float current = level();
    if (current > 0.0F) { // toward white; a group never selects this, but the effect alone can be asked
        QXGammaTableMixWithValue(table, 1.0F, current);
    } else {
        QXGammaTableMixWithValue(table, 0.0F, -current);
    }
}

float NPDimEffect::level() const
{
    return NPEffect::isSelected() ? infoSource().floatForKey(NPDimLevelKey) : 0.0F;
}

void NPDimEffect::setLevel(float level)
{
    setSelected(level < 0.0F);
    infoSource().setFloat(level, NPDimLevelKey);
}

bool NPDimEffect::isSelected() const
{
    return level() < 0.0F;
}

std::string NPColorFilterEffect::localizedShortDescription() const
{
    return QXLocalizedString("Tint");
}

void NPColorFilterEffect::applyEffectOnGammaCurve(QXGammaTable& table) const
{
    const float currentHue = hue();
    const float currentVividness = vividness();
    const auto weight = [&](float phase) {
        return (1.0F - colorAmmountForHue(currentHue, phase)) * currentVividness;
    };
    QXGammaTableMixWithValues({0.0F, 0.0F, 0.0F}, {weight(0.0F), weight(greenPhase), weight(bluePhase)}, table);
}

// A value of a wrong type counts as stored and reads 0: only a missing one gives the default.
float NPColorFilterEffect::hue() const
{
    return infoSource().objectForKey(NPColorFilterHueKey) ? infoSource().floatForKey(NPColorFilterHueKey) : 30.0F;
}

void NPColorFilterEffect::setHue(float hue)
{
    infoSource().setFloat(hue, NPColorFilterHueKey);
}

float NPColorFilterEffect::vividness() const
{
    return NPEffect::isSelected() ? infoSource().floatForKey(NPColorFilterVividnessKey) : 0.0F;
}

void NPColorFilterEffect::setVividness(float vividness)
{
    setSelected(vividness != 0.0F); // true for not a number as well
    infoSource().setFloat(vividness, NPColorFilterVividnessKey);
}

bool NPColorFilterEffect::isSelected() const
{
    return vividness() > 0.0F;
}

float NPColorFilterEffect::colorAmmountForHue(float hue, float phase)
{
    const double turns = static_cast<double>(hue) * 0.002777777777777778 - static_cast<double>(phase);
    const double amount = std::cos(6.283185307179586 * turns) + 0.5;
    return static_cast<float>(std::max(0.0, std::min(1.0, amount)));
}

std::string NPHDTVLuminanceEffect::localizedShortDescription() const
{
    return QXLocalizedString("HDTV Lum.");
}

void NPHDTVLuminanceEffect::applyEffectOnGammaCurve(QXGammaTable& table) const
{
    QXGammaTableScaleToRange(table, hdtvBlack, hdtvWhite);
}
