#include "Pictures/NPCurvePlot.h"

#include "Pictures/NPDrawing.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <string>
#include <vector>

namespace {

constexpr int width = 720;
constexpr int height = 640;
constexpr double plotLeft = 76.0;
constexpr double plotTop = 96.0;
constexpr double plotWidth = 600.0;
constexpr double plotHeight = 400.0;

constexpr NPColor ink = 0x2B2F36;
constexpr NPColor quiet = 0x7C828C;

// A curve on the plot, of one channel or of several that are alike.
struct Curve {
    const QXGammaTable::Channel* samples;
    NPColor color;
    const char* name;
};

// Closer than the plot can show.
bool alike(const QXGammaTable::Channel& one, const QXGammaTable::Channel& other)
{
    return std::ranges::equal(one, other, [](float a, float b) { return std::abs(a - b) < 0.001F; });
}

std::vector<Curve> curves(const QXGammaTable& table)
{
    const Curve red{&table.redTable, 0xC8342B, "red"};
    const Curve green{&table.greenTable, 0x2E8B47, "green"};
    const Curve blue{&table.blueTable, 0x2A62C4, "blue"};
    const bool redGreen = alike(table.redTable, table.greenTable);
    const bool greenBlue = alike(table.greenTable, table.blueTable);
    if (redGreen && greenBlue) {
        return {{red.samples, 0x3A3F47, "red, green and blue"}};
    }
    if (redGreen) {
        return {{red.samples, 0xA88413, "red and green"}, blue};
    }
    if (greenBlue) {
        return {red, {green.samples, 0x1B8A8F, "green and blue"}};
    }
    if (alike(table.redTable, table.blueTable)) {
        return {{red.samples, 0x9038A8, "red and blue"}, green};
    }
    return {red, green, blue};
}

double plotX(double input)
{
    return plotLeft + input * plotWidth;
}

double plotY(double output)
{
    return plotTop + (1.0 - output) * plotHeight;
}

// A line of one pixel lies between the pixels' edges.
double sharp(double position)
{
    return static_cast<double>(static_cast<int>(position)) + 0.5;
}

void drawLine(cairo_t* context, double x0, double y0, double x1, double y1)
{
    cairo_move_to(context, x0, y0);
    cairo_line_to(context, x1, y1);
    cairo_stroke(context);
}

void drawLabel(cairo_t* context, const char* text, double x, double y, NPAlignment alignment)
{
    NPSetColor(context, quiet);
    NPDrawText(context, text, x, y, 12.0, NPTypeface::sans, alignment);
}

void drawGrid(cairo_t* context)
{
    constexpr std::array<const char*, 5> labels{"0", "0.25", "0.5", "0.75", "1"};
    cairo_set_line_width(context, 1.0);
    for (std::size_t i = 0; i < labels.size(); ++i) {
        const double value = static_cast<double>(i) / 4.0;
        NPSetColor(context, i == 0 ? 0x9AA0A8 : 0xE1E4E8);
        drawLine(context, plotX(0.0), sharp(plotY(value)), plotX(1.0), sharp(plotY(value)));
        drawLine(context, sharp(plotX(value)), plotY(0.0), sharp(plotX(value)), plotY(1.0));
        drawLabel(context, labels[i], plotLeft - 10.0, plotY(value) + 4.0, NPAlignment::right);
        drawLabel(context, labels[i], plotX(value), plotY(0.0) + 20.0, NPAlignment::center);
    }
    constexpr std::array<double, 2> dashes{4.0, 4.0};
    cairo_set_dash(context, dashes.data(), static_cast<int>(dashes.size()), 0.0);
    NPSetColor(context, 0xB4B9C0);
    drawLine(context, plotX(0.0), plotY(0.0), plotX(1.0), plotY(1.0));
    cairo_set_dash(context, nullptr, 0, 0.0);
}

void drawAxisNames(cairo_t* context)
{
    drawLabel(context, "value asked for", plotX(0.5), plotY(0.0) + 42.0, NPAlignment::center);
    cairo_save(context);
    cairo_translate(context, plotLeft - 52.0, plotY(0.5));
    cairo_rotate(context, -std::numbers::pi / 2.0);
    drawLabel(context, "value given", 0.0, 0.0, NPAlignment::center);
    cairo_restore(context);
}

void drawCurve(cairo_t* context, const Curve& curve)
{
    for (std::size_t i = 0; i < curve.samples->size(); ++i) {
        const double input = static_cast<double>(i) / 255.0;
        cairo_line_to(context, plotX(input), plotY(static_cast<double>((*curve.samples)[i])));
    }
    NPSetColor(context, curve.color);
    cairo_set_line_width(context, 2.4);
    cairo_set_line_join(context, CAIRO_LINE_JOIN_ROUND);
    cairo_stroke(context);
}

void drawKey(cairo_t* context, const std::vector<Curve>& shown)
{
    double x = plotLeft;
    cairo_set_line_width(context, 3.0);
    for (const Curve& curve : shown) {
        NPSetColor(context, curve.color);
        drawLine(context, x, 66.0, x + 22.0, 66.0);
        NPSetColor(context, ink);
        NPDrawText(context, curve.name, x + 30.0, 70.0, 12.5);
        x += 52.0 + 7.5 * static_cast<double>(std::string_view(curve.name).size());
    }
}

NPPicture rampThrough(const QXGammaTable* table)
{
    NPPicture ramp(static_cast<int>(plotWidth), 18);
    for (int x = 0; x < ramp.width(); ++x) {
        const int value = x * 256 / ramp.width();
        NPSetColor(ramp.context(), static_cast<NPColor>(value) * 0x010101U);
        NPFillRectangle(ramp.context(), x, 0.0, 1.0, ramp.height());
    }
    if (table != nullptr) {
        ramp.applyTable(*table);
    }
    return ramp;
}

void drawRamp(cairo_t* context, const NPPicture& ramp, const char* name, double y)
{
    cairo_set_source_surface(context, cairo_get_target(ramp.context()), plotLeft, y);
    NPFillRectangle(context, plotLeft, y, plotWidth, ramp.height());
    NPSetColor(context, 0xC4C8CE);
    cairo_set_line_width(context, 1.0);
    cairo_rectangle(context, plotLeft - 0.5, y - 0.5, plotWidth + 1.0, ramp.height() + 1.0);
    cairo_stroke(context);
    drawLabel(context, name, plotLeft - 10.0, y + 13.0, NPAlignment::right);
}

} // namespace

NPPicture NPCurvePlot(const QXGammaTable& table, std::string_view title)
{
    NPPicture picture(width, height);
    cairo_t* const context = picture.context();
    NPSetColor(context, 0xFFFFFF);
    cairo_paint(context);
    NPSetColor(context, ink);
    NPDrawText(context, NPFittedText(context, title, 20.0, NPTypeface::sansBold, plotWidth), plotLeft, 44.0, 20.0,
               NPTypeface::sansBold);
    drawGrid(context);
    drawAxisNames(context);
    const std::vector<Curve> shown = curves(table);
    for (const Curve& curve : shown) {
        drawCurve(context, curve);
    }
    drawKey(context, shown);
    drawRamp(context, rampThrough(nullptr), "before", 564.0);
    drawRamp(context, rampThrough(&table), "after", 590.0);
    return picture;
}
