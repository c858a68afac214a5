// The five kinds of effect. A group has one of each and applies those that are selected, in the ascending
// order of their priority, each to the result of the one before.
#pragma once

#include "Effects/NPEffect.h"

// Settings keys of the kinds' parameters.
inline constexpr std::string_view NPDimLevelKey = "DimLevel";
inline constexpr std::string_view NPColorFilterHueKey = "ColorFilterHue";
inline constexpr std::string_view NPColorFilterVividnessKey = "ColorFilterVividness";

// Mirrors the table: black becomes white.
class NPInvertEffect final : public NPEffect {
public:
    using NPEffect::applyEffectOnGammaCurve;
    using NPEffect::NPEffect;
    std::string_view name() const override { return "InvertScreen"; }
    std::string localizedShortDescription() const override;
    int priority() const override { return 10; }
    void applyEffectOnGammaCurve(QXGammaTable& table) const override;
};

// Hides the stripes of overexposed areas: moves every sample 10 % away from the table's dark end, so that
// the brightest positions merge at 1.
class NPHideStripesEffect final : public NPEffect {
public:
    using NPEffect::applyEffectOnGammaCurve;
    using NPEffect::NPEffect;
    std::string_view name() const override { return "Overexposure"; }
    std::string localizedShortDescription() const override;
    int priority() const override { return 13; }
    void applyEffectOnGammaCurve(QXGammaTable& table) const override;
};

class NPDimEffect final : public NPEffect {
public:
    using NPEffect::applyEffectOnGammaCurve;
    using NPEffect::NPEffect;
    std::string_view name() const override { return "Dim"; }
    std::string localizedShortDescription() const override;
    int priority() const override { return 20; }
    void applyEffectOnGammaCurve(QXGammaTable& table) const override;

    // 0 unless the flag is set. Below 0: every sample is scaled by 1 + level. Selected only below 0.
    float level() const;
    void setLevel(float level); // sets the flag to (level < 0), then stores the level
    bool isSelected() const override;
};

class NPColorFilterEffect final : public NPEffect {
public:
    using NPEffect::applyEffectOnGammaCurve;
    using NPEffect::NPEffect;
    std::string_view name() const override { return "ColorFilter"; }
    std::string localizedShortDescription() const override;
    int priority() const override { return 30; }
    void applyEffectOnGammaCurve(QXGammaTable& table) const override;

    // In degrees; 30 while nothing at all is stored.
    float hue() const;
    void setHue(float hue);

    // 0 unless the flag is set; 1 takes a channel that the hue does not contain away whole. Selected only
    // above 0.
    float vividness() const;
    void setVividness(float vividness); // sets the flag to (vividness ≠ 0), then stores it
    bool isSelected() const override;

    // How much of a channel the hue lets through, 0 to 1. The phase is 0 for red, 1/3 for green and 2/3 for
    // blue, in single precision.
    static float colorAmmountForHue(float hue, float phase);
};

// Maps the full range to the HDTV luminance range, 16/255 to 235/255.
class NPHDTVLuminanceEffect final : public NPEffect {
public:
    using NPEffect::applyEffectOnGammaCurve;
    using NPEffect::NPEffect;
    std::string_view name() const override { return "HDTVLuminance"; }
    std::string localizedShortDescription() const override;
    int priority() const override { return 40; }
    void applyEffectOnGammaCurve(QXGammaTable& table) const override;
};
