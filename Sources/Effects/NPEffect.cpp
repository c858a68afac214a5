#include "Effects/NPEffect.h"

#include "Foundation/QXAssert.h"

void NPEffect::applyEffectOnGammaCurve(QXGammaTable&) const {}

void NPEffect::applyEffectOnGammaCurve(QXGammaTable& table, double) const
{
    applyEffectOnGammaCurve(table);
}

bool NPEffect::isSelected() const
{
    return infoSource().boolForKey(name());
}

void NPEffect::setSelected(bool selected)
{
    infoSource().setBool(selected, name());
}

double NPEffect::animationTimeInterval(QXDate now) const
{
    return QXDistantFuture.timeIntervalSince(now);
}

NPEffectInfoSource& NPEffect::infoSource() const
{
    QXAssert(_infoSource != nullptr, "_infoSource");
    return *_infoSource;
}
