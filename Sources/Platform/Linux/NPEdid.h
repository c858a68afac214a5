// What a display says of itself: the parts of its EDID block that tell which display it is.
#pragma once

#include "ScreenGamma/QXDisplayColors.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>

struct NPEdid {
    // Vendor, product and serial number as eight raw bytes, followed by the serial number in words where the
    // display gives one (many leave the number at 0 and print the words on their back). Never empty.
    std::string identity;

    std::string monitorName; // for people; empty when the display gives none
};

// The display's colours and gamma, as its maker states them. None for data that is no whole EDID block.
std::optional<QXDisplayColors> NPEdidColors(std::span<const std::uint8_t> data);

// None for data that is no whole EDID block with a correct checksum, and for one that names neither vendor,
// product nor serial: neither can tell two displays apart, and a damaged block may read differently the
// next time.
std::optional<NPEdid> NPEdidParse(std::span<const std::uint8_t> data);
