#include "Interface/QXContrastStyle.h"

#include <QApplication>
#include <QPainter>
#include <QStyleOption>

namespace {

constexpr float outlineStrength = 0.5F;
constexpr float outlineStrengthDisabled = 0.3F;

bool isDark(const QPalette& palette)
{
    return palette.color(QPalette::Window).lightnessF() < palette.color(QPalette::WindowText).lightnessF();
}

} // namespace

QXContrastStyle::QXContrastStyle() : QProxyStyle(QStringLiteral("Fusion")) {}

void QXContrastStyle::install()
{
    if (QApplication::style()->name() == QLatin1String("fusion")) {
        QApplication::setStyle(new QXContrastStyle());
    }
}

void QXContrastStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                                    const QWidget* widget) const
{
    QProxyStyle::drawPrimitive(element, option, painter, widget);
    if (element != PE_IndicatorCheckBox || !isDark(option->palette)) {
        return;
    }
    QColor outline = option->palette.color(QPalette::WindowText);
    outline.setAlphaF((option->state & State_Enabled) != 0 ? outlineStrength : outlineStrengthDisabled);
    painter->save();
    painter->setPen(outline);
    painter->setBrush(Qt::NoBrush);
    painter->drawRect(option->rect.adjusted(0, 0, -1, -1));
    painter->restore();
}
