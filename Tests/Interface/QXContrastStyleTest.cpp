#include "Interface/QXContrastStyle.h"

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QStyleFactory>

#include <algorithm>
#include <cmath>
#include <memory>

namespace {

// As accessibility guidelines measure it: 1 for the same color, 21 for black on white.
double contrast(const QColor& one, const QColor& other)
{
    const auto luminance = [](const QColor& color) {
        const auto linear = [](double value) {
            return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * linear(static_cast<double>(color.redF()))
               + 0.7152 * linear(static_cast<double>(color.greenF()))
               + 0.0722 * linear(static_cast<double>(color.blueF())) + 0.05;
    };
    const auto [least, most] = std::minmax({luminance(one), luminance(other)});
    return most / least;
}

// What is left of the box on its middle line, and the box's outline there.
double contrastOfOutline(const QColor& ground, const QColor& text)
{
    QXContrastStyle style;
    QPalette palette(ground);
    palette.setColor(QPalette::WindowText, text);
    QCheckBox box;
    box.setStyle(&style);
    box.setPalette(palette);
    box.resize(box.sizeHint());
    const QImage image = box.grab().toImage();
    const int middle = image.height() / 2;
    double most = 1.0;
    for (int x = 0; x < 3; ++x) {
        most = std::max(most, contrast(image.pixelColor(x, middle), image.pixelColor(image.width() - 1, 0)));
    }
    return most;
}

} // namespace

TEST(QXContrastStyle, DrawsBoxesThatAreSeenInTheDark)
{
    EXPECT_GE(contrastOfOutline(QColor(0x2b, 0x2d, 0x30), QColor(0xe6, 0xe6, 0xe6)), 3.0);
    EXPECT_GE(contrastOfOutline(QColor(0x10, 0x10, 0x10), QColor(0xff, 0xff, 0xff)), 3.0);
}

TEST(QXContrastStyle, LeavesTheLightAsItIs)
{
    const std::unique_ptr<QStyle> fusion(QStyleFactory::create("Fusion"));
    const auto picture = [](QStyle& style) {
        QCheckBox box;
        box.setStyle(&style);
        box.setPalette(QPalette(QColor(0xef, 0xef, 0xef)));
        box.resize(box.sizeHint());
        return box.grab().toImage();
    };
    QXContrastStyle style;
    EXPECT_EQ(picture(style), picture(*fusion));
}
