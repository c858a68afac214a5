// EDID blocks for tests.
#pragma once

#include <cstdint>
#include <numeric>
#include <string_view>
#include <vector>

struct NPTestEdid {
    std::uint16_t vendor = 0x4C2D;
    std::uint16_t product = 0x0102;
    std::uint32_t serial = 1;
    std::string_view serialText = {};
    std::string_view monitorName = {};

    // One block of 128 bytes with a correct checksum.
    std::vector<std::uint8_t> block() const
    {
        std::vector<std::uint8_t> bytes(128);
        for (std::size_t i = 1; i < 7; ++i) {
            bytes[i] = 0xFF;
        }
        bytes[8] = static_cast<std::uint8_t>(vendor >> 8);
        bytes[9] = static_cast<std::uint8_t>(vendor);
        bytes[10] = static_cast<std::uint8_t>(product);
        bytes[11] = static_cast<std::uint8_t>(product >> 8);
        for (std::size_t i = 0; i < 4; ++i) {
            bytes[12 + i] = static_cast<std::uint8_t>(serial >> (8 * i));
        }
        bytes[18] = 1; // EDID 1.4
        bytes[19] = 4;
        _describe(bytes, 72, 0xFF, serialText);
        _describe(bytes, 90, 0xFC, monitorName);
        seal(bytes);
        return bytes;
    }

    // Makes the checksum of a block right.
    static void seal(std::vector<std::uint8_t>& bytes)
    {
        bytes[127] = 0;
        bytes[127] = static_cast<std::uint8_t>(0U - std::accumulate(bytes.begin(), bytes.begin() + 128, 0U));
    }

private:
    static void _describe(std::vector<std::uint8_t>& bytes, std::size_t offset, std::uint8_t tag,
                          std::string_view text)
    {
        if (text.empty()) {
            return;
        }
        bytes[offset + 3] = tag;
        for (std::size_t i = 0; i < 13; ++i) {
            const char padding = i == text.size() ? '\n' : ' ';
            bytes[offset + 5 + i] = static_cast<std::uint8_t>(i < text.size() ? text[i] : padding);
        }
    }
};
