#include "Pictures/NPDrawing.h"
#include "Pictures/NPTestPhotograph.h"

#include <array>

namespace {

constexpr double margin = 24.0;
constexpr NPColor caption = 0xB9BDC4;

NPColor gray(int value)
{
    return static_cast<NPColor>(value) * 0x010101U;
}

void drawCaption(cairo_t* context, const char* text, double x, double y)
{
    NPSetColor(context, caption);
    NPDrawText(context, text, x, y, 10.5);
}

void drawBars(cairo_t* context, const NPArea& area)
{
    constexpr std::array<NPColor, 14> colors{0xFFFFFF, 0xFFFF00, 0x00FFFF, 0x00FF00, 0xFF00FF, 0xFF0000, 0x0000FF,
                                             0xF2CDB4, 0xD9A07C, 0xB07A52, 0x7C4F35, 0x4E3023, 0x808080, 0x000000};
    const double width = area.width / static_cast<double>(colors.size());
    cairo_save(context);
    cairo_set_antialias(context, CAIRO_ANTIALIAS_NONE); // no seams between the colours
    for (std::size_t i = 0; i < colors.size(); ++i) {
        NPSetColor(context, colors[i]);
        NPFillRectangle(context, area.x + static_cast<double>(i) * width, area.y, width, area.height);
    }
    cairo_restore(context);
}

// Every one of the 256 greys above, sixteen steps of them below.
void drawRamp(cairo_t* context, const NPArea& area)
{
    cairo_save(context);
    cairo_set_antialias(context, CAIRO_ANTIALIAS_NONE);
    for (int value = 0; value < 256; ++value) {
        NPSetColor(context, gray(value));
        const double width = area.width / 256.0;
        NPFillRectangle(context, area.x + value * width, area.y, width, area.height * 0.5);
    }
    for (int step = 0; step < 16; ++step) {
        NPSetColor(context, gray(step * 17));
        const double width = area.width / 16.0;
        NPFillRectangle(context, area.x + step * width, area.y + area.height * 0.5, width, area.height * 0.5);
    }
    cairo_restore(context);
}

// White with stripes that are darker by more and more: what overexposed areas of a video look like when
// they are marked, and what vanishes when the table clips the highlights.
void drawHighlights(cairo_t* context, const NPArea& area)
{
    constexpr std::array<int, 8> values{253, 250, 246, 241, 235, 228, 220, 210};
    constexpr double gap = 8.0;
    const double width = (area.width + gap) / static_cast<double>(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double x = area.x + static_cast<double>(i) * width;
        cairo_save(context);
        cairo_rectangle(context, x, area.y, width - gap, area.height);
        cairo_clip(context);
        NPSetColor(context, 0xFFFFFF);
        cairo_paint(context);
        NPSetColor(context, gray(values[i]));
        cairo_set_line_width(context, 4.0);
        for (double start = -area.height; start < width; start += 11.0) {
            cairo_move_to(context, x + start, area.y + area.height);
            cairo_rel_line_to(context, area.height, -area.height);
        }
        cairo_stroke(context);
        cairo_restore(context);
    }
}

} // namespace

void NPDrawTestChart(cairo_t* context, const NPArea& area)
{
    NPSetColor(context, 0x1B1D21);
    NPFillRectangle(context, area.x, area.y, area.width, area.height);
    const double left = area.x + margin;
    const double width = area.width - 2.0 * margin;
    drawCaption(context, "colours and skin", left, area.y + 17.0);
    drawBars(context, {left, area.y + 22.0, width, 32.0});
    drawCaption(context, "black to white", left, area.y + 72.0);
    drawRamp(context, {left, area.y + 77.0, width, 40.0});
    drawCaption(context, "highlights", left, area.y + 135.0);
    drawHighlights(context, {left, area.y + 140.0, width, 24.0});
}
