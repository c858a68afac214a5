#include "Pictures/NPTestPhotograph.h"

#include "Pictures/NPDrawing.h"

#include <array>
#include <cmath>

namespace {

// A line of hills: its height above the lake along x, made of three waves.
struct Ridge {
    double base;
    double amplitude;
    double wavelength;
    double phase;
    NPColor top;
    NPColor bottom;
};

double ridgeHeight(const Ridge& ridge, double x)
{
    const double t = x / ridge.wavelength + ridge.phase;
    const double waves = 0.6 * std::sin(t) + 0.28 * std::sin(2.3 * t + 1.7) + 0.12 * std::sin(6.1 * t);
    return ridge.base + ridge.amplitude * waves;
}

void drawSky(cairo_t* context, const NPArea& area, double shore)
{
    NPSetLinearGradient(context, 0.0, area.y, 0.0, shore,
                        {{0.0, 0x2B4C8C}, {0.35, 0x5F92CB}, {0.7, 0xF0C9A0}, {1.0, 0xFFF0D2}});
    NPFillRectangle(context, area.x, area.y, area.width, shore - area.y);
}

// The disc is plain white, and so is the middle of the glow: what a camera cannot hold.
void drawSun(cairo_t* context, double x, double y)
{
    NPSetRadialGradient(
        context, x, y, 190.0,
        {{0.0, 0xFFFFFF, 1.0}, {0.16, 0xFFFDF2, 0.95}, {0.3, 0xFFEFC8, 0.6}, {1.0, 0xFFDDA0, 0.0}});
    NPFillEllipse(context, x, y, 190.0, 190.0);
    NPSetColor(context, 0xFFFFFF);
    NPFillEllipse(context, x, y, 26.0, 26.0);
}

void drawCloud(cairo_t* context, double x, double y, double scale)
{
    struct Puff {
        double x;
        double y;
        double radius;
    };
    constexpr std::array<Puff, 7> puffs{{{-62.0, 8.0, 26.0},
                                         {-34.0, -4.0, 34.0},
                                         {0.0, -14.0, 42.0},
                                         {36.0, -4.0, 36.0},
                                         {66.0, 8.0, 24.0},
                                         {18.0, 10.0, 30.0},
                                         {-20.0, 11.0, 28.0}}};
    cairo_save(context);
    cairo_translate(context, x, y);
    cairo_scale(context, scale, scale * 0.7);
    for (const Puff& puff : puffs) {
        NPSetRadialGradient(
            context, puff.x, puff.y, puff.radius,
            {{0.0, 0xFFFFFF, 0.8}, {0.45, 0xFFFCF6, 0.5}, {0.78, 0xFFF6EA, 0.14}, {1.0, 0xFFF0E0, 0.0}});
        NPFillEllipse(context, puff.x, puff.y, puff.radius, puff.radius);
    }
    cairo_restore(context);
}

void drawRidge(cairo_t* context, const NPArea& area, double shore, const Ridge& ridge)
{
    const double top = shore - ridge.base - ridge.amplitude;
    NPSetLinearGradient(context, 0.0, top, 0.0, shore, {{0.0, ridge.top}, {1.0, ridge.bottom}});
    cairo_move_to(context, area.x, shore);
    for (double x = 0.0; x <= area.width; x += 2.0) {
        cairo_line_to(context, area.x + x, shore - ridgeHeight(ridge, x));
    }
    cairo_line_to(context, area.x + area.width, shore);
    cairo_close_path(context);
    cairo_fill(context);
}

void drawLake(cairo_t* context, const NPArea& area, double shore, double sunX)
{
    const double depth = area.y + area.height - shore;
    NPSetLinearGradient(context, 0.0, shore, 0.0, shore + depth,
                        {{0.0, 0xE9CBA6}, {0.25, 0x8FB0CB}, {1.0, 0x27497A}});
    NPFillRectangle(context, area.x, shore, area.width, depth);
    for (int i = 0; i < 26; ++i) { // the sun's way on the water, wider and sparser toward the viewer
        const double part = static_cast<double>(i) / 26.0;
        const double y = shore + 2.0 + part * part * (depth - 8.0);
        const double half = 12.0 + 46.0 * part + 10.0 * std::sin(static_cast<double>(i) * 2.4);
        const double x = sunX + 9.0 * std::sin(static_cast<double>(i) * 1.7) * part;
        NPSetLinearGradient(context, x - half, 0.0, x + half, 0.0,
                            {{0.0, 0xFFF6DE, 0.0}, {0.5, 0xFFFBF0, 0.9 - 0.5 * part}, {1.0, 0xFFF6DE, 0.0}});
        NPFillRectangle(context, x - half, y, 2.0 * half, 1.2 + 1.8 * part);
    }
}

void drawPine(cairo_t* context, double x, double foot, double height)
{
    NPSetLinearGradient(context, x - height * 0.2, 0.0, x + height * 0.2, 0.0, {{0.0, 0x0C1A14}, {1.0, 0x24402B}});
    for (int tier = 0; tier < 5; ++tier) {
        const double step = static_cast<double>(tier);
        const double top = foot - height + step * height * 0.16;
        const double half = height * (0.07 + 0.035 * step);
        cairo_move_to(context, x, top);
        cairo_line_to(context, x + half, top + height * 0.3);
        cairo_line_to(context, x - half, top + height * 0.3);
        cairo_close_path(context);
    }
    cairo_rectangle(context, x - height * 0.02, foot - height * 0.08, height * 0.04, height * 0.08);
    cairo_fill(context);
}

void drawPines(cairo_t* context, const NPArea& area, double foot)
{
    struct Pine {
        double x;
        double height;
    };
    constexpr std::array<Pine, 11> pines{{{14.0, 128.0},
                                          {46.0, 164.0},
                                          {82.0, 118.0},
                                          {112.0, 88.0},
                                          {140.0, 60.0},
                                          {562.0, 62.0},
                                          {586.0, 94.0},
                                          {612.0, 132.0},
                                          {634.0, 106.0},
                                          {30.0, 84.0},
                                          {600.0, 66.0}}};
    for (const Pine& pine : pines) {
        drawPine(context, area.x + pine.x, foot, pine.height);
    }
}

} // namespace

void NPDrawTestView(cairo_t* context, const NPArea& area)
{
    constexpr std::array<Ridge, 3> ridges{{{78.0, 52.0, 66.0, 0.4, 0x8098BE, 0xC9C2C8},
                                           {46.0, 34.0, 46.0, 2.1, 0x56759A, 0x8C9DAE},
                                           {20.0, 20.0, 58.0, 4.4, 0x33584E, 0x4A6B58}}};
    const double shore = area.y + area.height * 0.6;
    const double sunX = area.x + area.width * 0.68;
    cairo_save(context);
    cairo_rectangle(context, area.x, area.y, area.width, area.height);
    cairo_clip(context);
    drawSky(context, area, shore);
    drawSun(context, sunX, area.y + area.height * 0.23);
    drawCloud(context, area.x + 150.0, area.y + 74.0, 1.05);
    drawCloud(context, area.x + 320.0, area.y + 42.0, 0.6);
    drawCloud(context, area.x + 565.0, area.y + 120.0, 0.7);
    for (const Ridge& ridge : ridges) {
        drawRidge(context, area, shore, ridge);
    }
    drawLake(context, area, shore, sunX);
    drawPines(context, area, area.y + area.height * 0.83);
    NPDrawTestStillLife(context, {area.x, area.y + area.height * 0.81, area.width, area.height * 0.19});
    cairo_restore(context);
}

NPPicture NPTestPhotograph()
{
    NPPicture picture(NPTestPhotographWidth, NPTestPhotographHeight);
    NPDrawTestView(picture.context(), {0.0, 0.0, 640.0, 424.0});
    NPDrawTestPage(picture.context(), {640.0, 0.0, 320.0, 424.0});
    NPDrawTestChart(picture.context(), {0.0, 424.0, 960.0, 176.0});
    return picture;
}
