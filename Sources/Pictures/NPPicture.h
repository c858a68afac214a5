// A picture in memory: drawn with cairo, seen through a transfer table, written as a PNG file.
#pragma once

#include "ScreenGamma/QXGammaTable.h"

#include <cairo.h>

#include <cstdint>
#include <expected>
#include <filesystem>
#include <memory>
#include <string>

class NPPicture {
public:
    NPPicture(int width, int height); // black; sizes in pixels
    NPPicture(const NPPicture& other);
    NPPicture& operator=(const NPPicture&) = delete;

    // To draw with: origin top left, y down, one unit a pixel. Lives as long as the picture.
    cairo_t* context() const { return _context.get(); }
    int width() const;
    int height() const;

    // 0xRRGGBB.
    std::uint32_t pixel(int x, int y) const;

    // What a display shows that is given the picture and has this table: each channel's value, 0 to 255,
    // goes through the sample of that index. The table must have 256 samples, all in 0..1.
    void applyTable(const QXGammaTable& table);

    // Writes a PNG file; the error is one line without the path.
    std::expected<void, std::string> write(const std::filesystem::path& path) const;

private:
    std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)> _surface;
    std::unique_ptr<cairo_t, decltype(&cairo_destroy)> _context;
};
