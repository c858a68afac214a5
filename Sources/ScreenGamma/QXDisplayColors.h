// The colours of a display, and a colour profile made from them alone: for displays that have none.
#pragma once

#include "ScreenGamma/QXColorProfile.h"

#include <optional>

// A colour without its brightness, as CIE 1931 x and y.
struct QXChromaticity {
    double x = 0.0;
    double y = 0.0;
};

struct QXDisplayColors {
    QXChromaticity red;
    QXChromaticity green;
    QXChromaticity blue;
    QXChromaticity white;
    std::optional<double> gamma; // of all three channels; none: sRGB's curve
};

inline constexpr QXDisplayColors QXStandardColors{{0.64, 0.33}, {0.30, 0.60}, {0.15, 0.06}, {0.3127, 0.3290}, {}};

// A version 2 profile, with that description, of a display that mixes its three colours. It has no "vcgt" and
// no location. None for colours that cannot be mixed to white, or a gamma outside 1 to 4.
std::optional<QXColorProfile> QXColorProfileForDisplay(const QXDisplayColors& colors, const char* description);
