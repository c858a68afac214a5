#include "Foundation/QXBase64.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t outside = 255;

constexpr std::array<std::uint8_t, 256> makeSextets()
{
    std::array<std::uint8_t, 256> sextets{};
    sextets.fill(outside);
    for (std::size_t i = 0; i < alphabet.size(); ++i) {
        sextets[static_cast<unsigned char>(alphabet[i])] = static_cast<std::uint8_t>(i);
    }
    return sextets;
}

constexpr std::array<std::uint8_t, 256> sextets = makeSextets();

bool isWhiteSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

} // namespace

std::string QXBase64FromData(const QXData& data)
{
    std::string text;
    text.reserve((data.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < data.size(); i += 3) {
        const std::size_t count = std::min<std::size_t>(3, data.size() - i);
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            group = group << 8 | (k < count ? data[i + k] : 0u);
        }
        for (std::size_t k = 0; k < 4; ++k) {
            text += k <= count ? alphabet[group >> (18 - 6 * k) & 63] : '=';
        }
    }
    return text;
}

std::optional<QXData> QXDataFromBase64(std::string_view text)
{
    QXData data;
    data.reserve(text.size() / 4 * 3);
    std::uint32_t group = 0;
    std::size_t sextetCount = 0;
    std::size_t padding = 0;
    for (const char c : text) {
        if (isWhiteSpace(c)) {
            continue;
        }
        if (c == '=') {
            ++padding;
            continue;
        }
        const std::uint8_t sextet = sextets[static_cast<unsigned char>(c)];
        if (sextet == outside || padding != 0) {
            return std::nullopt;
        }
        group = group << 6 | sextet;
        if (++sextetCount % 4 == 0) {
            for (const unsigned shift : {16u, 8u, 0u}) {
                data.push_back(static_cast<std::uint8_t>(group >> shift & 255));
            }
        }
    }
    const std::size_t rest = sextetCount % 4;
    if (rest == 1 || padding != (4 - rest) % 4) {
        return std::nullopt;
    }
    if (rest >= 2) {
        group <<= 6 * padding;
        data.push_back(static_cast<std::uint8_t>(group >> 16 & 255));
    }
    if (rest == 3) {
        data.push_back(static_cast<std::uint8_t>(group >> 8 & 255));
    }
    return data;
}
