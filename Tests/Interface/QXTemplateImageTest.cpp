#include "Interface/QXTemplateImage.h"

#include <gtest/gtest.h>

#include <QPainter>

namespace {

// How many pixels of an image are the colour, about, and hardly transparent.
int pixelsOf(const QImage& image, const QColor& color)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            count += pixel.alpha() > 200 && qAbs(qGray(pixel.rgb()) - qGray(color.rgb())) < 16 ? 1 : 0;
        }
    }
    return count;
}

// How many pixels are much lighter or darker than a ground that the image is laid on.
int pixelsThatStandOut(const QPixmap& pixmap, const QColor& ground)
{
    constexpr int strong = 110;
    QImage image(pixmap.size(), QImage::Format_RGB32);
    image.fill(ground);
    QPainter(&image).drawPixmap(0, 0, pixmap);
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            count += qAbs(qGray(image.pixel(x, y)) - qGray(ground.rgb())) > strong ? 1 : 0;
        }
    }
    return count;
}

} // namespace

TEST(QXTemplateImage, StandsOutFromItsGround)
{
    EXPECT_GT(qGray(QXInkOnGround(Qt::black).rgb()), 200);
    EXPECT_LT(qGray(QXInkOnGround(Qt::white).rgb()), 60);
}

TEST(QXTemplateImage, IsDrawnInTheInkAlone)
{
    for (const int side : {16, 22, 32, 48, 96}) {
        const QImage image = QXTemplateIcon("NPStatusActiveTemplate", Qt::red, false).pixmap(side, side).toImage();
        EXPECT_EQ(image.width(), side);
        EXPECT_GT(pixelsOf(image, Qt::red), side * side / 4);
        for (int x = 0; x < side; ++x) {
            const QColor pixel = image.pixelColor(x, side / 2);
            EXPECT_EQ(pixel.green(), 0);
        }
    }
}

TEST(QXTemplateImage, TellsOnFromOff)
{
    const QImage on = QXTemplateIcon("NPStatusActiveTemplate", Qt::black, false).pixmap(22, 22).toImage();
    const QImage off = QXTemplateIcon("NPStatusTemplate", Qt::black, false).pixmap(22, 22).toImage();
    EXPECT_GT(pixelsOf(on, Qt::black), pixelsOf(off, Qt::black) + 50);
}

// The panels of StatusNotifier hosts have a colour that nobody tells.
TEST(QXTemplateImage, WithItsContourStandsOutFromAnyGround)
{
    for (const char* const name : {"NPStatusActiveTemplate", "NPStatusTemplate"}) {
        for (const QColor& ink : {QXInkOnGround(Qt::black), QXInkOnGround(Qt::white)}) {
            for (const int side : {16, 20, 22, 24, 32, 48}) {
                const QIcon icon = QXTemplateIcon(QString::fromLatin1(name), ink, true);
                // Panels may scale a large one down.
                const QPixmap image = side == 20 ? icon.pixmap(64, 64).scaled(20, 20, Qt::IgnoreAspectRatio,
                                                                              Qt::SmoothTransformation)
                                                 : icon.pixmap(side, side);
                for (const QColor& ground : {QColor(0x20, 0x20, 0x20), QColor(0xf4, 0xf4, 0xf4)}) {
                    EXPECT_GT(pixelsThatStandOut(image, ground), 3 * side)
                        << name << " in " << ink.name().toStdString() << " on " << ground.name().toStdString()
                        << " of " << side;
                }
            }
        }
    }
}

TEST(QXTemplateImage, IsNullForAnotherName)
{
    EXPECT_TRUE(QXTemplateIcon("NoSuchTemplate", Qt::black, false).isNull());
}
