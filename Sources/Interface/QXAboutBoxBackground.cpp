#include "Interface/QXAboutBoxBackground.h"

#include "Shell/QXAboutBoxText.h"

#include <QEvent>
#include <QLinearGradient>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QWindow>

#include <cmath>

namespace {

QColor tint()
{
    const QXColor color = QXAboutBoxBackgroundTint();
    return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                            static_cast<float>(color.blue), static_cast<float>(color.alpha));
}

// So much of the second colour in the first.
QColor blended(const QColor& first, float fraction, const QColor& second)
{
    const auto mixed = [fraction](float one, float other) { return one * (1.0F - fraction) + other * fraction; };
    return QColor::fromRgbF(mixed(first.redF(), second.redF()), mixed(first.greenF(), second.greenF()),
                            mixed(first.blueF(), second.blueF()), mixed(first.alphaF(), second.alphaF()));
}

} // namespace

QXAboutBoxBackground::QXAboutBoxBackground(QWidget* parent) : QWidget(parent)
{
    setAttribute(Qt::WA_OpaquePaintEvent, isOpaque());
}

bool QXAboutBoxBackground::isDark() const
{
    return palette().color(QPalette::Window).lightnessF() < palette().color(QPalette::WindowText).lightnessF();
}

void QXAboutBoxBackground::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    if (isActiveWindow()) {
        // Clear is black without any opacity, so the dark tint's half way is darker as well as thinner.
        const QColor top = isDark() ? blended(tint(), 0.5F, QColor(0, 0, 0, 0)) : QColor(Qt::white);
        const QColor bottom = isDark() ? QColor(0, 0, 0, 0) : tint();
        QLinearGradient gradient(0.0, 0.0, 0.0, height());
        gradient.setColorAt(0.0, top);
        gradient.setColorAt(1.0, bottom);
        painter.fillRect(rect(), gradient);
    } else if (!isDark()) {
        painter.fillRect(event->rect(), blended(tint(), 0.3F, Qt::white));
    }
}

void QXAboutBoxBackground::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::ActivationChange || event->type() == QEvent::PaletteChange) {
        setAttribute(Qt::WA_OpaquePaintEvent, isOpaque());
        update();
    }
}

void QXAboutBoxBackground::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && window()->windowHandle() != nullptr) {
        window()->windowHandle()->startSystemMove();
    }
}
