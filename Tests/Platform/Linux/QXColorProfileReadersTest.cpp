// What we make of colour profiles, against other programs' readers: lcms2, colord, ArgyllCMS and exiftool.
#include "ScreenGamma/QXColorProfile.h"
#include "ScreenGamma/QXDisplayColors.h"

#include "Platform/Linux/NPTemporaryFolder.h"
#include "Support/ColorProfiles.h"
#include "Support/GammaTables.h"

#include <gtest/gtest.h>
#include <lcms2.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <memory>
#include <utility>

namespace {

constexpr const char* profilesFolder = "/usr/share/color";
constexpr const char* version2Profile = "/usr/share/color/icc/sRGB.icc";
constexpr const char* version4Profile = "/usr/share/color/icc/colord/sRGB.icc";

// Each channel a curve of its own, so that an exchanged one shows.
QXGammaTable shownTable()
{
    QXGammaTable table = QXGammaTableIdentity();
    for (std::size_t i = 0; i < 256; ++i) {
        const float position = table.redTable[i];
        table.redTable[i] = std::pow(position, 1.3F);
        table.greenTable[i] = position * 0.8F;
        table.blueTable[i] = 1.0F - position * 0.5F;
    }
    return table;
}

QXColorProfile edited(QXColorProfile profile)
{
    QXColorProfileSetDescription(profile, "Nightpane");
    QXColorProfileSetBaseURL(profile, "file:///usr/share/own%20profile.icc");
    QXColorProfileSetBaseGammaTable(profile, QXGammaTableIdentity());
    QXColorProfileSetGammaTable(profile, shownTable());
    return profile;
}

// What a custom profile of the display with that own profile is.
QXData customProfile(const char* ownProfile)
{
    return edited(QXColorProfile::profileWithData(contentOf<QXData>(ownProfile)).value()).copyData().value();
}

struct Output {
    std::string text;
    int status;
};

Output outputOf(const std::string& command)
{
    std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen((command + " 2>&1").c_str(), "r"), ::pclose);
    EXPECT_TRUE(pipe);
    Output output;
    std::array<char, 4096> buffer;
    while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe.get())) {
        output.text.append(buffer.data(), count);
    }
    output.status = ::pclose(pipe.release());
    return output;
}

struct CloseProfile {
    void operator()(void* profile) const { cmsCloseProfile(profile); }
};
using LcmsProfile = std::unique_ptr<void, CloseProfile>;

LcmsProfile openedByLcms(const QXData& data)
{
    return LcmsProfile(cmsOpenProfileFromMem(data.data(), static_cast<cmsUInt32Number>(data.size())));
}

QXData rawTag(const LcmsProfile& profile, QXTagSignature signature)
{
    const auto name = static_cast<cmsTagSignature>(signature);
    QXData data(cmsReadRawTag(profile.get(), name, nullptr, 0));
    cmsReadRawTag(profile.get(), name, data.data(), static_cast<cmsUInt32Number>(data.size()));
    return data;
}

bool isEdited(QXTagSignature signature)
{
    return signature == QXVideoCardGammaTag || signature == QXBaseTableTag || signature == QXBaseURLTag
           || signature == QXDescriptionTag || signature == QXLocalizedDescriptionTag;
}

std::vector<std::filesystem::path> installedProfiles()
{
    std::vector<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(profilesFolder)) {
        const std::string extension = entry.path().extension();
        if (extension == ".icc" || extension == ".icm" || extension == ".ICM") {
            paths.push_back(entry.path());
        }
    }
    return paths;
}

class QXColorProfileReadersTest : public testing::TestWithParam<const char*> {
protected:
    NPTemporaryFolder folder;
};

} // namespace

TEST_P(QXColorProfileReadersTest, LcmsFindsTheSameCurve)
{
    const LcmsProfile profile = openedByLcms(customProfile(GetParam()));
    ASSERT_TRUE(profile);
    const auto* curves = static_cast<cmsToneCurve* const*>(cmsReadTag(profile.get(), cmsSigVcgtTag));
    ASSERT_NE(curves, nullptr);
    const QXGammaTable table = shownTable();
    for (std::size_t i = 0; i < 256; ++i) {
        const float position = static_cast<float>(i) / 255.0F;
        EXPECT_NEAR(cmsEvalToneCurveFloat(curves[0], position), table.redTable[i], 2e-5F) << i;
        EXPECT_NEAR(cmsEvalToneCurveFloat(curves[1], position), table.greenTable[i], 2e-5F) << i;
        EXPECT_NEAR(cmsEvalToneCurveFloat(curves[2], position), table.blueTable[i], 2e-5F) << i;
    }
}

TEST_P(QXColorProfileReadersTest, LcmsFindsTheSameBytesInEveryTag)
{
    const QXData data = customProfile(GetParam());
    const QXColorProfile own = QXColorProfile::profileWithData(data).value();
    const LcmsProfile profile = openedByLcms(data);
    ASSERT_TRUE(profile);
    EXPECT_EQ(static_cast<std::size_t>(cmsGetTagCount(profile.get())), own.signatures().size());
    for (const QXTagSignature signature : own.signatures()) {
        EXPECT_EQ(rawTag(profile, signature), dataOf(own.tag(signature).value()));
    }
}

TEST_P(QXColorProfileReadersTest, LcmsFindsTheDescription)
{
    const LcmsProfile profile = openedByLcms(customProfile(GetParam()));
    std::array<char, 64> name{};
    cmsGetProfileInfoASCII(profile.get(), cmsInfoDescription, "en", "US", name.data(), name.size());
    EXPECT_STREQ(name.data(), "Nightpane");
}

TEST_P(QXColorProfileReadersTest, ColordAcceptsTheProfile)
{
    writeFile(folder / "custom.icc", customProfile(GetParam()));
    const Output output = outputOf("cd-iccdump " + (folder / "custom.icc").string());
    EXPECT_EQ(output.status, 0) << output.text;
    EXPECT_NE(output.text.find("Nightpane"), std::string::npos) << output.text;
    EXPECT_NE(output.text.find("'vcgt'"), std::string::npos) << output.text;
}

TEST_P(QXColorProfileReadersTest, ExiftoolFindsTheDescriptionAndTheSameTable)
{
    writeFile(folder / "custom.icc", customProfile(GetParam()));
    const std::string path = (folder / "custom.icc").string();
    const Output problems = outputOf("exiftool -s3 -validate -warning -error " + path);
    EXPECT_EQ(problems.text, "OK\n");
    EXPECT_EQ(outputOf("exiftool -s3 -ProfileDescription " + path).text, "Nightpane\n");
    const std::string table = outputOf("exiftool -b -VideoCardGamma " + path).text;
    const auto written = QXColorProfile::profileWithData(contentOf<QXData>(path))->tag(QXVideoCardGammaTag);
    EXPECT_EQ(QXData(table.begin(), table.end()), dataOf(written.value()));
}

INSTANTIATE_TEST_SUITE_P(Versions2And4, QXColorProfileReadersTest,
                         testing::Values(version2Profile, version4Profile));

TEST(QXColorProfileReaders, AreAskedAboutBothVersions)
{
    constexpr std::size_t majorVersion = 8; // where it stands in the header
    EXPECT_EQ(customProfile(version2Profile).at(majorVersion), 2);
    EXPECT_EQ(customProfile(version4Profile).at(majorVersion), 4);
}

TEST(QXColorProfileReaders, ArgyllFindsTheSameTableInVersion2)
{
    const NPTemporaryFolder folder;
    writeFile(folder / "custom.icc", customProfile(version2Profile));
    const Output output = outputOf("iccdump -v3 -t vcgt " + (folder / "custom.icc").string());
    EXPECT_EQ(output.status, 0) << output.text;
    const QXGammaTable table = shownTable();
    std::string expected = "  channels  = 3\n  entries   = 256\n  entrysize = 2\n";
    for (const auto& [name, channel] :
         {std::pair("0", &table.redTable), std::pair("1", &table.greenTable), std::pair("2", &table.blueTable)}) {
        expected += std::string("  channel #") + name + '\n';
        for (std::size_t i = 0; i < 256; ++i) {
            expected +=
                "    " + std::to_string(i) + ": " + std::to_string(std::lround((*channel)[i] * 65535.0F)) + '\n';
        }
    }
    EXPECT_NE(output.text.find(expected), std::string::npos) << output.text;
}

TEST(QXColorProfileReaders, KeepEveryOtherTagOfRealProfiles)
{
    const auto paths = installedProfiles();
    ASSERT_GE(paths.size(), 50U);
    for (const char* const packaged :
         {"/usr/share/color/icc/colord/Bluish.icc", "/usr/share/color/icc/LStar-RGB.icc",
          "/usr/share/color/argyll/ref/ClayRGB1998.icm"}) {
        EXPECT_EQ(std::ranges::count(paths, packaged), 1) << packaged; // one of each package that has profiles
    }
    for (const std::filesystem::path& path : paths) {
        const auto before = QXColorProfile::profileWithData(contentOf<QXData>(path));
        ASSERT_TRUE(before) << path << ": " << before.error();
        const QXData written = edited(*before).copyData().value();
        const auto after = QXColorProfile::profileWithData(written);
        ASSERT_TRUE(after) << path << ": " << after.error();
        const LcmsProfile seenByLcms = openedByLcms(written);
        ASSERT_TRUE(seenByLcms) << path;
        for (const QXTagSignature signature : before->signatures()) {
            if (!isEdited(signature)) {
                const QXData tag = dataOf(before->tag(signature).value());
                EXPECT_EQ(dataOf(after->tag(signature).value()), tag) << path;
                EXPECT_EQ(rawTag(seenByLcms, signature), tag) << path;
            }
        }
        EXPECT_TRUE(sameTable(QXColorProfileGetGammaTable(*after), QXColorProfileGetGammaTable(edited(*before))));
    }
}

TEST(QXColorProfileReaders, ReadTheSameCalibrationThatLcmsReads)
{
    // Real calibrations in formula and table form.
    std::size_t compared = 0;
    for (const std::filesystem::path& path : installedProfiles()) {
        const QXData data = contentOf<QXData>(path);
        const LcmsProfile profile = openedByLcms(data);
        const auto* curves = static_cast<cmsToneCurve* const*>(cmsReadTag(profile.get(), cmsSigVcgtTag));
        if (curves == nullptr) {
            continue;
        }
        ++compared;
        const QXGammaTable table = QXColorProfileGetGammaTable(QXColorProfile::profileWithData(data).value());
        ASSERT_EQ(table.sampleCount, 256U) << path;
        for (std::size_t i = 0; i < 256; ++i) {
            const float position = static_cast<float>(i) / 255.0F;
            EXPECT_NEAR(cmsEvalToneCurveFloat(curves[0], position), table.redTable[i], 1e-4F) << path << i;
            EXPECT_NEAR(cmsEvalToneCurveFloat(curves[2], position), table.blueTable[i], 1e-4F) << path << i;
        }
    }
    EXPECT_GE(compared, 3U);
}

TEST(QXColorProfileReaders, SeeTheStandardColorsInAProfileMadeFromThem)
{
    const QXData data = QXColorProfileForDisplay(QXStandardColors, "sRGB")->copyData().value();
    const LcmsProfile made = openedByLcms(data);
    const LcmsProfile standard(cmsCreate_sRGBProfile());
    ASSERT_TRUE(made);
    const cmsHTRANSFORM transform = cmsCreateTransform(made.get(), TYPE_RGB_8, standard.get(), TYPE_RGB_8,
                                                       INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_NOOPTIMIZE);
    ASSERT_NE(transform, nullptr);
    for (const std::array<std::uint8_t, 3>& color :
         {std::array<std::uint8_t, 3>{255, 255, 255}, {128, 30, 200}, {1, 254, 77}, {12, 12, 12}}) {
        std::array<std::uint8_t, 3> seen{};
        cmsDoTransform(transform, color.data(), seen.data(), 1);
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_NEAR(seen[i], color[i], 1);
        }
    }
    cmsDeleteTransform(transform);
}
