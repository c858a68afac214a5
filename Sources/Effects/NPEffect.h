// One transformation of the transfer table. The kinds derive from it.
#pragma once

#include "Effects/NPEffectInfoSource.h"
#include "ScreenGamma/QXGammaTable.h"

#include <compare>
#include <string>
#include <string_view>

// Declared for effects, but nothing posts it: what changes in an effect is announced by its group.
inline constexpr std::string_view NPEffectDidChangeNotification = "NPEffectDidChangeNotification";

// An effect has no state of its own: whether it is selected and all its parameters live in the settings of
// its group, which owns it and outlives it.
class NPEffect {
public:
    explicit NPEffect(NPEffectInfoSource* infoSource) : _infoSource(infoSource) {}
    virtual ~NPEffect() = default;
    NPEffect(const NPEffect&) = delete;
    NPEffect& operator=(const NPEffect&) = delete;

    // Also the settings key of the selected flag.
    virtual std::string_view name() const { return "NPEffect"; }
    virtual std::string localizedShortDescription() const { return std::string(name()); }

    // Transforms the table in place.
    virtual void applyEffectOnGammaCurve(QXGammaTable& table) const;
    virtual void applyEffectOnGammaCurve(QXGammaTable& table, double atTime) const;

    // Lower runs first.
    virtual int priority() const { return 0; }
    std::strong_ordering priorityCompare(const NPEffect& other) const { return priority() <=> other.priority(); }

    virtual bool isSelected() const;
    virtual void setSelected(bool selected);

    // Seconds from `now` until the effect wants to be applied anew: practically never, no kind is animated.
    virtual double animationTimeInterval(QXDate now) const;

protected:
    // Stops the program when the effect has none: an effect cannot work without its group.
    NPEffectInfoSource& infoSource() const;

private:
    NPEffectInfoSource* _infoSource;
};
