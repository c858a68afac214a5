#include "CommandLine/NPArguments.h"

#include "Engine/NPSession.h"
#include "Foundation/QXString.h"

#include <algorithm>
#include <string_view>

namespace {

struct Command {
    std::string_view name;
    std::size_t fewestOperands;
    std::size_t mostOperands;
    std::string_view options; // the options it takes besides --platform and --help, each with a space after it
    std::string_view usage;
    std::string_view purpose;
};

constexpr std::size_t anyNumber = 1000;

constexpr Command commands[] = {
    {"run", 0, 0, "--no-profiles ", "run [--no-profiles]",
     "the engine, in the foreground, until it is interrupted"},
    {"list", 0, 0, "--json ", "list [--json]", "the effects, their state and settings"},
    {"screens", 0, 0, "--json ", "screens [--json]", "the screens and what is on there"},
    {"status", 0, 0, "--json ", "status [--json]", "whether Nightpane runs and is switched on"},
    {"activate", 1, 1, "--fade ", "activate EFFECT [--fade none|manual|timed]", "switch an effect on"},
    {"deactivate", 1, 1, "--fade ", "deactivate EFFECT [--fade …]", "switch it off"},
    {"toggle", 1, 1, "--fade ", "toggle EFFECT [--fade …]", "switch it off where it is on everywhere, else on"},
    {"on", 0, 0, "", "on", "show the effects"},
    {"off", 0, 0, "", "off", "give every screen its own table; what is on is remembered"},
    {"new", 1, anyNumber, "", "new NAME [KEY=VALUE…]", "add an effect"},
    {"set", 2, anyNumber, "", "set EFFECT KEY=VALUE…", "change an effect"},
    {"rename", 2, 2, "", "rename EFFECT NAME", "give it another name"},
    {"duplicate", 1, 1, "", "duplicate EFFECT", "add a copy after it"},
    {"remove", 1, 1, "", "remove EFFECT", "remove it"},
    {"import", 1, 1, "", "import FILE", "add the effect of an effect file (- is standard input)"},
    {"export", 2, 2, "", "export EFFECT FILE", "write an effect file (- is standard output)"},
    {"sun", 0, 0, "--json --at --lat --lon ", "sun [--at DATE] [--lat N --lon N] [--json]",
     "sunrise and sunset around a date"},
    {"location", 0, 2, "--json ", "location [LATITUDE LONGITUDE] [--json]", "where the sun is computed for"},
    {"table", 1, 1, "--json ", "table SCREEN [--json]", "the table that a screen shows"},
    {"profile", 1, 1, "--json --out ", "profile SCREEN [--out FILE] [--json]",
     "the colour profile that a screen uses; --out writes it"},
    {"restore", 0, 0, "", "restore", "switch off, and repair what an earlier run left changed"},
};

const Command* commandNamed(std::string_view name)
{
    const auto* found = std::ranges::find(commands, name, &Command::name);
    return found == std::end(commands) ? nullptr : found;
}

bool looksLikeOption(std::string_view word)
{
    const bool isNumber = word.size() > 1 && (word[1] == '.' || (word[1] >= '0' && word[1] <= '9'));
    return word.size() > 1 && word[0] == '-' && !isNumber; // "-" alone is a file, "-33.9" a latitude
}

using Result = std::expected<NPArguments, std::string>;

// Takes the words one by one.
class Parser {
public:
    explicit Parser(const std::vector<std::string>& words) : _words(words) {}

    Result parse()
    {
        bool onlyOperands = false;
        for (; _next < _words.size() && _error.empty(); ++_next) {
            const std::string& word = _words[_next];
            if (!onlyOperands && word == "--") {
                onlyOperands = true;
            } else if (!onlyOperands && looksLikeOption(word)) {
                _takeOption(word);
            } else if (_arguments.command.empty()) {
                _arguments.command = word;
            } else {
                _arguments.operands.push_back(word);
            }
        }
        if (_error.empty() && !_arguments.help && !_arguments.version) {
            _checkCommand();
        }
        return _error.empty() ? Result(std::move(_arguments)) : std::unexpected(std::move(_error));
    }

private:
    void _takeOption(const std::string& word)
    {
        const std::size_t equals = word.find('=');
        const std::string name = word.substr(0, equals);
        if (name == "--help" || name == "-h") {
            _arguments.help = true;
        } else if (name == "--version" || name == "-V") {
            _arguments.version = true;
        } else if (name == "--json") {
            _arguments.json = true;
            _used.push_back(name);
        } else if (name == "--no-profiles") {
            _arguments.noProfiles = true;
            _used.push_back(name);
        } else if (name == "--platform" || name == "--fade" || name == "--at" || name == "--lat" || name == "--lon"
                   || name == "--out") {
            _takeValue(name, equals);
        } else {
            _error = "there is no option " + name;
        }
        const bool hasNoValue =
            name == "--help" || name == "--version" || name == "--json" || name == "--no-profiles";
        if (hasNoValue && equals != std::string::npos) {
            _error = name + " takes no value";
        }
    }

    void _takeValue(const std::string& name, std::size_t equals)
    {
        if (equals == std::string::npos && _next + 1 == _words.size()) {
            _error = name + " needs a value";
            return;
        }
        const std::string value = equals == std::string::npos ? _words[++_next] : _words[_next].substr(equals + 1);
        if (name == "--platform") {
            _arguments.platform = value;
            if (!NPIsPlatformName(value)) {
                _error = "'" + value + "' is not a platform; expected auto, x11, simulated or simulated:FILE";
            }
            return;
        }
        _used.push_back(name);
        if (name == "--fade") {
            _arguments.fade = value;
        } else if (name == "--at") {
            _arguments.at = value;
        } else if (name == "--out") {
            _arguments.out = value;
        } else {
            (name == "--lat" ? _arguments.latitude : _arguments.longitude) = _number(name, value);
        }
    }

    std::optional<double> _number(const std::string& name, const std::string& value)
    {
        const std::optional<double> number = QXParseDouble(value);
        if (!number) {
            _error = name + ": '" + value + "' is not a number";
        }
        return number;
    }

    void _checkCommand()
    {
        const Command* command = commandNamed(_arguments.command);
        if (_arguments.command.empty()) {
            _error = "which command? See --help";
            return;
        }
        if (!command) {
            _error = "there is no command '" + _arguments.command + "'; see --help";
            return;
        }
        for (const std::string& option : _used) {
            if (command->options.find(option + ' ') == std::string_view::npos) {
                _error = _arguments.command + " takes no " + option;
                return;
            }
        }
        const std::size_t count = _arguments.operands.size();
        const bool halfAPlace = _arguments.command == "location" && count == 1;
        if (count < command->fewestOperands || count > command->mostOperands || halfAPlace) {
            _error = "usage: nightpane-cli " + std::string(command->usage);
        } else if (_arguments.latitude.has_value() != _arguments.longitude.has_value()) {
            _error = "--lat and --lon go together";
        }
    }

    const std::vector<std::string>& _words;
    std::size_t _next = 0;
    NPArguments _arguments;
    std::vector<std::string> _used;
    std::string _error;
};

// Columns are counted in characters, which the ellipsis has one of and three bytes.
std::size_t width(std::string_view text)
{
    return static_cast<std::size_t>(
        std::ranges::count_if(text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

} // namespace

std::expected<NPArguments, std::string> NPParseArguments(const std::vector<std::string>& words)
{
    return Parser(words).parse();
}

std::string NPUsageText()
{
    constexpr std::size_t column = 50;
    std::string text = "Usage: nightpane-cli COMMAND [OPTION…]\n"
                       "Changes how the screens look, by effects that you define.\n\nCommands:\n";
    for (const Command& command : commands) {
        std::string line = "  " + std::string(command.usage);
        line.append(width(line) < column ? column - width(line) : 1, ' ');
        text += line + std::string(command.purpose) + '\n';
    }
    text += "\nOptions:\n"
            "  --platform auto|x11|simulated[:FILE]   which displays to use\n"
            "  --json                                 machine-readable output\n"
            "  --no-profiles                          change the gamma tables alone, no colour profiles\n"
            "  --help, --version\n"
            "\nAn EFFECT is a name or an identifier, a SCREEN a position, a name or an identifier.\n"
            "\nSettings (KEY=VALUE):\n"
            "  invert, hide-stripes, hdtv, clear-others   on or off\n"
            "  dim=30%                                    how much darker, up to 95%\n"
            "  hue=30  vividness=40%                      the tint: its colour in degrees, and how much of it\n"
            "  activate=22:00  deactivate=sunrise         a time, sunrise, sunset or off\n"
            "  manual-fade=0.5  timed-fade=2              seconds\n"
            "  hotkey=ctrl+alt+d                          toggles the effect in any application; or none\n"
            "  screens=1,3                                positions or identifiers, or all\n"
            "  name=TEXT\n"
            "\nWhile an instance runs, commands act through it; otherwise they act themselves.\n"
            "Exit codes: 0 done, 1 failed, 2 misuse.\n";
    return text;
}
