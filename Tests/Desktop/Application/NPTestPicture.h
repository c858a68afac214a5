// What a part of an X screen looks like.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct NPTestPicture {
    // Throws when there is no such part.
    static NPTestPicture ofScreen(const std::string& displayName, int x, int y, int width, int height);

    // Lightness of a pixel, from 0 (black) to 255.
    int lightness(int x, int y) const;

    // How many pixels differ by so much from the lightness that most have.
    int countThatStandOut(int difference) const;

    bool operator==(const NPTestPicture&) const = default;

    int width = 0;
    int height = 0;
    std::vector<std::uint32_t> pixels; // 0x00RRGGBB, row after row from the top
};
