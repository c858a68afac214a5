#include "Pictures/NPPictureNames.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

std::string stem(std::string_view effectName)
{
    return NPPictureNames().stem(effectName);
}

} // namespace

TEST(NPPictureNames, KeepsAnOrdinaryName)
{
    EXPECT_EQ(stem("Evening, warm (2)"), "Evening, warm (2)");
}

TEST(NPPictureNames, KeepsLettersOfOtherScriptsAndEmoji)
{
    EXPECT_EQ(stem("Nächte 夜 🌙"), "Nächte 夜 🌙");
}

TEST(NPPictureNames, StaysInItsFolder)
{
    for (const char* name : {"../secret", "/etc/passwd", "..", ".", "a/../../b", "//", "..\\..\\b"}) {
        const std::filesystem::path path("/folder/" + stem(name) + ".png");
        EXPECT_EQ(path.lexically_normal().parent_path(), "/folder") << name;
    }
}

TEST(NPPictureNames, ReplacesWhatFileSystemsObjectTo)
{
    EXPECT_EQ(stem("a/b\\c:d*e?f\"g<h>i|j"), "a-b-c-d-e-f-g-h-i-j");
}

TEST(NPPictureNames, ReplacesControlCharacters)
{
    EXPECT_EQ(stem("a\nb\tc\x1b[31m\x7f"), "a-b-c-[31m-");
    EXPECT_EQ(stem(std::string_view("a\0b", 3)), "a-b");
}

TEST(NPPictureNames, ReplacesMalformedBytes)
{
    EXPECT_EQ(stem("a\xff\xc3"), "a--");
}

TEST(NPPictureNames, IsNeverHiddenNorAnOption)
{
    EXPECT_EQ(stem(".hidden"), "hidden");
    EXPECT_EQ(stem("-rf"), "rf");
    EXPECT_EQ(stem("  . - name . "), "name");
}

TEST(NPPictureNames, IsNeverEmpty)
{
    for (const char* name : {"", " ", "...", "/", "-"}) {
        EXPECT_EQ(stem(name), "effect") << name;
    }
}

TEST(NPPictureNames, CutsALongNameBetweenCharacters)
{
    std::string name;
    for (int i = 0; i < 1000; ++i) {
        name += "🌙";
    }
    EXPECT_EQ(stem(name), name.substr(0, 180));
    EXPECT_EQ(stem('a' + name), ('a' + name).substr(0, 181));
}

TEST(NPPictureNames, NumbersEffectsOfTheSameName)
{
    NPPictureNames names;
    EXPECT_EQ(names.stem("Dim"), "Dim");
    EXPECT_EQ(names.stem("Dim"), "Dim 2");
    EXPECT_EQ(names.stem("dim"), "dim 3");
    EXPECT_EQ(names.stem("Dim 2"), "Dim 2 2");
}

TEST(NPPictureNames, LeavesThePhotographAlone)
{
    EXPECT_EQ(stem("photograph"), "photograph 2");
    EXPECT_EQ(stem("Photograph"), "Photograph 2");
}

TEST(NPPictureNames, LeavesTheCurveOfAnotherEffectAlone)
{
    NPPictureNames names;
    EXPECT_EQ(names.stem("Dim"), "Dim");
    EXPECT_EQ(names.stem("Dim curve"), "Dim curve 2");
}

TEST(NPPictureNames, LeavesAnotherEffectAloneWithItsCurve)
{
    NPPictureNames names;
    EXPECT_EQ(names.stem("Dim curve"), "Dim curve");
    EXPECT_EQ(names.stem("Dim"), "Dim 2");
}

TEST(NPPictureTitle, IsTheNameOnOneLine)
{
    EXPECT_EQ(NPPictureTitle("../Night\nmode 🌙\x1b"), "../Night mode 🌙 ");
    EXPECT_EQ(NPPictureTitle("a\xff"), "a?");
}

TEST(NPPictureTitle, CutsALongName)
{
    EXPECT_EQ(NPPictureTitle(std::string(120, 'a')), std::string(120, 'a'));
    EXPECT_EQ(NPPictureTitle(std::string(5000, 'a')), std::string(120, 'a') + "…");
}
