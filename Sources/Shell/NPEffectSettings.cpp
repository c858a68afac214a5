#include "Shell/NPEffectSettings.h"

#include "Foundation/QXString.h"
#include "HotKey/JXHotKeyWords.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

namespace {

constexpr double darkest = 0.95; // a screen that is darker than this cannot be used to undo it
constexpr double longestFade = 3600.0;
constexpr double fullTurn = 360.0;

// A change that has been checked and only has to be made.
using Change = std::function<void(NPEffectGroup&)>;
using Parsed = std::expected<Change, std::string>; // the error says what was expected

Parsed expectedText(std::string_view what)
{
    return std::unexpected(std::string(what));
}

std::optional<bool> parseSwitch(std::string_view text)
{
    if (text == "on" || text == "yes" || text == "true" || text == "1") {
        return true;
    }
    if (text == "off" || text == "no" || text == "false" || text == "0") {
        return false;
    }
    return std::nullopt;
}

// "off", "30%" or "0.3", within 0 and the limit.
std::optional<double> parseShare(std::string_view text, double limit)
{
    if (text == "off") {
        return 0.0;
    }
    const bool percent = text.ends_with('%');
    const auto number = QXParseDouble(percent ? text.substr(0, text.size() - 1) : text);
    const double share = number.value_or(-1.0) / (percent ? 100.0 : 1.0);
    return share >= 0.0 && share <= limit ? std::optional(share) : std::nullopt;
}

std::optional<double> parseWithin(std::string_view text, double limit)
{
    const std::optional<double> number = QXParseDouble(text);
    return number && *number >= 0.0 && *number <= limit ? number : std::nullopt;
}

std::optional<std::int64_t> parseWhole(std::string_view text, std::int64_t limit)
{
    const bool isWhole =
        !text.empty() && text.size() <= 10 && text.find_first_not_of("0123456789") == std::string_view::npos;
    const std::int64_t value = isWhole ? std::stoll(std::string(text)) : -1;
    return value >= 0 && value <= limit ? std::optional(value) : std::nullopt;
}

struct TimerSetting {
    NPEffectTimerKind kind = NPEffectTimerKind::NPEffectTimerKindNone;
    std::optional<QXDateComponents> time;
};

std::optional<TimerSetting> parseTimer(std::string_view text)
{
    if (text == "off" || text == "none") {
        return TimerSetting{};
    }
    if (text == "sunrise") {
        return TimerSetting{NPEffectTimerKind::NPEffectTimerKindSunrise, std::nullopt};
    }
    if (text == "sunset") {
        return TimerSetting{NPEffectTimerKind::NPEffectTimerKindSunset, std::nullopt};
    }
    const std::size_t colon = text.find(':');
    if (colon > 2 || text.size() - colon != 3) {
        return std::nullopt;
    }
    const auto hour = parseWhole(text.substr(0, colon), 23);
    const auto minute = parseWhole(text.substr(colon + 1), 59);
    if (!hour || !minute) {
        return std::nullopt;
    }
    QXDateComponents time;
    time.hour = *hour;
    time.minute = *minute;
    return TimerSetting{NPEffectTimerKind::NPEffectTimerKindTime, time};
}

Parsed parseSwitchSetting(std::string_view text, void (*set)(NPEffectGroup&, bool))
{
    const std::optional<bool> on = parseSwitch(text);
    if (!on) {
        return expectedText("on or off");
    }
    return [set, on = *on](NPEffectGroup& group) { set(group, on); };
}

Parsed parseName(std::string_view text)
{
    if (text.empty()) {
        return expectedText("a name");
    }
    return [name = std::string(text)](NPEffectGroup& group) { group.setName(name); };
}

Parsed parseDim(std::string_view text)
{
    const std::optional<double> share = parseShare(text, darkest);
    if (!share) {
        return expectedText("off, a percentage up to 95%, or a fraction up to 0.95");
    }
    return [share = *share](NPEffectGroup& group) { group.dimEffect().setLevel(static_cast<float>(-share)); };
}

Parsed parseHue(std::string_view text)
{
    const std::optional<double> degrees = parseWithin(text, fullTurn);
    if (!degrees) {
        return expectedText("degrees from 0 to 360");
    }
    return [degrees = *degrees](NPEffectGroup& group) {
        group.colorFilterEffect().setHue(static_cast<float>(degrees));
    };
}

Parsed parseVividness(std::string_view text)
{
    const std::optional<double> share = parseShare(text, 1.0);
    if (!share) {
        return expectedText("off, a percentage up to 100%, or a fraction up to 1");
    }
    return [share = *share](NPEffectGroup& group) {
        group.colorFilterEffect().setVividness(static_cast<float>(share));
    };
}

Parsed parseTimerSetting(std::string_view text, void (NPEffectGroup::*setKind)(NPEffectTimerKind),
                         void (NPEffectGroup::*setTime)(const QXDateComponents&))
{
    const std::optional<TimerSetting> timer = parseTimer(text);
    if (!timer) {
        return expectedText("off, sunrise, sunset, or a time such as 22:30");
    }
    return [=](NPEffectGroup& group) {
        if (timer->time) {
            // Hour and minute are announced one after the other. No timer may run at the time between, which
            // nobody asked for and which may lie in the past.
            (group.*setKind)(NPEffectTimerKind::NPEffectTimerKindNone);
            (group.*setTime)(*timer->time);
        }
        (group.*setKind)(timer->kind);
    };
}

Parsed parseFade(std::string_view text, void (NPEffectGroup::*set)(double))
{
    const std::optional<double> seconds = parseWithin(text, longestFade);
    if (!seconds) {
        return expectedText("seconds from 0 to 3600");
    }
    return [=](NPEffectGroup& group) { (group.*set)(*seconds); };
}

Parsed parseHotKey(std::string_view text)
{
    const auto hotKey = JXHotKeyFromWords(text, NPUSKeyboardLayout());
    if (!hotKey) {
        return expectedText(hotKey.error());
    }
    return [hotKey = *hotKey](NPEffectGroup& group) { group.setHotKey(hotKey); };
}

Parsed parseScreens(std::string_view text, const NPDisplayList& online)
{
    if (text == "all") {
        return [](NPEffectGroup& group) { group.removeObjectForKey(NPAffectedScreenSetKey); };
    }
    QXArray screens;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find(',', start), text.size());
        const auto number = parseWhole(text.substr(start, end - start), 0xFFFFFFFF);
        const bool isPosition = number && *number <= static_cast<std::int64_t>(NPDisplayListCapacity);
        if (!number || (isPosition && (*number == 0 || static_cast<std::size_t>(*number) > online.size()))) {
            return expectedText("all, or positions and identifiers of screens separated by commas");
        }
        const QXValue screen =
            isPosition ? QXValue(online[static_cast<std::size_t>(*number - 1)]) : QXValue(*number);
        if (std::ranges::find(screens, screen) == screens.end()) {
            screens.push_back(screen);
        }
        start = end + 1;
    }
    return [screens](NPEffectGroup& group) { group.setAffectedScreenSet(screens); };
}

// What can be set, and how its text is read. Screens apart: their positions need the list of displays.
struct Setting {
    std::string_view key;
    Parsed (*parse)(std::string_view text);
};

constexpr Setting settingTable[] = {
    {"name", parseName},
    {"invert",
     [](std::string_view text) {
         return parseSwitchSetting(text,
                                   [](NPEffectGroup& group, bool on) { group.invertEffect().setSelected(on); });
     }},
    {"hide-stripes",
     [](std::string_view text) {
         return parseSwitchSetting(
             text, [](NPEffectGroup& group, bool on) { group.overexposureEffect().setSelected(on); });
     }},
    {"hdtv",
     [](std::string_view text) {
         return parseSwitchSetting(
             text, [](NPEffectGroup& group, bool on) { group.hdtvLuminanceEffect().setSelected(on); });
     }},
    {"clear-others",
     [](std::string_view text) {
         return parseSwitchSetting(text,
                                   [](NPEffectGroup& group, bool on) { group.setClearEffectOnOtherScreens(on); });
     }},
    {"dim", parseDim},
    {"hue", parseHue},
    {"vividness", parseVividness},
    {"activate",
     [](std::string_view text) {
         return parseTimerSetting(text, &NPEffectGroup::setActivationTimerKind, &NPEffectGroup::setActivationTime);
     }},
    {"deactivate",
     [](std::string_view text) {
         return parseTimerSetting(text, &NPEffectGroup::setDeactivationTimerKind,
                                  &NPEffectGroup::setDeactivationTime);
     }},
    {"manual-fade",
     [](std::string_view text) { return parseFade(text, &NPEffectGroup::setManualTransitionDuration); }},
    {"timed-fade",
     [](std::string_view text) { return parseFade(text, &NPEffectGroup::setTimerTransitionDuration); }},
    {"hotkey", parseHotKey},
};

// None when there is no such setting.
std::optional<Parsed> parseSetting(std::string_view key, std::string_view text, const NPDisplayList& online)
{
    if (key == "screens") {
        return parseScreens(text, online);
    }
    const auto* setting = std::ranges::find(settingTable, key, &Setting::key);
    return setting == std::end(settingTable) ? std::nullopt : std::optional(setting->parse(text));
}

std::string onOrOff(bool on)
{
    return on ? "on" : "off";
}

// A number of single precision, times a factor, in its own shortest form: 30, not 30.000001192092896.
std::string singleDescription(double value, double factor = 1.0)
{
    const float single = static_cast<float>(value);
    for (int digits = 0; digits < 9; ++digits) {
        const double scale = std::pow(10.0, digits);
        const double rounded = std::round(value * factor * scale) / scale;
        if (static_cast<float>(rounded / factor) == single) {
            return QXDoubleDescription(rounded);
        }
    }
    return QXDoubleDescription(value * factor);
}

std::string shareDescription(float share)
{
    return share == 0.0F ? "off" : singleDescription(static_cast<double>(share), 100.0) + '%';
}

std::string timerDescription(NPEffectTimerKind kind, const QXDateComponents& time)
{
    switch (kind) {
    case NPEffectTimerKind::NPEffectTimerKindTime: {
        const std::string hour = std::to_string(time.hour);
        const std::string minute = std::to_string(time.minute);
        return (hour.size() < 2 ? "0" : "") + hour + (minute.size() < 2 ? ":0" : ":") + minute;
    }
    case NPEffectTimerKind::NPEffectTimerKindSunrise:
        return "sunrise";
    case NPEffectTimerKind::NPEffectTimerKindSunset:
        return "sunset";
    case NPEffectTimerKind::NPEffectTimerKindNone:
        break;
    }
    return "off";
}

std::string screensDescription(const NPDisplayList& screens)
{
    std::string text;
    for (const NPDisplayID screen : screens) {
        text += (text.empty() ? "" : ",") + std::to_string(screen);
    }
    return text.empty() ? "all" : text;
}

} // namespace

NPControlSettings NPEffectSettingsOfGroup(const NPEffectGroup& group)
{
    return {
        {"name", group.name()},
        {"invert", onOrOff(group.invertEffect().isSelected())},
        {"hide-stripes", onOrOff(group.overexposureEffect().isSelected())},
        {"hdtv", onOrOff(group.hdtvLuminanceEffect().isSelected())},
        {"clear-others", onOrOff(group.clearEffectOnOtherScreens())},
        {"dim", shareDescription(-group.dimEffect().level())},
        {"hue", singleDescription(static_cast<double>(group.colorFilterEffect().hue()))},
        {"vividness", shareDescription(group.colorFilterEffect().vividness())},
        {"activate", timerDescription(group.activationTimerKind(), group.activationTime())},
        {"deactivate", timerDescription(group.deactivationTimerKind(), group.deactivationTime())},
        {"manual-fade", singleDescription(group.manualTransitionDuration())},
        {"timed-fade", singleDescription(group.timerTransitionDuration())},
        {"hotkey", JXWordsFromHotKey(group.hotKey(), NPUSKeyboardLayout())},
        {"screens", screensDescription(group.affectedScreenSet())},
    };
}

QXDictionary NPEffectSettingsWithinRanges(QXDictionary settings)
{
    constexpr struct {
        std::string_view key;
        double least;
        double most;
        double neutral; // for what is not a number
    } ranges[] = {{NPDimLevelKey, -darkest, 0.0, 0.0},
                  {NPColorFilterHueKey, 0.0, fullTurn, 0.0},
                  {NPColorFilterVividnessKey, 0.0, 1.0, 0.0}};
    for (const auto& range : ranges) {
        const QXValue* stored = QXDictionaryValue(settings, range.key);
        if (stored && stored->isNumber()) {
            const double value = stored->real().value_or(range.neutral);
            const double within = std::isnan(value) ? range.neutral : std::clamp(value, range.least, range.most);
            if (within != value) {
                settings.insert_or_assign(std::string(range.key), QXValue(within));
            }
        }
    }
    return settings;
}

NPControlResult<void> NPApplyEffectSettings(NPEffectGroup& group, const NPControlSettings& settings,
                                            const NPDisplayList& onlineDisplays)
{
    std::vector<Change> changes;
    for (const auto& [key, text] : settings) {
        std::optional<Parsed> change = parseSetting(key, text, onlineDisplays);
        if (!change) {
            return std::unexpected(NPControlError{true, "there is no setting '" + key + "'"});
        }
        if (!*change) {
            return std::unexpected(
                NPControlError{true, "setting '" + key + "': '" + text + "' is not " + change->error()});
        }
        changes.push_back(std::move(**change));
    }
    for (const Change& change : changes) {
        change(group);
    }
    return {};
}
