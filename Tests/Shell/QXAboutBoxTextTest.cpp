#include "Shell/QXAboutBoxText.h"

#include "Foundation/QXSharedScope.h"
#include "Foundation/QXString.h"
#include "Foundation/QXUnicode.h"
#include "Platform/Simulated/NPSimulatedDesktop.h"

#include <gtest/gtest.h>

#include <optional>

namespace {

class QXAboutBoxTextTest : public testing::Test {
protected:
    void setInfo(std::string_view key, QXValue value)
    {
        bundle.info.insert_or_assign(std::string(key), std::move(value));
    }
    void removeInfo(std::string_view key) { bundle.info.erase(std::string(key)); }
    std::string credits(std::string content)
    {
        bundle.resources["Credits.html"] = std::move(content);
        return QXAboutBoxCredits(bundle);
    }

    // The template with its replacements made, one after the other.
    std::string textFor(std::u16string text) const
    {
        for (const QXAboutBoxReplacement& replacement : QXAboutBoxReplacements(text, bundle)) {
            text.replace(replacement.position, replacement.length, replacement.text);
        }
        return QXUTF8FromUTF16(text).value();
    }

    NPSimulatedBundle bundle;
};

TEST_F(QXAboutBoxTextTest, TintIsLightGreyUntilItIsSetOnceForAll)
{
    const QXSharedScope scope;
    EXPECT_EQ(QXAboutBoxBackgroundTint(), (QXColor{0.9, 0.9, 0.9, 1.0}));
    QXAboutBoxSetBackgroundTint({0.81, 0.81, 0.84, 1.0});
    EXPECT_EQ(QXAboutBoxBackgroundTint(), (QXColor{0.81, 0.81, 0.84, 1.0}));
}

TEST_F(QXAboutBoxTextTest, NameIsTheBundlesOrElseThatOfItsFolder)
{
    EXPECT_EQ(QXAboutBoxApplicationName(bundle), "Nightpane");
    bundle.path = "/opt/Pane.app";
    setInfo("CFBundleName", 5);
    EXPECT_EQ(QXAboutBoxApplicationName(bundle), "Pane.app");
    removeInfo("CFBundleName");
    EXPECT_EQ(QXAboutBoxApplicationName(bundle), "Pane.app");
}

TEST_F(QXAboutBoxTextTest, VersionShowsTheBuildWhereItDiffers)
{
    setInfo("CFBundleShortVersionString", "1.2");
    setInfo("CFBundleVersion", "340");
    EXPECT_EQ(QXAboutBoxVersionText(bundle), "1.2 (340)");
    setInfo("CFBundleVersion", "1.2");
    EXPECT_EQ(QXAboutBoxVersionText(bundle), "1.2");
    removeInfo("CFBundleVersion");
    EXPECT_EQ(QXAboutBoxVersionText(bundle), "1.2");
}

TEST_F(QXAboutBoxTextTest, VersionThatIsNoTextIsDescribed)
{
    removeInfo("CFBundleVersion");
    setInfo("CFBundleShortVersionString", 3);
    EXPECT_EQ(QXAboutBoxVersionText(bundle), "3");
    setInfo("CFBundleShortVersionString", 1.5);
    EXPECT_EQ(QXAboutBoxVersionText(bundle), "1.5");
}

TEST_F(QXAboutBoxTextTest, CopyrightThatIsNoTextIsEmpty)
{
    EXPECT_EQ(QXAboutBoxCopyright(bundle), "");
    setInfo("NSHumanReadableCopyright", 2026);
    EXPECT_EQ(QXAboutBoxCopyright(bundle), "");
    setInfo("NSHumanReadableCopyright", "© 2026");
    EXPECT_EQ(QXAboutBoxCopyright(bundle), "© 2026");
}

TEST_F(QXAboutBoxTextTest, CreditsChangeTheFirstNameOfTheirFormerFontAlone)
{
    EXPECT_EQ(credits("a Lucida Grande b Lucida Grande"), "a Helvetica Neue b Lucida Grande");
    EXPECT_EQ(credits("lucida grande"), "lucida grande");
}

TEST_F(QXAboutBoxTextTest, CreditsAreReadInTheEncodingThatTheyAreIn)
{
    EXPECT_EQ(credits("Zoë"), "Zoë");
    EXPECT_EQ(credits("\xEF\xBB\xBFZoë"), "Zoë");
    EXPECT_EQ(credits("Zo\xEB"), "Zoë");
    EXPECT_EQ(credits(std::string("\xFE\xFF\0Z\0\xEB", 6)), "Zë");
    EXPECT_EQ(credits(std::string("\xFF\xFEZ\0\xEB\0", 6)), "Zë");
    EXPECT_EQ(credits(std::string("\xFE\xFF\xD8\0", 4)), ""); // half a character
}

TEST_F(QXAboutBoxTextTest, MissingCreditsLeaveTheirPlaceEmpty)
{
    EXPECT_EQ(QXAboutBoxCredits(bundle), "");
    EXPECT_EQ(textFor(u"App\nVersion\nCopyright\n<Credits>"), "Nightpane\nVersion 1.0 (100)\n\n<>");
}

TEST_F(QXAboutBoxTextTest, EveryWordIsReplacedWhereTheTemplateFirstHasIt)
{
    setInfo("CFBundleName", "Version Credits"); // not replaced again
    setInfo("NSHumanReadableCopyright", "© App");
    credits("<p>App</p>");
    EXPECT_EQ(textFor(u"App, App\nVersion\nCopyright\nCredits Credits"),
              "Version Credits, App\nVersion 1.0 (100)\n© App\n<p>App</p> Credits");
}

TEST_F(QXAboutBoxTextTest, ReplacementsRunFromTheEndAndSayHowTheyLook)
{
    const auto replacements = QXAboutBoxReplacements(u"App Version Copyright Credits", bundle);
    ASSERT_EQ(replacements.size(), 4U);
    EXPECT_EQ(replacements[0].position, 22U);
    EXPECT_EQ(replacements[0].length, 7U);
    EXPECT_TRUE(replacements[0].isHTML);
    EXPECT_EQ(replacements[0].font, QXAboutBoxFont::asInTemplate);
    EXPECT_EQ(replacements[1].position, 12U);
    EXPECT_EQ(replacements[1].font, QXAboutBoxFont::asInTemplate);
    EXPECT_EQ(replacements[2].position, 4U);
    EXPECT_EQ(replacements[2].font, QXAboutBoxFont::system);
    EXPECT_EQ(replacements[3].position, 0U);
    EXPECT_EQ(replacements[3].font, QXAboutBoxFont::boldSystem);
    EXPECT_FALSE(replacements[3].isHTML);
}

TEST_F(QXAboutBoxTextTest, WordThatTheTemplateLacksIsLeftOut)
{
    EXPECT_EQ(textFor(u"App only"), "Nightpane only");
}

TEST_F(QXAboutBoxTextTest, PlacesCountInTheUnitsOfUTF16)
{
    setInfo("CFBundleName", "N");
    EXPECT_EQ(textFor(u"\U0001F319 App"), "🌙 N");
}

} // namespace
