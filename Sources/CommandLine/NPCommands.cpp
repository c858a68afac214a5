#include "CommandLine/NPCommands.h"

#include "CommandLine/NPHotKeyNames.h"
#include "CommandLine/NPJSON.h"
#include "CommandLine/NPProfileDescription.h"
#include "CommandLine/NPTextOutput.h"
#include "Foundation/QXCalendar.h"
#include "Foundation/QXNotificationCenter.h"
#include "Foundation/QXString.h"
#include "Platform/Linux/NPFileAccess.h"
#include "Shell/NPLocalControl.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <strings.h>

namespace {

using Result = NPControlResult<void>;

std::unexpected<NPControlError> misuse(std::string message)
{
    return std::unexpected(NPControlError{true, std::move(message)});
}

std::unexpected<NPControlError> failure(std::string message)
{
    return std::unexpected(NPControlError{false, std::move(message)});
}

Result print(std::string_view text)
{
    const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    return written && std::fflush(stdout) == 0 ? Result() : failure("cannot write to standard output");
}

// Prints a result as JSON or by the given function, or passes its error on.
template<class Value, class Text>
Result printResult(const NPArguments& arguments, const NPControlResult<Value>& value, Text text)
{
    if (!value) {
        return std::unexpected(value.error());
    }
    return print(arguments.json ? NPJSONText(*value) + '\n' : text(*value));
}

Result printIdentifier(const NPControlResult<std::string>& identifier)
{
    if (!identifier) {
        return std::unexpected(identifier.error());
    }
    return print(*identifier + '\n');
}

// What is on is remembered while Nightpane is switched off; the lists say then that nothing of it shows.
std::string switchRemark(NPControl& control)
{
    const NPControlResult<QXDictionary> status = control.status();
    const QXValue* active = status ? QXDictionaryValue(*status, "active") : nullptr;
    return active && *active == QXValue(false) ? "Nightpane is switched off: the screens show their own tables.\n"
                                               : "";
}

NPControlResult<NPControlSettings> settingsFromWords(const std::vector<std::string>& words,
                                                     const NPKeyboardLayout& layout)
{
    NPControlSettings settings;
    for (const std::string& word : std::vector<std::string>(words.begin() + 1, words.end())) {
        const std::size_t equals = word.find('=');
        if (equals == std::string::npos || equals == 0) {
            return misuse("'" + word + "' is not KEY=VALUE");
        }
        if (!settings.emplace(word.substr(0, equals), word.substr(equals + 1)).second) {
            return misuse("setting '" + word.substr(0, equals) + "' is given twice");
        }
    }
    return NPSettingsForEngine(std::move(settings), layout);
}

// Whether an effect, as a running instance of whatever version has described it, can be printed.
bool isWhole(const QXValue& effect)
{
    const QXDictionary* fields = effect.dictionary();
    const QXValue* identifier = fields ? QXDictionaryValue(*fields, "identifier") : nullptr;
    const QXValue* name = fields ? QXDictionaryValue(*fields, "name") : nullptr;
    const QXValue* settings = fields ? QXDictionaryValue(*fields, "settings") : nullptr;
    return identifier && identifier->string() && name && name->string() && settings && settings->dictionary();
}

NPControlResult<QXArray> effects(NPControl& control, const NPCommandContext& context)
{
    const NPControlResult<QXArray> list = control.effects();
    if (list && !std::ranges::all_of(*list, isWhole)) {
        return failure("the running instance describes its effects in another form; is it of another version?");
    }
    return list ? NPEffectsWithHotKeyNames(*list, context.keyboardLayout) : list;
}

NPControlResult<QXArray> screens(NPControl& control)
{
    const NPControlResult<QXArray> list = control.screens();
    if (list
        && !std::ranges::all_of(*list, [](const QXValue& screen) { return screen.dictionary() != nullptr; })) {
        return failure("the running instance describes its screens in another form; is it of another version?");
    }
    return list;
}

// Says what a hot key that has just been set is on this keyboard, and whether it works.
Result printHotKey(const std::string& effect, NPControl& control, const NPCommandContext& context)
{
    const NPControlResult<QXArray> list = effects(control, context);
    if (!list) {
        return std::unexpected(list.error());
    }
    for (const QXValue& item : *list) {
        const QXDictionary& fields = *item.dictionary();
        const QXValue* identifier = QXDictionaryValue(fields, "identifier");
        const QXValue* name = QXDictionaryValue(fields, "name");
        if (*identifier == QXValue(effect) || ::strcasecmp(name->string()->c_str(), effect.c_str()) == 0) {
            const std::string hotKey = NPHotKeyText(fields);
            return print((hotKey.empty() ? "no hot key" : hotKey) + '\n' + NPHotKeyRemark(fields));
        }
    }
    return {};
}

Result addEffect(const NPArguments& arguments, NPControl& control, const NPCommandContext& context)
{
    const auto settings = settingsFromWords(arguments.operands, context.keyboardLayout);
    if (!settings) {
        return std::unexpected(settings.error());
    }
    if (settings->contains("name")) {
        return misuse("the name is given twice: '" + arguments.operands[0] + "' and '" + settings->at("name")
                      + "'");
    }
    return printIdentifier(control.addEffect(arguments.operands[0], *settings));
}

Result setEffect(const NPArguments& arguments, NPControl& control, const NPCommandContext& context)
{
    const auto settings = settingsFromWords(arguments.operands, context.keyboardLayout);
    if (!settings) {
        return std::unexpected(settings.error());
    }
    const Result changed = control.setEffect(arguments.operands[0], *settings);
    if (!changed || !settings->contains("hotkey")) {
        return changed;
    }
    const auto renamed = settings->find("name");
    return printHotKey(renamed == settings->end() ? arguments.operands[0] : renamed->second, control, context);
}

Result importEffect(const NPArguments& arguments, NPControl& control)
{
    const std::string& file = arguments.operands[0];
    const auto data = NPReadFile(file == "-" ? "/dev/stdin" : file, NPEffectFileSizeLimit);
    if (!data) {
        return failure(file + ": " + data.error());
    }
    const NPControlResult<std::string> identifier = control.importEffect(*data);
    if (!identifier) {
        return std::unexpected(
            NPControlError{identifier.error().misuse, file + ": " + identifier.error().message});
    }
    return printIdentifier(identifier);
}

Result exportEffect(const NPArguments& arguments, NPControl& control)
{
    const NPControlResult<QXData> data = control.exportEffect(arguments.operands[0]);
    if (!data) {
        return std::unexpected(data.error());
    }
    const std::string& file = arguments.operands[1];
    if (file == "-") {
        return print(std::string(data->begin(), data->end()));
    }
    const auto written = NPWriteFile(file, *data);
    return written ? Result() : failure(file + ": " + written.error());
}

Result location(const NPArguments& arguments, NPControl& control)
{
    if (arguments.operands.empty()) {
        return printResult(arguments, control.location(), NPLocationText);
    }
    const std::optional<double> latitude = QXParseDouble(arguments.operands[0]);
    const std::optional<double> longitude = QXParseDouble(arguments.operands[1]);
    if (!latitude || !longitude) {
        return misuse("'" + arguments.operands[latitude ? 1 : 0] + "' is not a number");
    }
    return control.setLocation(*latitude, *longitude);
}

// "2026-11-21" (noon there), "2026-11-21 22:00" or "2026-11-21T22:00" on the zone's wall clock, or a moment
// in UTC, "2026-11-21T22:00:00Z".
std::optional<QXDate> dateFromText(std::string text, const QXTimeZone& zone)
{
    if (text.ends_with('Z')) {
        return QXDateFromDescription(text);
    }
    if (text.size() == 10) {
        text += "T12:00";
    }
    if (text.size() == 16) {
        text += ":00";
    }
    if (text.size() != 19 || (text[10] != 'T' && text[10] != ' ')) {
        return std::nullopt;
    }
    text[10] = 'T';
    const std::optional<QXDate> asIfGMT = QXDateFromDescription(text + 'Z');
    if (!asIfGMT) {
        return std::nullopt;
    }
    return QXCalendarDateFromComponents(QXCalendarComponentsFromDate(*asIfGMT, QXFixedTimeZone()), zone);
}

Result sun(const NPArguments& arguments, NPControl& control, const NPCommandContext& context)
{
    const std::optional<QXDate> at =
        arguments.at ? dateFromText(*arguments.at, context.timeZone) : std::optional(context.clock.now());
    if (!at) {
        return misuse("'" + *arguments.at + "' is not a date such as 2026-11-21 or 2026-11-21T22:00");
    }
    // A calculator of this command's own: what it is told to look at must not become the stored location.
    QXNotificationCenter unheard;
    NPSunriseSunsetCalculator calculator(context.defaults, context.timeZone, context.clock, unheard);
    if (arguments.latitude) {
        if (!NPIsPlace(*arguments.latitude, *arguments.longitude)) {
            return misuse("a place has a latitude from -90 to 90 and a longitude from -180 to 180");
        }
        calculator.setLatitude(*arguments.latitude, *arguments.longitude, false);
    } else {
        const NPControlResult<QXDictionary> stored = control.location();
        if (!stored) {
            return std::unexpected(stored.error());
        }
        const QXValue* guessed = QXDictionaryValue(*stored, "guessed");
        const QXValue* latitude = QXDictionaryValue(*stored, "latitude");
        const QXValue* longitude = QXDictionaryValue(*stored, "longitude");
        if (guessed && latitude && longitude && !guessed->boolean().value_or(true)) {
            calculator.setLatitude(latitude->real().value_or(0.0), longitude->real().value_or(0.0), false);
        }
    }
    return printResult(arguments, NPControlResult<QXDictionary>(NPSunDescription(calculator, *at)),
                       [&](const QXDictionary& text) { return NPSunText(text, context.timeZone); });
}

using Perform = std::function<Result(const NPArguments&, NPControl&, const NPCommandContext&)>;

struct Command {
    std::string_view name;
    bool changesSomething;
    bool showsEffects;
    Perform perform;
};

const std::vector<Command>& commands()
{
    using A = const NPArguments&;
    using C = NPControl&;
    using X = const NPCommandContext&;
    static const std::vector<Command> all{
        {"list", false, false,
         [](A a, C c, X x) {
             return printResult(a, effects(c, x),
                                [&](const QXArray& list) { return NPEffectsText(list) + switchRemark(c); });
         }},
        {"screens", false, false,
         [](A a, C c, X x) {
             return printResult(a, screens(c), [&](const QXArray& list) {
                 return NPScreensText(list, x.timeZone) + switchRemark(c);
             });
         }},
        {"status", false, false, [](A a, C c, X) { return printResult(a, c.status(), NPStatusText); }},
        {"activate", true, true, [](A a, C c, X) { return c.activate(a.operands[0], a.fade); }},
        {"deactivate", true, true, [](A a, C c, X) { return c.deactivate(a.operands[0], a.fade); }},
        {"toggle", true, true, [](A a, C c, X) { return c.toggle(a.operands[0], a.fade); }},
        {"on", true, true, [](A, C c, X) { return c.setEffectActive(true); }},
        {"off", true, true, [](A, C c, X) { return c.setEffectActive(false); }},
        {"new", true, false, [](A a, C c, X x) { return addEffect(a, c, x); }},
        {"set", true, true, [](A a, C c, X x) { return setEffect(a, c, x); }},
        {"rename", true, false, [](A a, C c, X) { return c.renameEffect(a.operands[0], a.operands[1]); }},
        {"duplicate", true, false, [](A a, C c, X) { return printIdentifier(c.duplicateEffect(a.operands[0])); }},
        {"remove", true, true, [](A a, C c, X) { return c.removeEffect(a.operands[0]); }},
        {"import", true, false, [](A a, C c, X) { return importEffect(a, c); }},
        {"export", false, false, [](A a, C c, X) { return exportEffect(a, c); }},
        {"sun", false, false, sun},
        {"location", true, false, [](A a, C c, X) { return location(a, c); }},
        {"table", false, false, [](A a, C c, X) { return printResult(a, c.table(a.operands[0]), NPTableText); }},
        {"restore", true, false, [](A, C c, X) { return c.restore(); }},
    };
    return all;
}

const Command& commandNamed(const std::string& name)
{
    return *std::ranges::find(commands(), name, &Command::name);
}

} // namespace

NPControlResult<void> NPPrintProfile(const NPArguments& arguments, const NPDisplayProfile& profile)
{
    if (arguments.out) {
        const std::expected<QXData, std::string> content = profile.profile->copyData();
        const auto written = content ? NPWriteFile(*arguments.out, *content) : std::unexpected(content.error());
        if (!written) {
            return failure(*arguments.out + ": " + written.error());
        }
    }
    return printResult(arguments, NPControlResult<QXDictionary>(NPProfileDescription(profile)), NPProfileText);
}

bool NPCommandShowsEffects(const std::string& command)
{
    return commandNamed(command).showsEffects;
}

bool NPCommandAsksDisplays(const std::string& command)
{
    return command == "screens" || command == "table" || command == "profile" || command == "restore";
}

bool NPCommandChangesSomething(const NPArguments& arguments)
{
    return commandNamed(arguments.command).changesSomething
           && !(arguments.command == "location" && arguments.operands.empty());
}

NPControlResult<void> NPPerformCommand(const NPArguments& arguments, NPControl& control,
                                       const NPCommandContext& context)
{
    return commandNamed(arguments.command).perform(arguments, control, context);
}
