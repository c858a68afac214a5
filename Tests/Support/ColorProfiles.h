// Hand-made colour profiles for tests.
#pragma once

#include "ScreenGamma/QXColorProfile.h"

#include <initializer_list>
#include <string_view>
#include <utility>
#include <vector>

inline QXData bytesOf(std::string_view text)
{
    return {text.begin(), text.end()};
}

inline QXData operator+(QXData left, const QXData& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

inline QXData bigEndian16(std::uint32_t number)
{
    return {static_cast<std::uint8_t>(number >> 8), static_cast<std::uint8_t>(number)};
}

inline QXData bigEndian32(std::uint32_t number)
{
    return bigEndian16(number >> 16) + bigEndian16(number & 0xFFFF);
}

inline QXData dataOf(std::span<const std::uint8_t> bytes)
{
    return {bytes.begin(), bytes.end()};
}

// The 128 bytes before the tags, every field with something in it, so that a lost one shows.
inline QXData profileHeader(std::uint32_t size, std::uint32_t version = 0x02400000)
{
    QXData header = bigEndian32(size) + bytesOf("lcms") + bigEndian32(version) + bytesOf("mntrRGB XYZ ");
    header = header + QXData{0x07, 0xEA, 0, 2, 0, 3, 0, 4, 0, 5, 0, 6} + bytesOf("acspAPPL") + bigEndian32(1);
    header = header + bytesOf("MFCTMODL") + QXData{1, 2, 3, 4, 5, 6, 7, 8} + bigEndian32(2);
    header =
        header + bigEndian32(0x0000F6D6) + bigEndian32(0x00010000) + bigEndian32(0x0000D32D) + bytesOf("CREA");
    for (int i = 0; i < 16; ++i) {
        header.push_back(0xA5); // the profile ID
    }
    header.resize(128, 0x5A);
    return header;
}

struct NPTestTag {
    std::string_view signature;
    QXData data;
};

// The tags in their order, one after the other without gaps.
inline QXData profileOf(const std::vector<NPTestTag>& tags, std::uint32_t version = 0x02400000)
{
    QXData table = bigEndian32(static_cast<std::uint32_t>(tags.size()));
    QXData content;
    const std::size_t start = 132 + 12 * tags.size();
    for (const NPTestTag& tag : tags) {
        table = table + bytesOf(tag.signature) + bigEndian32(static_cast<std::uint32_t>(start + content.size()))
                + bigEndian32(static_cast<std::uint32_t>(tag.data.size()));
        content = content + tag.data;
    }
    const auto size = static_cast<std::uint32_t>(start + content.size());
    return profileHeader(size, version) + table + content;
}

inline QXColorProfile colorProfileOf(const std::vector<NPTestTag>& tags, std::optional<std::string> url = {})
{
    return QXColorProfile::profileWithData(profileOf(tags), std::move(url)).value();
}

// The start of a table tag, up to its entries.
inline QXData tableTagHeader(std::uint32_t channels, std::uint32_t count, std::uint32_t size)
{
    return bytesOf("vcgt") + bigEndian32(0) + bigEndian32(0) + bigEndian16(channels) + bigEndian16(count)
           + bigEndian16(size);
}
