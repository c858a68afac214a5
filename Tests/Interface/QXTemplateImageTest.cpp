#include "Interface/QXTemplateImage.h"

#include <gtest/gtest.h>

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

TEST(QXTemplateImage, HasAContourOfTheOppositeColour)
{
    const QImage image = QXTemplateIcon("NPStatusActiveTemplate", Qt::white, true).pixmap(32, 32).toImage();
    bool hasDark = false;
    for (int x = 0; x < 32; ++x) {
        const QColor pixel = image.pixelColor(x, 16);
        hasDark = hasDark || (pixel.alpha() > 40 && qGray(pixel.rgb()) < 80);
    }
    EXPECT_TRUE(hasDark);
}

TEST(QXTemplateImage, IsNullForAnotherName)
{
    EXPECT_TRUE(QXTemplateIcon("NoSuchTemplate", Qt::black, false).isNull());
}
