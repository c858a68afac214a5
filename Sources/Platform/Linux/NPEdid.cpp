#include "Platform/Linux/NPEdid.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace {

constexpr std::size_t blockSize = 128;
constexpr std::array<std::uint8_t, 8> blockHeader = {0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00};
constexpr std::size_t identityOffset = 8; // vendor 2, product 2, serial number 4
constexpr std::size_t identitySize = 8;

constexpr std::size_t gammaOffset = 23;
constexpr std::uint8_t gammaElsewhere = 0xFF; // in an extension block
constexpr std::size_t lowerBitsOffset = 25;
constexpr std::size_t upperBitsOffset = 27;

constexpr std::size_t descriptorsOffset = 54;
constexpr std::size_t descriptorSize = 18;
constexpr std::size_t descriptorCount = 4;
constexpr std::size_t descriptorTextOffset = 5;
constexpr std::uint8_t serialTextTag = 0xFF;
constexpr std::uint8_t monitorNameTag = 0xFC;

bool isWholeBlock(std::span<const std::uint8_t> data)
{
    if (data.size() < blockSize || !std::ranges::equal(data.first(blockHeader.size()), blockHeader)) {
        return false;
    }
    const auto block = data.first(blockSize);
    return std::accumulate(block.begin(), block.end(), 0U) % 256 == 0;
}

// The text of the first descriptor of that kind: printable characters up to a line feed, without the spaces
// that pad it.
std::string descriptorText(std::span<const std::uint8_t> block, std::uint8_t tag)
{
    for (std::size_t i = 0; i < descriptorCount; ++i) {
        const auto descriptor = block.subspan(descriptorsOffset + i * descriptorSize, descriptorSize);
        // Two zeros where a timing has its pixel clock, and a zero before the tag.
        if (descriptor[0] != 0 || descriptor[1] != 0 || descriptor[2] != 0 || descriptor[3] != tag) {
            continue;
        }
        std::string text;
        for (const std::uint8_t byte : descriptor.subspan(descriptorTextOffset)) {
            if (byte == '\n') {
                break;
            }
            if (byte >= 0x20 && byte < 0x7F) {
                text += static_cast<char>(byte);
            }
        }
        const std::size_t first = text.find_first_not_of(' ');
        return first == std::string::npos ? std::string()
                                          : text.substr(first, text.find_last_not_of(' ') - first + 1);
    }
    return {};
}

} // namespace

// Coordinates are fractions of 1024. Their 8 upper bits are a byte each; the 2 lower bits of four coordinates at
// a time share a byte, red x in the uppermost bits.
std::optional<QXDisplayColors> NPEdidColors(std::span<const std::uint8_t> data)
{
    if (!isWholeBlock(data)) {
        return std::nullopt;
    }
    const auto coordinate = [&](std::size_t index) {
        const unsigned int lower = data[lowerBitsOffset + index / 4] >> (6 - 2 * (index % 4)) & 3U;
        return (data[upperBitsOffset + index] * 4U + lower) / 1024.0;
    };
    const auto color = [&](std::size_t index) { return QXChromaticity{coordinate(index), coordinate(index + 1)}; };
    const std::uint8_t gamma = data[gammaOffset];
    return QXDisplayColors{color(0), color(2), color(4), color(6),
                           gamma != gammaElsewhere ? std::optional(1.0 + gamma / 100.0) : std::nullopt};
}

std::optional<NPEdid> NPEdidParse(std::span<const std::uint8_t> data)
{
    if (!isWholeBlock(data)) {
        return std::nullopt;
    }
    const auto numbers = data.subspan(identityOffset, identitySize);
    const std::string serialText = descriptorText(data, serialTextTag);
    if (serialText.empty() && std::ranges::all_of(numbers, [](std::uint8_t byte) { return byte == 0; })) {
        return std::nullopt;
    }
    NPEdid edid;
    edid.identity.assign(numbers.begin(), numbers.end());
    edid.identity += serialText;
    edid.monitorName = descriptorText(data, monitorNameTag);
    return edid;
}
