#include "Pictures/NPDrawing.h"
#include "Pictures/NPTestPhotograph.h"

#include <array>

namespace {

constexpr NPColor ink = 0x1A1A1A;

void drawPaper(cairo_t* context, const NPArea& paper)
{
    for (int i = 6; i >= 1; --i) { // a soft shadow
        const double spread = static_cast<double>(i) * 1.6;
        NPSetColor(context, 0x000000, 0.05);
        NPFillRoundedRectangle(context, paper.x - spread + 2.0, paper.y - spread + 4.0, paper.width + 2.0 * spread,
                               paper.height + 2.0 * spread, 4.0 + spread);
    }
    NPSetColor(context, 0xFFFFFF);
    NPFillRectangle(context, paper.x, paper.y, paper.width, paper.height);
}

void drawParagraphs(cairo_t* context, double x, double y, double width)
{
    // clang-format off
    constexpr std::array<const char*, 12> lines{
        "When the sun goes down, the light in",
        "the room turns warm and low. A white",
        "page on a screen does not: it stays",
        "as bright and as blue as at noon,",
        "and the eye has to bridge the two.",
        "",
        "A transfer table says how much light",
        "a display gives for each value that a",
        "program asks for. Change the table,",
        "and the whole screen changes with it,",
        "at once, and without a trace in the",
        "picture itself.",
    };
    // clang-format on
    NPSetColor(context, ink);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const double line = static_cast<double>(i) * 17.0 - (i > 5 ? 7.0 : 0.0);
        NPDrawText(context, NPFittedText(context, lines[i], 11.5, NPTypeface::serif, width), x, y + line, 11.5,
                   NPTypeface::serif);
    }
}

void drawSizes(cairo_t* context, double x, double y)
{
    struct Sample {
        double size;
        double offset;
        NPColor color;
    };
    constexpr std::array<Sample, 4> samples{
        {{15.0, 0.0, 0x1A1A1A}, {12.0, 18.0, 0x5A5A5A}, {10.0, 33.0, 0x8A8A8A}, {9.0, 46.0, 0xB4B4B4}}};
    for (const Sample& sample : samples) {
        NPSetColor(context, sample.color);
        NPDrawText(context, "Evening light 0123456789", x, y + sample.offset, sample.size);
    }
}

} // namespace

void NPDrawTestPage(cairo_t* context, const NPArea& area)
{
    NPSetLinearGradient(context, area.x, area.y, area.x + area.width, area.y + area.height,
                        {{0.0, 0x6E7680}, {1.0, 0x4A5058}});
    NPFillRectangle(context, area.x, area.y, area.width, area.height);
    const NPArea paper{area.x + 26.0, area.y + 24.0, area.width - 52.0, area.height - 48.0};
    drawPaper(context, paper);

    const double x = paper.x + 22.0;
    NPSetColor(context, ink);
    NPDrawText(context, "On evening light", x, paper.y + 42.0, 21.0, NPTypeface::serifBold);
    NPSetColor(context, 0xB03A2E);
    NPFillRectangle(context, x, paper.y + 54.0, 40.0, 2.0);
    drawParagraphs(context, x, paper.y + 82.0, paper.width - 30.0);
    NPSetColor(context, 0x1F5FBF);
    NPDrawText(context, "A link, for the blue", x, paper.y + 288.0, 11.5, NPTypeface::serif);
    drawSizes(context, x, paper.y + 316.0);
}
