#include "ScreenGamma/QXDisplayColors.h"

#include "ScreenGamma/QXBigEndian.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

namespace {

using Triple = std::array<double, 3>; // X, Y, Z or the like
using Matrix = std::array<Triple, 3>; // rows

constexpr Triple D50 = {0.9642, 1.0, 0.8249}; // the white of the profile connection space
constexpr Matrix bradford = {{{0.8951, 0.2664, -0.1614}, {-0.7502, 1.7135, 0.0367}, {0.0389, -0.0685, 1.0296}}};
constexpr double smallest = 1e-6; // what counts as nothing

Triple product(const Matrix& matrix, const Triple& vector)
{
    Triple result{};
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t i = 0; i < 3; ++i) {
            result[row] += matrix[row][i] * vector[i];
        }
    }
    return result;
}

// None when it has none.
std::optional<Matrix> inverse(const Matrix& m)
{
    const auto minor = [&](std::size_t row, std::size_t column) {
        const std::size_t r1 = (row + 1) % 3;
        const std::size_t r2 = (row + 2) % 3;
        const std::size_t c1 = (column + 1) % 3;
        const std::size_t c2 = (column + 2) % 3;
        return m[r1][c1] * m[r2][c2] - m[r1][c2] * m[r2][c1];
    };
    const double determinant = m[0][0] * minor(0, 0) + m[0][1] * minor(0, 1) + m[0][2] * minor(0, 2);
    if (!(std::abs(determinant) > smallest)) {
        return std::nullopt;
    }
    Matrix result{};
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column) {
            result[row][column] = minor(column, row) / determinant;
        }
    }
    return result;
}

// At brightness 1.
std::optional<Triple> tristimulus(const QXChromaticity& color)
{
    const bool isColor = color.x >= 0.0 && color.y > smallest && color.x + color.y <= 1.0;
    return isColor ? std::optional(Triple{color.x / color.y, 1.0, (1.0 - color.x - color.y) / color.y})
                   : std::nullopt;
}

// What a color becomes where that white is seen as D50 is.
Triple adapted(const Triple& color, const Triple& white)
{
    const Triple from = product(bradford, white);
    const Triple to = product(bradford, D50);
    Triple response = product(bradford, color);
    for (std::size_t i = 0; i < 3; ++i) {
        response[i] *= to[i] / from[i];
    }
    return product(*inverse(bradford), response);
}

void put32(QXData& data, std::uint32_t number)
{
    data.resize(data.size() + 4);
    QXPutBigEndian32(data, data.size() - 4, number);
}

QXData tagOfType(const char (&type)[5])
{
    QXData data;
    put32(data, QXMakeTagSignature(type));
    put32(data, 0);
    return data;
}

QXData colorTag(const Triple& color)
{
    QXData data = tagOfType("XYZ ");
    for (const double number : color) {
        put32(data, static_cast<std::uint32_t>(static_cast<std::int32_t>(std::lround(number * 65536.0))));
    }
    return data;
}

double standardCurve(double value)
{
    return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

QXData curveTag(std::optional<double> gamma)
{
    constexpr std::size_t standardSize = 1024;
    QXData data = tagOfType("curv");
    const std::size_t count = gamma ? 1 : standardSize;
    put32(data, static_cast<std::uint32_t>(count));
    data.resize(data.size() + 2 * count);
    const std::span<std::uint8_t> entries = std::span(data).last(2 * count);
    if (gamma) {
        QXPutBigEndian16(entries, 0, static_cast<std::uint32_t>(std::lround(*gamma * 256.0)));
        return data;
    }
    for (std::size_t i = 0; i < count; ++i) {
        const double value = standardCurve(static_cast<double>(i) / (standardSize - 1));
        QXPutBigEndian16(entries, 2 * i, static_cast<std::uint32_t>(std::lround(value * 65535.0)));
    }
    return data;
}

QXData textTag(std::string_view text)
{
    QXData data = tagOfType("text");
    data.insert(data.end(), text.begin(), text.end());
    data.push_back(0);
    return data;
}

// A display profile of version 2.1 without tags.
QXColorProfile emptyProfile()
{
    constexpr std::uint32_t size = 132;
    QXData header(size);
    QXPutBigEndian32(header, 0, size);
    QXPutBigEndian32(header, 8, 0x02100000);
    QXPutBigEndian32(header, 12, QXMakeTagSignature("mntr"));
    QXPutBigEndian32(header, 16, QXMakeTagSignature("RGB "));
    QXPutBigEndian32(header, 20, QXMakeTagSignature("XYZ "));
    // A fixed date, 1 January 2001: the same display has the same profile every time.
    QXPutBigEndian32(header, 24, 2001U << 16 | 1);
    QXPutBigEndian32(header, 28, 1U << 16);
    QXPutBigEndian32(header, 36, QXMakeTagSignature("acsp"));
    const QXData white = colorTag(D50);
    std::copy(white.begin() + 8, white.end(), header.begin() + 68);
    return QXColorProfile::profileWithData(std::move(header)).value();
}

} // namespace

std::optional<QXColorProfile> QXColorProfileForDisplay(const QXDisplayColors& colors, const char* description)
{
    const auto red = tristimulus(colors.red);
    const auto green = tristimulus(colors.green);
    const auto blue = tristimulus(colors.blue);
    const auto white = tristimulus(colors.white);
    const bool hasCurve = !colors.gamma || (*colors.gamma >= 1.0 && *colors.gamma <= 4.0);
    if (!red || !green || !blue || !white || !hasCurve) {
        return std::nullopt;
    }
    Matrix columns{};
    for (std::size_t i = 0; i < 3; ++i) {
        columns[i] = {(*red)[i], (*green)[i], (*blue)[i]};
    }
    const auto inverted = inverse(columns);
    const Triple shares = inverted ? product(*inverted, *white) : Triple{};
    if (std::ranges::any_of(shares, [](double share) { return !(share > smallest); })) {
        return std::nullopt;
    }
    const auto colorant = [&](Triple color, double share) {
        std::ranges::for_each(color, [=](double& number) { number *= share; });
        return colorTag(adapted(color, *white));
    };
    QXColorProfile profile = emptyProfile();
    QXColorProfileSetDescription(profile, description);
    profile.setTag(QXMakeTagSignature("cprt"), textTag("No copyright, use freely"));
    profile.setTag(QXMakeTagSignature("wtpt"), colorTag(*white));
    profile.setTag(QXMakeTagSignature("rXYZ"), colorant(*red, shares[0]));
    profile.setTag(QXMakeTagSignature("gXYZ"), colorant(*green, shares[1]));
    profile.setTag(QXMakeTagSignature("bXYZ"), colorant(*blue, shares[2]));
    for (const QXTagSignature curve :
         {QXMakeTagSignature("rTRC"), QXMakeTagSignature("gTRC"), QXMakeTagSignature("bTRC")}) {
        profile.setTag(curve, curveTag(colors.gamma));
    }
    return profile;
}
