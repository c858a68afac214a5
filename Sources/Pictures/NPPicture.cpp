#include "Pictures/NPPicture.h"

#include <array>
#include <cmath>
#include <cstring>

namespace {

// A channel's samples as the bytes that they are on a screen.
using Lookup = std::array<std::uint32_t, QXGammaTableCapacity>;

Lookup lookup(const QXGammaTable::Channel& channel)
{
    Lookup values{};
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] = static_cast<std::uint32_t>(std::lround(channel[i] * 255.0F));
    }
    return values;
}

// The pixels lie in rows of 32-bit numbers of the machine's own byte order.
std::uint32_t loadPixel(const unsigned char* data)
{
    std::uint32_t value = 0;
    std::memcpy(&value, data, sizeof value);
    return value & 0xFFFFFF;
}

std::ptrdiff_t offset(cairo_surface_t* surface, int x, int y)
{
    return std::ptrdiff_t{y} * cairo_image_surface_get_stride(surface) + std::ptrdiff_t{x} * 4;
}

} // namespace

NPPicture::NPPicture(int width, int height)
    : _surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height), &cairo_surface_destroy),
      _context(cairo_create(_surface.get()), &cairo_destroy)
{
}

NPPicture::NPPicture(const NPPicture& other) : NPPicture(other.width(), other.height())
{
    cairo_set_source_surface(context(), other._surface.get(), 0.0, 0.0);
    cairo_paint(context());
}

int NPPicture::width() const
{
    return cairo_image_surface_get_width(_surface.get());
}

int NPPicture::height() const
{
    return cairo_image_surface_get_height(_surface.get());
}

std::uint32_t NPPicture::pixel(int x, int y) const
{
    cairo_surface_flush(_surface.get());
    return loadPixel(cairo_image_surface_get_data(_surface.get()) + offset(_surface.get(), x, y));
}

void NPPicture::applyTable(const QXGammaTable& table)
{
    const Lookup red = lookup(table.redTable);
    const Lookup green = lookup(table.greenTable);
    const Lookup blue = lookup(table.blueTable);
    cairo_surface_flush(_surface.get());
    unsigned char* const data = cairo_image_surface_get_data(_surface.get());
    for (int y = 0; y < height(); ++y) {
        for (int x = 0; x < width(); ++x) {
            unsigned char* const at = data + offset(_surface.get(), x, y);
            const std::uint32_t before = loadPixel(at);
            const std::uint32_t after =
                red[before >> 16] << 16 | green[before >> 8 & 0xFF] << 8 | blue[before & 0xFF];
            std::memcpy(at, &after, sizeof after);
        }
    }
    cairo_surface_mark_dirty(_surface.get());
}

std::expected<void, std::string> NPPicture::write(const std::filesystem::path& path) const
{
    const cairo_status_t status = cairo_surface_write_to_png(_surface.get(), path.c_str());
    if (status != CAIRO_STATUS_SUCCESS) {
        return std::unexpected(std::string(cairo_status_to_string(status)));
    }
    return {};
}
