#include "Pictures/NPDrawing.h"

#include <numbers>

namespace {

double channel(NPColor color, unsigned shift)
{
    return static_cast<double>(color >> shift & 0xFF) / 255.0;
}

void setGradient(cairo_t* context, cairo_pattern_t* gradient, std::initializer_list<NPColorStop> stops)
{
    for (const NPColorStop& stop : stops) {
        cairo_pattern_add_color_stop_rgba(gradient, stop.offset, channel(stop.color, 16), channel(stop.color, 8),
                                          channel(stop.color, 0), stop.alpha);
    }
    cairo_set_source(context, gradient);
    cairo_pattern_destroy(gradient); // the context holds it now
}

void selectFont(cairo_t* context, NPTypeface face, double size)
{
    const bool serif = face == NPTypeface::serif || face == NPTypeface::serifBold;
    const bool bold = face == NPTypeface::sansBold || face == NPTypeface::serifBold;
    cairo_select_font_face(context, serif ? "serif" : "sans-serif", CAIRO_FONT_SLANT_NORMAL,
                           bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(context, size);
}

double textWidth(cairo_t* context, const std::string& text)
{
    cairo_text_extents_t extents;
    cairo_text_extents(context, text.c_str(), &extents);
    return extents.x_advance;
}

bool continuesCharacter(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

} // namespace

void NPSetColor(cairo_t* context, NPColor color, double alpha)
{
    cairo_set_source_rgba(context, channel(color, 16), channel(color, 8), channel(color, 0), alpha);
}

void NPSetLinearGradient(cairo_t* context, double x0, double y0, double x1, double y1,
                         std::initializer_list<NPColorStop> stops)
{
    setGradient(context, cairo_pattern_create_linear(x0, y0, x1, y1), stops);
}

void NPSetRadialGradient(cairo_t* context, double x, double y, double radius,
                         std::initializer_list<NPColorStop> stops)
{
    setGradient(context, cairo_pattern_create_radial(x, y, 0.0, x, y, radius), stops);
}

void NPFillRectangle(cairo_t* context, double x, double y, double width, double height)
{
    cairo_rectangle(context, x, y, width, height);
    cairo_fill(context);
}

void NPFillEllipse(cairo_t* context, double x, double y, double radiusX, double radiusY)
{
    cairo_save(context);
    cairo_translate(context, x, y);
    cairo_scale(context, radiusX, radiusY);
    cairo_arc(context, 0.0, 0.0, 1.0, 0.0, 2.0 * std::numbers::pi);
    cairo_restore(context);
    cairo_fill(context);
}

void NPFillRoundedRectangle(cairo_t* context, double x, double y, double width, double height, double radius)
{
    constexpr double quarter = std::numbers::pi / 2.0;
    cairo_new_sub_path(context);
    cairo_arc(context, x + width - radius, y + radius, radius, -quarter, 0.0);
    cairo_arc(context, x + width - radius, y + height - radius, radius, 0.0, quarter);
    cairo_arc(context, x + radius, y + height - radius, radius, quarter, 2.0 * quarter);
    cairo_arc(context, x + radius, y + radius, radius, 2.0 * quarter, 3.0 * quarter);
    cairo_close_path(context);
    cairo_fill(context);
}

void NPDrawText(cairo_t* context, std::string_view text, double x, double y, double size, NPTypeface face,
                NPAlignment alignment)
{
    const std::string line(text);
    selectFont(context, face, size);
    double left = x;
    if (alignment != NPAlignment::left) {
        left -= textWidth(context, line) * (alignment == NPAlignment::center ? 0.5 : 1.0);
    }
    cairo_move_to(context, left, y);
    cairo_show_text(context, line.c_str());
    cairo_new_path(context);
}

std::string NPFittedText(cairo_t* context, std::string_view text, double size, NPTypeface face, double width)
{
    selectFont(context, face, size);
    std::string whole(text);
    if (textWidth(context, whole) <= width) {
        return whole;
    }
    std::string fitted = whole;
    while (!fitted.empty() && textWidth(context, fitted + "…") > width) {
        while (fitted.size() > 1 && continuesCharacter(fitted.back())) {
            fitted.pop_back();
        }
        fitted.pop_back();
    }
    return fitted + "…";
}
