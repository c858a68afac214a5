#include "ScreenGamma/QXDisplayColors.h"

#include "ScreenGamma/QXBigEndian.h"
#include "Support/ColorProfiles.h"
#include "Support/GammaTables.h"

#include <gtest/gtest.h>

namespace {

QXData tagOf(const QXColorProfile& profile, const char (&signature)[5])
{
    return dataOf(profile.tag(QXMakeTagSignature(signature)).value());
}

// The three numbers of a colour tag.
std::array<double, 3> colorOf(const QXColorProfile& profile, const char (&signature)[5])
{
    const QXData tag = tagOf(profile, signature);
    EXPECT_EQ(tag.size(), 20U);
    std::array<double, 3> color{};
    for (std::size_t i = 0; i < 3; ++i) {
        color[i] = static_cast<double>(static_cast<std::int32_t>(QXBigEndian32(tag, 8 + 4 * i))) / 65536.0;
    }
    return color;
}

void expectNear(const std::array<double, 3>& color, const std::array<double, 3>& expected)
{
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_NEAR(color[i], expected[i], 1e-4);
    }
}

} // namespace

TEST(QXDisplayColors, HaveTheColorantsThatTheStandardPublishes)
{
    const QXColorProfile profile = QXColorProfileForDisplay(QXStandardColors, "sRGB").value();
    expectNear(colorOf(profile, "rXYZ"), {0.4360, 0.2225, 0.0139});
    expectNear(colorOf(profile, "gXYZ"), {0.3851, 0.7169, 0.0971});
    expectNear(colorOf(profile, "bXYZ"), {0.1431, 0.0606, 0.7139});
    expectNear(colorOf(profile, "wtpt"), {0.9505, 1.0, 1.0891});
}

TEST(QXDisplayColors, MixToTheWhiteOfTheProfileConnectionSpace)
{
    const QXDisplayColors wide{{0.68, 0.31}, {0.25, 0.69}, {0.14, 0.05}, {0.305, 0.320}, 2.2};
    const QXColorProfile profile = QXColorProfileForDisplay(wide, "wide").value();
    const auto red = colorOf(profile, "rXYZ");
    const auto green = colorOf(profile, "gXYZ");
    const auto blue = colorOf(profile, "bXYZ");
    expectNear({red[0] + green[0] + blue[0], red[1] + green[1] + blue[1], red[2] + green[2] + blue[2]},
               {0.9642, 1.0, 0.8249});
}

TEST(QXDisplayColors, HaveOneGammaForAllChannels)
{
    QXDisplayColors colors = QXStandardColors;
    colors.gamma = 2.2;
    const QXColorProfile profile = QXColorProfileForDisplay(colors, "display").value();
    const QXData expected = {'c', 'u', 'r', 'v', 0, 0, 0, 0, 0, 0, 0, 1, 2, 51};
    EXPECT_EQ(tagOf(profile, "rTRC"), expected);
    EXPECT_EQ(tagOf(profile, "gTRC"), expected);
    EXPECT_EQ(tagOf(profile, "bTRC"), expected);
}

TEST(QXDisplayColors, HaveTheStandardsCurveWithoutAGamma)
{
    const QXData curve = tagOf(QXColorProfileForDisplay(QXStandardColors, "sRGB").value(), "gTRC");
    ASSERT_EQ(curve.size(), 12U + 2 * 1024);
    EXPECT_EQ(QXBigEndian16(curve, 12), 0U);
    EXPECT_EQ(QXBigEndian16(curve, 12 + 2 * 1023), 65535U);
    EXPECT_EQ(QXBigEndian16(curve, 12 + 2 * 20), 99U);     // 20/1023 / 12.92
    EXPECT_NEAR(QXBigEndian16(curve, 12 + 2 * 512), 14060, 10); // 0.5005: 0.2145
}

TEST(QXDisplayColors, MakeAProfileThatReadsBack)
{
    const QXColorProfile profile = QXColorProfileForDisplay(QXStandardColors, "sRGB").value();
    const auto again = QXColorProfile::profileWithData(profile.copyData().value());
    ASSERT_TRUE(again);
    EXPECT_EQ(again->copyData(), profile.copyData());
    EXPECT_EQ(profile.url(), std::nullopt);
    EXPECT_TRUE(sameTable(QXColorProfileGetGammaTable(profile), QXColorProfileGetGammaTable(colorProfileOf({}))));
}

TEST(QXDisplayColors, MakeNoProfileWhenTheyCannotBeMixed)
{
    const auto with = [](auto change) {
        QXDisplayColors colors = QXStandardColors;
        change(colors);
        return QXColorProfileForDisplay(colors, "display").has_value();
    };
    EXPECT_TRUE(with([](QXDisplayColors&) {}));
    EXPECT_FALSE(with([](QXDisplayColors& c) { c.red = c.green; }));
    EXPECT_FALSE(with([](QXDisplayColors& c) { c.blue = {0.47, 0.465}; })); // on the line between the others
    EXPECT_FALSE(with([](QXDisplayColors& c) { c.white = {0.7, 0.25}; })); // outside of them
    EXPECT_FALSE(with([](QXDisplayColors& c) { c.green.y = 0.0; }));
    EXPECT_FALSE(with([](QXDisplayColors& c) { c.green = {0.6, 0.6}; }));
    EXPECT_FALSE(with([](QXDisplayColors& c) { c = {}; }));
}

TEST(QXDisplayColors, MakeNoProfileWithAGammaThatNoDisplayHas)
{
    QXDisplayColors colors = QXStandardColors;
    for (const double gamma : {0.0, 0.99, 4.01, -2.2}) {
        colors.gamma = gamma;
        EXPECT_FALSE(QXColorProfileForDisplay(colors, "display")) << gamma;
    }
    for (const double gamma : {1.0, 4.0}) {
        colors.gamma = gamma;
        EXPECT_TRUE(QXColorProfileForDisplay(colors, "display")) << gamma;
    }
}
