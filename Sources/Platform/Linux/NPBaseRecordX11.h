// The record of a CRTC's own gamma table, kept in the X server while the CRTC shows another one.
//
// It is a property of the root window and lives as long as the server does, so it outlives the program that
// changed the table: whoever comes next finds the true table, whatever is on the screen. The layout is in
// overview.md.
#pragma once

#include "Platform/Linux/NPHardwareTable.h"
#include "Platform/NPDisplayServices.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

struct NPBaseRecordX11 {
    NPDisplayID display = 0; // the display that the CRTC drove; 0 when it drove none
    std::uint64_t owner = 0; // which run of the program wrote the record
    NPHardwareTable table;   // never one that shows nothing

    bool operator==(const NPBaseRecordX11& other) const = default;
};

// The property's name.
std::string NPBaseRecordX11Name(std::uint32_t crtc);

// The property's content, 16-bit items of the type CARDINAL.
std::vector<std::uint16_t> NPBaseRecordX11Encode(const NPBaseRecordX11& record);

// None for anything that Encode cannot have written, and for tables that show nothing: any client of the
// server can write there.
std::optional<NPBaseRecordX11> NPBaseRecordX11Decode(std::span<const std::uint16_t> items);
