#include "Interface/QXTemplateImage.h"

#include <QFile>
#include <QIconEngine>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <algorithm>
#include <memory>

namespace {

// Panels may take a large image and make it smaller: the contour has to be wide enough to survive that.
int contourWidth(const QSize& size)
{
    constexpr int sidesPerWidth = 20;
    return std::max(1, std::min(size.width(), size.height()) / sidesPerWidth);
}

class TemplateEngine final : public QIconEngine {
public:
    TemplateEngine(std::shared_ptr<QSvgRenderer> drawing, QColor ink, bool hasContour)
        : _drawing(std::move(drawing)), _ink(std::move(ink)), _hasContour(hasContour)
    {
    }

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override
    {
        painter->drawPixmap(rect, pixmap(rect.size(), mode, state));
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State) override
    {
        const QImage shape = _filled(size, _ink);
        QImage image(size, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setOpacity(mode == QIcon::Disabled ? 0.4 : 1.0);
        if (_hasContour) {
            _drawContour(painter, size);
        }
        painter.drawImage(0, 0, shape);
        painter.end();
        return QPixmap::fromImage(image);
    }

    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override
    {
        return {{16, 16}, {22, 22}, {24, 24}, {32, 32}, {48, 48}, {64, 64}};
    }

    QIconEngine* clone() const override { return new TemplateEngine(_drawing, _ink, _hasContour); }

private:
    QImage _filled(const QSize& size, const QColor& color) const
    {
        QImage image(size, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        const int side = std::min(size.width(), size.height());
        QRectF square((size.width() - side) / 2, (size.height() - side) / 2, side, side);
        if (_hasContour) {
            const double width = contourWidth(size);
            square.adjust(width, width, -width, -width);
        }
        QPainter painter(&image);
        _drawing->render(&painter, square);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(image.rect(), color);
        return image;
    }

    void _drawContour(QPainter& painter, const QSize& size) const
    {
        const QImage shadow = _filled(size, QXInkOnGround(_ink));
        // Edges seldom lie on whole pixels; together, all directions cover what each of them covers in part.
        const int width = contourWidth(size);
        for (int x = -width; x <= width; ++x) {
            for (int y = -width; y <= width; ++y) {
                painter.drawImage(x, y, shadow);
            }
        }
    }

    const std::shared_ptr<QSvgRenderer> _drawing;
    const QColor _ink;
    const bool _hasContour;
};

} // namespace

QColor QXInkOnGround(const QColor& ground)
{
    return qGray(ground.rgb()) < 140 ? QColor(0xf2, 0xf2, 0xf2) : QColor(0x24, 0x24, 0x24);
}

QIcon QXTemplateIcon(const QString& name, const QColor& ink, bool hasContour)
{
    const QString path = QStringLiteral(":/Images/") + name + QStringLiteral(".svg");
    if (!QFile::exists(path)) {
        return {};
    }
    return QIcon(new TemplateEngine(std::make_shared<QSvgRenderer>(path), ink, hasContour));
}
