#include "Pictures/NPPicturesProgram.h"

#include "Effects/NPEffectGroup.h"
#include "Foundation/QXPropertyList.h"
#include "Pictures/NPCurvePlot.h"
#include "Pictures/NPPictureNames.h"
#include "Pictures/NPTestPhotograph.h"
#include "Platform/Simulated/NPSimulatedPlatform.h"
#include "Sunset & Sunrise/NPSunriseSunsetCalculator.h"

#include <expected>
#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;

constexpr const char* usage =
    "usage: nightpane-pictures [--out FOLDER] FILE...\n"
    "\n"
    "Draws what effects do. For each effect file (as nightpane-cli exports them) it writes a test\n"
    "photograph as a display with that effect shows it, and the plot of the effect's transfer curve,\n"
    "beside the photograph itself. The folder is made when it does not exist; without --out it is the\n"
    "current one. Prints the path of each picture.\n"
    "\n"
    "Exit status: 0 done, 1 something failed, 2 misuse.\n";

struct Request {
    fs::path folder = ".";
    std::vector<fs::path> files;
    bool help = false;
};

std::expected<Request, std::string> parsed(const std::vector<std::string>& words)
{
    Request request;
    bool onlyFiles = false;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (onlyFiles || !word.starts_with('-')) {
            request.files.emplace_back(word);
        } else if (word == "--") {
            onlyFiles = true;
        } else if (word == "--help") {
            request.help = true;
        } else if (word == "--out" && i + 1 < words.size() && !words[i + 1].empty()) {
            request.folder = words[++i];
        } else {
            return std::unexpected(word == "--out" ? "--out needs a folder" : "unknown option " + word);
        }
    }
    if (request.files.empty() && !request.help) {
        return std::unexpected("no effect file given");
    }
    return request;
}

// At most one byte more than a property list may have: the reader then says that it is too large.
std::expected<QXData, std::string> contents(const fs::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    QXData data;
    std::vector<char> block(std::size_t{1} << 16);
    while (stream && data.size() <= QXPropertyListLimits().bytes) {
        stream.read(block.data(), static_cast<std::streamsize>(block.size()));
        data.insert(data.end(), block.begin(), block.begin() + stream.gcount());
    }
    if (!stream.is_open() || stream.bad()) {
        return std::unexpected("cannot be read");
    }
    return data;
}

std::expected<QXDictionary, std::string> effectSettings(const fs::path& file)
{
    const std::expected<QXData, std::string> data = contents(file);
    if (!data) {
        return std::unexpected(data.error());
    }
    const std::expected<QXValue, std::string> value = QXPropertyListFromData(*data);
    if (!value) {
        return std::unexpected("not an effect file: " + value.error());
    }
    if (!value->dictionary()) {
        return std::unexpected("not an effect file: it holds no dictionary of settings");
    }
    return *value->dictionary();
}

class Studio {
public:
    Studio(fs::path folder, std::ostream& output) : _folder(std::move(folder)), _output(output) {}

    std::expected<void, std::string> drawPhotograph() { return _write(_photograph, NPPictureNames::photograph); }

    std::expected<void, std::string> drawEffect(const fs::path& file)
    {
        std::expected<QXDictionary, std::string> settings = effectSettings(file);
        if (!settings) {
            return std::unexpected(file.string() + ": " + settings.error());
        }
        const NPEffectGroup group(_environment, std::move(*settings), true);
        QXGammaTable table = QXGammaTableIdentity();
        group.applyEffectOnGammaCurve(table);
        QXGammaTableClamp(table);

        NPPicture shown(_photograph);
        shown.applyTable(table);
        const std::string name = group.name();
        const std::string stem = _names.stem(name);
        if (auto written = _write(shown, stem); !written) {
            return written;
        }
        return _write(NPCurvePlot(table, NPPictureTitle(name)), stem + std::string(NPPictureNames::curveSuffix));
    }

private:
    std::expected<void, std::string> _write(const NPPicture& picture, std::string_view stem)
    {
        const fs::path path = _folder / (std::string(stem) + ".png");
        if (const auto written = picture.write(path); !written) {
            return std::unexpected(path.string() + ": " + written.error());
        }
        _output << path.string() << '\n';
        return {};
    }

    fs::path _folder;
    std::ostream& _output;
    NPPicture _photograph = NPTestPhotograph();
    NPPictureNames _names;
    // What an effect needs around it; its settings alone decide the table.
    NPSimulatedPlatform _platform;
    const QXTimeZone& _zone = _platform.timeZones.systemTimeZone();
    NPSunriseSunsetCalculator _calculator{_platform.defaults, _zone, _platform.clock, _platform.notifications};
    NPEffectEnvironment _environment{_platform.notifications, _zone, _platform.clock, _calculator};
};

} // namespace

int NPRunPictures(const std::vector<std::string>& words, std::ostream& output, std::ostream& errors)
{
    const auto complain = [&](const std::string& what) { errors << "nightpane-pictures: " << what << '\n'; };
    const std::expected<Request, std::string> request = parsed(words);
    if (!request) {
        complain(request.error() + " (see --help)");
        return 2;
    }
    if (request->help) {
        output << usage;
        return 0;
    }
    std::error_code error;
    fs::create_directories(request->folder, error);
    if (error) {
        complain(request->folder.string() + ": " + error.message());
        return 1;
    }
    Studio studio(request->folder, output);
    int status = 0;
    const auto note = [&](const std::expected<void, std::string>& drawn) {
        if (!drawn) {
            complain(drawn.error());
            status = 1;
        }
    };
    note(studio.drawPhotograph());
    for (const fs::path& file : request->files) {
        note(studio.drawEffect(file));
    }
    return status;
}
