#include "Pictures/NPDrawing.h"
#include "Pictures/NPTestPhotograph.h"

#include <array>
#include <numbers>

namespace {

struct Fruit {
    double x; // from the sill's left, of the fruit's middle
    double radius;
    NPColor light;
    NPColor body;
    NPColor shade;
};

struct Face {
    NPColor light;
    NPColor skin;
    NPColor shade;
    NPColor hair;
    NPColor clothes;
    NPColor wall;
};

void drawWood(cairo_t* context, const NPArea& sill)
{
    NPSetLinearGradient(context, 0.0, sill.y, 0.0, sill.y + sill.height,
                        {{0.0, 0xB98A5C}, {0.1, 0x9A6B41}, {1.0, 0x4A2E1B}});
    NPFillRectangle(context, sill.x, sill.y, sill.width, sill.height);
    for (int i = 0; i < 9; ++i) { // the grain
        const double y = sill.y + 8.0 + static_cast<double>(i) * 8.4;
        const double bend = static_cast<double>(i * 37 % 11) - 5.0;
        cairo_move_to(context, sill.x, y);
        cairo_curve_to(context, sill.x + sill.width * 0.3, y + bend, sill.x + sill.width * 0.6, y - bend,
                       sill.x + sill.width, y + bend * 0.5);
        NPSetColor(context, 0x2E1B0F, 0.22);
        cairo_set_line_width(context, 1.0);
        cairo_stroke(context);
    }
}

void drawShadow(cairo_t* context, double x, double y, double radius)
{
    cairo_save(context);
    cairo_translate(context, x, y);
    cairo_scale(context, 1.0, 0.22);
    NPSetRadialGradient(context, 0.0, 0.0, radius,
                        {{0.0, 0x140A04, 0.75}, {0.6, 0x140A04, 0.45}, {1.0, 0x140A04, 0.0}});
    NPFillEllipse(context, 0.0, 0.0, radius, radius);
    cairo_restore(context);
}

// The light comes from the window, behind and to the right.
void drawFruit(cairo_t* context, const Fruit& fruit, double foot)
{
    const double y = foot - fruit.radius * 0.94;
    const double r = fruit.radius;
    drawShadow(context, fruit.x - r * 0.25, foot, r * 1.5);
    cairo_pattern_t* const shading =
        cairo_pattern_create_radial(fruit.x + r * 0.35, y - r * 0.45, r * 0.05, fruit.x - r * 0.05, y, r * 1.12);
    const std::array<NPColor, 4> colors{0xFFFFFF, fruit.light, fruit.body, fruit.shade};
    constexpr std::array<double, 4> offsets{0.0, 0.14, 0.55, 1.0};
    for (std::size_t i = 0; i < colors.size(); ++i) {
        const NPColor color = colors[i];
        cairo_pattern_add_color_stop_rgb(shading, offsets[i], static_cast<double>(color >> 16 & 0xFF) / 255.0,
                                         static_cast<double>(color >> 8 & 0xFF) / 255.0,
                                         static_cast<double>(color & 0xFF) / 255.0);
    }
    cairo_set_source(context, shading);
    cairo_pattern_destroy(shading);
    NPFillEllipse(context, fruit.x, y, r, r * 0.95);
    NPSetColor(context, 0x3A2413); // the stalk
    cairo_set_line_width(context, 2.2);
    cairo_set_line_cap(context, CAIRO_LINE_CAP_ROUND);
    cairo_move_to(context, fruit.x, y - r * 0.86);
    cairo_rel_curve_to(context, 0.0, -r * 0.15, r * 0.05, -r * 0.25, r * 0.14, -r * 0.3);
    cairo_stroke(context);
}

void drawFeatures(cairo_t* context, const Face& face, double x, double y)
{
    NPSetColor(context, 0x2A1A14);
    NPFillEllipse(context, x - 6.2, y - 1.5, 1.5, 1.9);
    NPFillEllipse(context, x + 6.2, y - 1.5, 1.5, 1.9);
    cairo_set_line_width(context, 1.2);
    cairo_set_line_cap(context, CAIRO_LINE_CAP_ROUND);
    for (const double side : {-6.2, 6.2}) {
        cairo_move_to(context, x + side - 3.0, y - 6.0);
        cairo_rel_curve_to(context, 1.5, -1.6, 4.5, -1.6, 6.0, 0.0);
    }
    NPSetColor(context, face.hair);
    cairo_stroke(context);
    cairo_move_to(context, x + 0.6, y);
    cairo_rel_line_to(context, 1.2, 5.0);
    cairo_rel_line_to(context, -2.2, 0.4);
    NPSetColor(context, face.shade);
    cairo_stroke(context);
    cairo_move_to(context, x - 4.6, y + 9.2);
    cairo_rel_curve_to(context, 2.4, 2.8, 6.8, 2.8, 9.2, 0.0);
    NPSetColor(context, 0x9C4A44);
    cairo_set_line_width(context, 1.6);
    cairo_stroke(context);
}

void drawHead(cairo_t* context, const Face& face, double x, double y)
{
    NPSetColor(context, face.hair);
    NPFillEllipse(context, x, y - 5.0, 18.5, 19.0);
    NPSetColor(context, face.clothes);
    NPFillEllipse(context, x, y + 41.0, 27.0, 18.0);
    NPSetLinearGradient(context, x - 6.0, 0.0, x + 6.0, 0.0, {{0.0, face.shade}, {1.0, face.skin}});
    NPFillRectangle(context, x - 6.0, y + 12.0, 12.0, 14.0);
    NPSetRadialGradient(context, x + 5.0, y - 5.0, 27.0,
                        {{0.0, face.light}, {0.55, face.skin}, {1.0, face.shade}});
    NPFillEllipse(context, x, y + 1.0, 14.5, 17.5);
    NPSetColor(context, face.hair); // the fringe
    cairo_arc(context, x, y - 4.0, 15.0, std::numbers::pi, 2.0 * std::numbers::pi);
    cairo_curve_to(context, x + 9.0, y - 11.0, x - 2.0, y - 8.0, x - 15.0, y - 4.0);
    cairo_fill(context);
    drawFeatures(context, face, x, y + 2.0);
}

// A photograph in a frame that stands on the sill.
void drawFrame(cairo_t* context, const Face& face, double x, double foot)
{
    constexpr double width = 78.0;
    constexpr double height = 98.0;
    drawShadow(context, x + width * 0.5, foot, width * 0.75);
    NPSetLinearGradient(context, x, 0.0, x + width, 0.0, {{0.0, 0x6A4A22}, {0.5, 0xC59A52}, {1.0, 0xEBCB8B}});
    NPFillRectangle(context, x, foot - height, width, height);
    NPSetColor(context, 0xF6F1E6);
    NPFillRectangle(context, x + 6.0, foot - height + 6.0, width - 12.0, height - 12.0);
    cairo_save(context);
    cairo_rectangle(context, x + 11.0, foot - height + 11.0, width - 22.0, height - 22.0);
    cairo_clip(context);
    NPSetColor(context, face.wall);
    cairo_paint(context);
    drawHead(context, face, x + width * 0.5, foot - height + 42.0);
    cairo_restore(context);
}

} // namespace

void NPDrawTestStillLife(cairo_t* context, const NPArea& area)
{
    constexpr std::array<Fruit, 5> fruits{{{322.0, 30.0, 0xFFC66B, 0xF08A1D, 0x8E3E06},
                                           {388.0, 29.0, 0xFF8A7A, 0xC8201F, 0x4F0508},
                                           {354.0, 24.0, 0xFFF59A, 0xF2D21E, 0x8C6A05},
                                           {446.0, 27.0, 0xD6F08A, 0x7DAE2C, 0x274A0B},
                                           {490.0, 19.0, 0xA98BD8, 0x533089, 0x1A0B33}}};
    constexpr std::array<Face, 3> faces{{{0xFBDDC5, 0xEDBE9C, 0xC08A68, 0x6B3F1E, 0x3F6C8E, 0xBFD0C8},
                                         {0xDBA57A, 0xC08457, 0x8A5836, 0x1E1512, 0xB5523A, 0xD9CBB0},
                                         {0x9C6B4A, 0x764A31, 0x47291A, 0x120D0B, 0xD8B23E, 0xA9BBD2}}};
    drawWood(context, area);
    double x = area.x + 24.0;
    double foot = area.y + 34.0;
    for (const Face& face : faces) {
        drawFrame(context, face, x, foot);
        x += 86.0;
        foot += 4.0;
    }
    for (Fruit fruit : fruits) {
        fruit.x += area.x;
        drawFruit(context, fruit, area.y + (fruit.radius < 25.0 ? 58.0 : 40.0));
    }
}
