#include "CommandLine/NPProfileDescription.h"
#include "CommandLine/NPJSON.h"
#include "Support/ColorProfiles.h"
#include "Support/GammaTables.h"

#include <gtest/gtest.h>

namespace {

QXData formulaTag()
{
    QXData tag = bytesOf("vcgt") + bigEndian32(0) + bigEndian32(1);
    for (int channel = 0; channel < 3; ++channel) {
        tag = tag + bigEndian32(0x00018000) + bigEndian32(0x00004000) + bigEndian32(0x00010000);
    }
    return tag;
}

std::string json(const QXColorProfile& profile)
{
    return NPJSONText(NPProfileDescription(NPDisplayProfileFromColorProfile(profile)));
}

std::string text(const QXColorProfile& profile)
{
    return NPProfileText(NPProfileDescription(NPDisplayProfileFromColorProfile(profile)));
}

TEST(NPProfileDescription, CustomProfileNamesItsTagsAndTheOwnLocation)
{
    QXColorProfile profile = colorProfileOf({{"cprt", bytesOf("text")}}, "file:///custom.icc");
    QXColorProfileSetBaseURL(profile, "file:///own.icc");
    QXColorProfileSetBaseGammaTable(profile, QXGammaTableIdentity());
    EXPECT_EQ(json(profile), R"({"baseFrom":"private","custom":true,"location":"file:///own.icc","samples":256,)"
                             R"("size":1744,"tags":[{"signature":"cprt","size":4},{"signature":"NP^u","size":15},)"
                             R"({"signature":"NP^b","size":1554}]})");
    EXPECT_EQ(text(profile), "In use        a custom profile of Nightpane's, 1744 bytes\n"
                             "Own location  file:///own.icc\n"
                             "Base table    256 samples, kept in Nightpane's tag\n"
                             "Tags          cprt 4, NP^u 15, NP^b 1554\n");
}

TEST(NPProfileDescription, FormulaIsGivenForEachChannel)
{
    const QXColorProfile profile = colorProfileOf({{"vcgt", formulaTag()}});
    EXPECT_EQ(json(profile),
              R"({"baseFrom":"formula","custom":false,"formula":[)"
              R"({"gamma":1.5,"maximum":1,"minimum":0.25},{"gamma":1.5,"maximum":1,"minimum":0.25},)"
              R"({"gamma":1.5,"maximum":1,"minimum":0.25}],)"
              R"("samples":256,"size":192,"tags":[{"signature":"vcgt","size":48}]})");
    EXPECT_EQ(text(profile),
              "In use        its own profile, 192 bytes\n"
              "Own location  none\n"
              "Base table    256 samples, by the profile's formula: 0.25-1 ^1.5 0.25-1 ^1.5 0.25-1 ^1.5\n"
              "Tags          vcgt 48\n");
}

TEST(NPProfileDescription, TableAndTheLackOfOneAreToldApart)
{
    QXColorProfile profile = colorProfileOf({});
    EXPECT_NE(text(profile).find("256 samples, the screen's, the profile has none\n"), std::string::npos);
    QXColorProfileSetGammaTable(profile, scaledTable(0.5F, 16));
    EXPECT_NE(text(profile).find("16 samples, the profile's gamma table\n"), std::string::npos);
}

TEST(NPProfileDescription, SignaturesCannotMoveTheCursor)
{
    EXPECT_NE(text(colorProfileOf({{"a\x1b\nc", bytesOf("text")}})).find("Tags          a  c 4\n"),
              std::string::npos);
}

} // namespace
