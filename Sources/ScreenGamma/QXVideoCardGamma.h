// The "vcgt" tag of ICC profiles: the table that the display is to load with the profile, as samples or as a
// formula. These are the services that a platform's colour management offers for it.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

// Tables of a vcgt tag: 3 × count values, nominally 0 to 1: all of red, then green, then blue.
struct QXDisplayTransferTables {
    std::vector<float> values;
    std::size_t count = 0;
};

// The table form, of one channel (which then serves all three) or three, with entries of 8 or 16 bits.
// Tables of more than 256 entries are common: they come out resampled to 256 by linear interpolation, the
// first and last entry exactly as they are. None for anything else.
std::optional<QXDisplayTransferTables> QXDisplayTransferTablesFromVCGT(std::span<const std::uint8_t> tag);

struct QXDisplayTransferFormula {
    double minimum = 0.0;
    double maximum = 1.0;
    double gamma = 1.0;
};
using QXDisplayTransferFormulas = std::array<QXDisplayTransferFormula, 3>; // red, green, blue

// The formula form: overwrites the formulas with the tag's. A tag with one channel serves all three. False,
// and nothing overwritten, for anything else.
bool QXDisplayTransferFormulaFromVCGT(std::span<const std::uint8_t> tag, QXDisplayTransferFormulas& formulas);
