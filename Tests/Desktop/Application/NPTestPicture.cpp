#include "Desktop/Application/NPTestPicture.h"

#include <xcb/xcb.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

NPTestPicture NPTestPicture::ofScreen(const std::string& displayName, int x, int y, int width, int height)
{
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> display(
        xcb_connect(displayName.c_str(), nullptr), &xcb_disconnect);
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(display.get())).data->root;
    const auto request = xcb_get_image(
        display.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, root, static_cast<std::int16_t>(x), static_cast<std::int16_t>(y),
        static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height), ~std::uint32_t{0});
    const std::unique_ptr<xcb_get_image_reply_t, decltype(&std::free)> reply(
        xcb_get_image_reply(display.get(), request, nullptr), &std::free);
    NPTestPicture picture{width, height, std::vector<std::uint32_t>(static_cast<std::size_t>(width * height))};
    const std::size_t size = picture.pixels.size() * sizeof picture.pixels.front();
    if (!reply || static_cast<std::size_t>(xcb_get_image_data_length(reply.get())) != size) {
        throw std::runtime_error("no picture of the screen");
    }
    std::memcpy(picture.pixels.data(), xcb_get_image_data(reply.get()), size);
    for (std::uint32_t& pixel : picture.pixels) {
        pixel &= 0xffffff;
    }
    return picture;
}

int NPTestPicture::lightness(int x, int y) const
{
    const std::uint32_t pixel = pixels.at(static_cast<std::size_t>(y * width + x));
    const int red = static_cast<int>(pixel >> 16);
    const int green = static_cast<int>(pixel >> 8 & 0xff);
    const int blue = static_cast<int>(pixel & 0xff);
    return (299 * red + 587 * green + 114 * blue) / 1000;
}

int NPTestPicture::countThatStandOut(int difference) const
{
    std::array<int, 256> counts{};
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            ++counts.at(static_cast<std::size_t>(lightness(x, y)));
        }
    }
    const int ground = static_cast<int>(std::ranges::max_element(counts) - counts.begin());
    int result = 0;
    for (int shade = 0; shade < static_cast<int>(counts.size()); ++shade) {
        result += std::abs(shade - ground) >= difference ? counts.at(static_cast<std::size_t>(shade)) : 0;
    }
    return result;
}
