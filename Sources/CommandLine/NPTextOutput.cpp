#include "CommandLine/NPTextOutput.h"

#include "CommandLine/NPHotKeyNames.h"
#include "Foundation/QXCalendar.h"
#include "Foundation/QXString.h"

#include <algorithm>
#include <vector>

namespace {

std::string text(const QXDictionary& dictionary, std::string_view key)
{
    const QXValue* value = QXDictionaryValue(dictionary, key);
    return value && value->string() ? NPPrintable(*value->string()) : "";
}

bool flag(const QXDictionary& dictionary, std::string_view key)
{
    const QXValue* value = QXDictionaryValue(dictionary, key);
    return value && value->boolean().value_or(false);
}

std::string number(const QXDictionary& dictionary, std::string_view key)
{
    const QXValue* value = QXDictionaryValue(dictionary, key);
    if (!value || !value->isNumber()) {
        return "";
    }
    return value->kind() == QXValue::Kind::real ? QXDoubleDescription(*value->real())
                                                : std::to_string(*value->integer());
}

std::string localTime(const QXDictionary& dictionary, std::string_view key, const QXTimeZone& zone)
{
    const std::optional<QXDate> date = QXDateFromDescription(text(dictionary, key));
    return date ? NPLocalTimeText(*date, zone) : "";
}

// Characters, not bytes: continuation bytes of UTF-8 take no column.
std::size_t columns(std::string_view cell)
{
    return static_cast<std::size_t>(
        std::ranges::count_if(cell, [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

using Row = std::vector<std::string>;

// Left-aligned columns, two spaces apart, the first row being the heading.
std::string tableText(const std::vector<Row>& rows)
{
    std::vector<std::size_t> widths(rows.front().size(), 0);
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], columns(row[i]));
        }
    }
    std::string all;
    for (const Row& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            line += row[i];
            line.append(widths[i] - columns(row[i]) + 2, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        all += line + '\n';
    }
    return all;
}

// "dim 30%, tint 30° 40%"
std::string effectSummary(const QXDictionary& settings)
{
    std::string summary;
    const auto append = [&](const std::string& part) { summary += (summary.empty() ? "" : ", ") + part; };
    for (const std::string_view key : {"invert", "hide-stripes"}) {
        if (text(settings, key) == "on") {
            append(std::string(key));
        }
    }
    if (text(settings, "dim") != "off") {
        append("dim " + text(settings, "dim"));
    }
    if (text(settings, "vividness") != "off") {
        append("tint " + text(settings, "hue") + "° " + text(settings, "vividness"));
    }
    if (text(settings, "hdtv") == "on") {
        append("hdtv");
    }
    return summary.empty() ? "nothing" : summary;
}

} // namespace

std::string NPPrintable(std::string_view raw)
{
    std::string printable;
    for (const char c : raw) {
        const unsigned char byte = static_cast<unsigned char>(c);
        printable += byte < 0x20 || byte == 0x7F ? ' ' : c;
    }
    return printable;
}

std::string NPLocalTimeText(QXDate date, const QXTimeZone& zone)
{
    const QXDate shifted = date.addingTimeInterval(zone.secondsFromGMT(date));
    std::string local = QXDateDescription(shifted);
    if (local.size() == 20) { // the zone's fields, so no Z
        local[10] = ' ';
        local.pop_back();
    }
    return local;
}

std::string NPEffectsText(const QXArray& effects)
{
    std::vector<Row> rows{
        {"Effect", "State", "Does", "Activates", "Deactivates", "Hot key", "Screens", "Identifier"}};
    std::string remarks;
    for (const QXValue& effect : effects) {
        const QXDictionary& fields = *effect.dictionary();
        const QXValue* settings = QXDictionaryValue(fields, "settings");
        const QXDictionary& texts = *settings->dictionary();
        const std::string others = text(texts, "clear-others") == "on" ? ", clears others" : "";
        rows.push_back({text(fields, "name"), text(fields, "state"), effectSummary(texts), text(texts, "activate"),
                        text(texts, "deactivate"), NPHotKeyText(fields), text(texts, "screens") + others,
                        text(fields, "identifier")});
        remarks += NPHotKeyRemark(fields);
    }
    return tableText(rows) + remarks;
}

std::string NPScreensText(const QXArray& screens, const QXTimeZone& zone)
{
    std::vector<Row> rows{{"Screen", "Name", "Effect", "State", "Since", "Identifier"}};
    for (const QXValue& screen : screens) {
        const QXDictionary& fields = *screen.dictionary();
        const std::string effect = text(fields, "effect");
        rows.push_back({number(fields, "number") + (flag(fields, "main") ? " (main)" : ""), text(fields, "name"),
                        effect.empty() ? "none" : effect, flag(fields, "active") ? "on" : "off",
                        localTime(fields, "since", zone), number(fields, "identifier")});
    }
    return tableText(rows);
}

std::string NPStatusText(const QXDictionary& status)
{
    const std::string running =
        flag(status, "running") ? "runs (process " + number(status, "process") + ")" : "does not run";
    return "Nightpane " + text(status, "version") + ' ' + running + ", switched "
           + (flag(status, "active") ? "on" : "off") + ", displays: " + text(status, "platform") + '\n';
}

std::string NPLocationText(const QXDictionary& location)
{
    return number(location, "latitude") + ' ' + number(location, "longitude")
           + (flag(location, "guessed") ? " (guessed from the time zone)" : "") + '\n';
}

std::string NPSunText(const QXDictionary& sun, const QXTimeZone& zone)
{
    std::string all = "At " + localTime(sun, "at", zone) + ", " + NPLocationText(sun);
    constexpr std::pair<std::string_view, std::string_view> lines[] = {{"previousSunrise", "Previous sunrise  "},
                                                                       {"previousSunset", "Previous sunset   "},
                                                                       {"nextSunrise", "Next sunrise      "},
                                                                       {"nextSunset", "Next sunset       "}};
    for (const auto& [key, label] : lines) {
        const std::string local = localTime(sun, key, zone);
        all += std::string(label) + (local.empty() ? "none" : local) + '\n';
    }
    return all;
}

std::string NPTableText(const QXDictionary& table)
{
    const QXValue* channels[] = {QXDictionaryValue(table, "red"), QXDictionaryValue(table, "green"),
                                 QXDictionaryValue(table, "blue")};
    std::string all;
    for (std::size_t i = 0; i < channels[0]->array()->size(); ++i) {
        all += std::to_string(i);
        for (const QXValue* channel : channels) {
            all += ' ' + QXDoubleDescription(*(*channel->array())[i].real());
        }
        all += '\n';
    }
    return all;
}
