// Short forms of what the pictures draw again and again. Colours are 0xRRGGBB.
#pragma once

#include <cairo.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

using NPColor = std::uint32_t;

void NPSetColor(cairo_t* context, NPColor color, double alpha = 1.0);

struct NPColorStop {
    double offset; // 0 to 1 along the gradient
    NPColor color;
    double alpha = 1.0;
};

// Make the gradient the source, from one point to another, or from a centre outward.
void NPSetLinearGradient(cairo_t* context, double x0, double y0, double x1, double y1,
                         std::initializer_list<NPColorStop> stops);
void NPSetRadialGradient(cairo_t* context, double x, double y, double radius,
                         std::initializer_list<NPColorStop> stops);

// Fill with the source.
void NPFillRectangle(cairo_t* context, double x, double y, double width, double height);
void NPFillRoundedRectangle(cairo_t* context, double x, double y, double width, double height, double radius);
void NPFillEllipse(cairo_t* context, double x, double y, double radiusX, double radiusY);

enum class NPTypeface { sans, sansBold, serif, serifBold };
enum class NPAlignment { left, center, right };

// One line of text with its baseline at y, in the source.
void NPDrawText(cairo_t* context, std::string_view text, double x, double y, double size,
                NPTypeface face = NPTypeface::sans, NPAlignment alignment = NPAlignment::left);

// The text if it is at most that wide, else as much of it as fits, with an ellipsis.
std::string NPFittedText(cairo_t* context, std::string_view text, double size, NPTypeface face, double width);
