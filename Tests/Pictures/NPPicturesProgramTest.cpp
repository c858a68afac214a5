#include "Pictures/NPPicturesProgram.h"

#include "Foundation/QXPropertyList.h"
#include "Pictures/NPTestPhotograph.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdlib.h>

namespace {

namespace fs = std::filesystem;

class NPPicturesProgramTest : public testing::Test {
protected:
    NPPicturesProgramTest()
    {
        std::string pattern = (fs::temp_directory_path() / "nightpane-pictures-XXXXXX").string();
        folder = mkdtemp(pattern.data());
    }
    ~NPPicturesProgramTest() override { fs::remove_all(folder); }

    std::string fileWith(const std::string& name, const std::string& content) const
    {
        std::ofstream(folder / name, std::ios::binary) << content;
        return (folder / name).string();
    }
    std::string effectFile(const std::string& name, QXDictionary settings) const
    {
        const QXData data = QXPropertyListXMLData(QXValue(std::move(settings))).value();
        return fileWith(name, std::string(data.begin(), data.end()));
    }
    int run(const std::vector<std::string>& words)
    {
        output.str({});
        errors.str({});
        return NPRunPictures(words, output, errors);
    }
    std::string out() const { return (folder / "out").string(); }

    fs::path folder;
    std::ostringstream output;
    std::ostringstream errors;
};

// The picture of a PNG file, or an empty one.
NPPicture pictureFrom(const fs::path& file)
{
    cairo_surface_t* const surface = cairo_image_surface_create_from_png(file.c_str());
    NPPicture picture(cairo_image_surface_get_width(surface), cairo_image_surface_get_height(surface));
    cairo_set_source_surface(picture.context(), surface, 0.0, 0.0);
    cairo_paint(picture.context());
    cairo_surface_destroy(surface);
    return picture;
}

const QXDictionary inverting{{"NPEffectName", "Night"}, {"InvertScreen", true}};

} // namespace

TEST_F(NPPicturesProgramTest, SaysWhereThePicturesAre)
{
    EXPECT_EQ(run({"--out", out(), effectFile("night", inverting)}), 0);
    EXPECT_EQ(output.str(), out() + "/photograph.png\n" + out() + "/Night.png\n" + out() + "/Night curve.png\n");
    EXPECT_EQ(errors.str(), "");
    EXPECT_TRUE(fs::exists(out() + "/photograph.png"));
    EXPECT_TRUE(fs::exists(out() + "/Night.png"));
    EXPECT_TRUE(fs::exists(out() + "/Night curve.png"));
}

TEST_F(NPPicturesProgramTest, ShowsThePhotographThroughTheEffect)
{
    ASSERT_EQ(run({"--out", out(), effectFile("night", inverting)}), 0);
    const NPPicture before = pictureFrom(out() + "/photograph.png");
    const NPPicture after = pictureFrom(out() + "/Night.png");
    ASSERT_EQ(after.width(), NPTestPhotographWidth);
    for (int y = 0; y < before.height(); y += 7) {
        for (int x = 0; x < before.width(); x += 7) {
            ASSERT_EQ(after.pixel(x, y), 0xFFFFFFU - before.pixel(x, y)) << x << ' ' << y;
        }
    }
}

TEST_F(NPPicturesProgramTest, ClampsWhatAnEffectPushesBeyondTheRange)
{
    const QXDictionary settings{{"NPEffectName", "Dark"}, {"Dim", true}, {"DimLevel", -3.0}};
    ASSERT_EQ(run({"--out", out(), effectFile("dark", settings)}), 0);
    EXPECT_EQ(pictureFrom(out() + "/Dark.png").pixel(700, 40), 0x000000U);
}

TEST_F(NPPicturesProgramTest, DrawsTheOtherEffectsWhenOneCannotBeRead)
{
    const std::string broken = fileWith("broken", "<?xml");
    EXPECT_EQ(run({"--out", out(), broken, effectFile("night", inverting)}), 1);
    EXPECT_TRUE(fs::exists(out() + "/Night.png"));
    EXPECT_TRUE(errors.str().starts_with("nightpane-pictures: " + broken + ": not an effect file: "));
    EXPECT_EQ(errors.str().find('\n'), errors.str().size() - 1);
}

TEST_F(NPPicturesProgramTest, RefusesAFileWithoutSettings)
{
    const QXData data = QXPropertyListXMLData(QXValue(QXArray{1, 2})).value();
    const std::string file = fileWith("array", std::string(data.begin(), data.end()));
    EXPECT_EQ(run({"--out", out(), file}), 1);
    EXPECT_EQ(errors.str(),
              "nightpane-pictures: " + file + ": not an effect file: it holds no dictionary of settings\n");
}

TEST_F(NPPicturesProgramTest, RefusesAFileThatIsNotThere)
{
    EXPECT_EQ(run({"--out", out(), "/nonexistent"}), 1);
    EXPECT_EQ(errors.str(), "nightpane-pictures: /nonexistent: cannot be read\n");
}

TEST_F(NPPicturesProgramTest, RefusesAFolder)
{
    EXPECT_EQ(run({"--out", out(), folder.string()}), 1);
    EXPECT_EQ(errors.str(), "nightpane-pictures: " + folder.string() + ": cannot be read\n");
}

TEST_F(NPPicturesProgramTest, FailsWhenTheFolderCannotBeMade)
{
    const std::string file = fileWith("file", "");
    EXPECT_EQ(run({"--out", file + "/out", effectFile("night", inverting)}), 1);
    EXPECT_TRUE(errors.str().starts_with("nightpane-pictures: " + file + "/out: ")) << errors.str();
    EXPECT_EQ(output.str(), "");
}

TEST_F(NPPicturesProgramTest, KeepsEffectsOfTheSameNameApart)
{
    const std::string file = effectFile("night", inverting);
    EXPECT_EQ(run({"--out", out(), file, file}), 0);
    EXPECT_TRUE(fs::exists(out() + "/Night 2.png"));
}

TEST_F(NPPicturesProgramTest, TakesFilesThatLookLikeOptionsAfterTwoDashes)
{
    EXPECT_EQ(run({"--out", out(), "--", "--help"}), 1);
    EXPECT_EQ(errors.str(), "nightpane-pictures: --help: cannot be read\n");
}

TEST_F(NPPicturesProgramTest, CallsItMisuseWhenThereIsNoFile)
{
    EXPECT_EQ(run({}), 2);
    EXPECT_EQ(errors.str(), "nightpane-pictures: no effect file given (see --help)\n");
    EXPECT_EQ(run({"--out", out()}), 2);
    EXPECT_FALSE(fs::exists(out()));
}

TEST_F(NPPicturesProgramTest, CallsItMisuseWhenAnOptionIsUnknown)
{
    EXPECT_EQ(run({"--size", "3"}), 2);
    EXPECT_EQ(errors.str(), "nightpane-pictures: unknown option --size (see --help)\n");
}

TEST_F(NPPicturesProgramTest, CallsItMisuseWhenTheFolderIsMissing)
{
    EXPECT_EQ(run({"file", "--out"}), 2);
    EXPECT_EQ(errors.str(), "nightpane-pictures: --out needs a folder (see --help)\n");
}

TEST_F(NPPicturesProgramTest, ExplainsItself)
{
    EXPECT_EQ(run({"--help"}), 0);
    EXPECT_TRUE(output.str().starts_with("usage: nightpane-pictures "));
    EXPECT_EQ(errors.str(), "");
}
