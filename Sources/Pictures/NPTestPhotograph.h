// The picture that shows what an effect does.
//
// It is drawn by the program, the same each time, and has what effects change differently: a sky of soft
// gradients with a sun that is overexposed, fruit in saturated colours, faces, deep shadows, a page of black
// text on white, colour bars, a grey ramp, and stripes that are hardly darker than white.
#pragma once

#include "Pictures/NPPicture.h"

inline constexpr int NPTestPhotographWidth = 960;
inline constexpr int NPTestPhotographHeight = 600;

NPPicture NPTestPhotograph();

// Its parts, each into the given rectangle.
struct NPArea {
    double x;
    double y;
    double width;
    double height;
};
void NPDrawTestView(cairo_t* context, const NPArea& area);  // out of a window, with what lies on its sill
void NPDrawTestStillLife(cairo_t* context, const NPArea& area); // the sill
void NPDrawTestPage(cairo_t* context, const NPArea& area);  // text
void NPDrawTestChart(cairo_t* context, const NPArea& area); // bars, ramp and highlights
