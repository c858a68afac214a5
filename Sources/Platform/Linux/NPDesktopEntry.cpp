#include "Platform/Linux/NPDesktopEntry.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <ranges>

namespace {

constexpr std::string_view blanks = " \t\r\n";

std::string_view trimmed(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(blanks);
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(blanks) + 1 - first);
}

std::string unescaped(std::string_view text)
{
    constexpr std::string_view letters = "sntr\\";
    constexpr std::string_view meanings = " \n\t\r\\";
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::size_t letter =
            text[i] == '\\' && i + 1 < text.size() ? letters.find(text[i + 1]) : std::string_view::npos;
        if (letter == std::string_view::npos) {
            plain += text[i];
        } else {
            plain += meanings[letter];
            ++i;
        }
    }
    return plain;
}

std::string escaped(std::string_view text)
{
    std::string result;
    for (const char character : text) {
        switch (character) {
        case '\\':
            result += "\\\\";
            break;
        case '\n':
            result += "\\n";
            break;
        case '\r':
            result += "\\r";
            break;
        case '\t':
            result += "\\t";
            break;
        default:
            result += character;
        }
    }
    return result;
}

std::string keyOfLine(std::string_view line)
{
    const std::size_t equals = line.find('=');
    const std::string_view content = trimmed(line);
    const bool isKey = equals != std::string_view::npos && !content.starts_with('#') && !content.starts_with('[');
    return isKey ? std::string(trimmed(line.substr(0, equals))) : std::string();
}

std::vector<std::string> split(std::string_view text, char separator)
{
    std::vector<std::string> parts;
    for (const auto part : std::views::split(text, separator)) {
        if (!part.empty()) {
            parts.emplace_back(part.begin(), part.end());
        }
    }
    return parts;
}

// From the most special to the most general form: with country and modifier, with either, with neither.
std::vector<std::string> formsOfLocale(std::string_view locale)
{
    const std::size_t at = locale.find('@');
    const std::string modifier(at == std::string_view::npos ? std::string_view() : locale.substr(at));
    const std::string place(locale.substr(0, std::min(at, locale.find('.'))));
    const std::string language = place.substr(0, place.find('_'));
    return {place + modifier, place, language + modifier, language};
}

} // namespace

std::optional<NPDesktopEntry> NPDesktopEntry::parse(const std::string& text)
{
    if (text.find('\0') != std::string::npos) {
        return std::nullopt;
    }
    NPDesktopEntry entry;
    int groups = 0;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size() - 1) + 1;
        const std::string line = text.substr(start, end - start);
        start = end;
        const std::string_view content = trimmed(line);
        if (content.starts_with('[') && ++groups == 1 && content != "[Desktop Entry]") {
            return std::nullopt;
        }
        entry._lines.push_back({line, groups == 1 ? keyOfLine(line) : std::string()});
    }
    return groups > 0 ? std::optional(std::move(entry)) : std::nullopt;
}

std::string NPDesktopEntry::text() const
{
    std::string text;
    for (const Line& line : _lines) {
        text += line.text;
    }
    return text;
}

std::optional<std::string> NPDesktopEntry::value(std::string_view key) const
{
    const auto found = std::ranges::find(_lines.rbegin(), _lines.rend(), key, &Line::key);
    if (found == _lines.rend() || key.empty()) {
        return std::nullopt;
    }
    return unescaped(trimmed(std::string_view(found->text).substr(found->text.find('=') + 1)));
}

bool NPDesktopEntry::flag(std::string_view key, bool otherwise) const
{
    const std::string text = value(key).value_or("");
    return text == "true" || (text != "false" && otherwise);
}

std::vector<std::string> NPDesktopEntry::list(std::string_view key) const
{
    return split(value(key).value_or(""), ';');
}

std::optional<std::string> NPDesktopEntry::localizedValue(std::string_view key, std::string_view locale) const
{
    for (const std::string& form : formsOfLocale(locale)) {
        if (auto found = value(std::string(key) + '[' + form + ']')) {
            return found;
        }
    }
    return value(key);
}

std::string NPDesktopEntry::program() const
{
    const std::string command(trimmed(value("Exec").value_or("")));
    const bool isQuoted = command.starts_with('"');
    std::string word;
    for (std::size_t i = isQuoted ? 1 : 0; i < command.size() && command[i] != (isQuoted ? '"' : ' '); ++i) {
        const bool isEscape = isQuoted && command[i] == '\\';
        const bool isDoubled = command.compare(i, 2, "%%") == 0;
        if ((isEscape || isDoubled) && i + 1 < command.size()) {
            ++i;
        }
        word += command[i];
    }
    return word;
}

bool NPDesktopEntry::isStartable(std::string_view path) const
{
    const std::string tried = value("TryExec").value_or("");
    return NPExecutableFile(tried.empty() ? program() : tried, path).has_value();
}

// In the place of the first line of that key, else at the end of the group.
void NPDesktopEntry::setValue(std::string_view key, const std::string& value)
{
    auto place = std::ranges::find(_lines, key, &Line::key);
    if (place == _lines.end()) {
        const auto last = std::ranges::find_if(_lines.rbegin(), _lines.rend(),
                                               [](const Line& line) { return !line.key.empty(); });
        place = last != _lines.rend() ? last.base() : std::next(std::ranges::find_if(_lines, [](const Line& line) {
            return trimmed(line.text).starts_with('[');
        }));
    }
    const auto position = place - _lines.begin();
    if (position > 0 && !_lines[static_cast<std::size_t>(position) - 1].text.ends_with('\n')) {
        _lines[static_cast<std::size_t>(position) - 1].text += '\n';
    }
    const bool hasReturns = !_lines.empty() && _lines.front().text.ends_with("\r\n");
    const std::string name(key);
    _lines.insert(place, {name + '=' + escaped(value) + (hasReturns ? "\r\n" : "\n"), ""});
    removeValue(key);
    _lines[static_cast<std::size_t>(position)].key = name;
}

void NPDesktopEntry::removeValue(std::string_view key)
{
    std::erase_if(_lines, [&](const Line& line) { return line.key == key; });
}

// In double quotes, within which four characters have to be escaped; a percent sign would be a field.
std::string NPExecWord(const std::string& word)
{
    std::string quoted = "\"";
    for (const char character : word) {
        if (std::string_view("\"`$\\").contains(character)) {
            quoted += '\\';
        } else if (character == '%') {
            quoted += '%';
        }
        quoted += character;
    }
    return quoted + '"';
}

std::optional<std::string> NPExecutableFile(const std::string& command, std::string_view path)
{
    const auto isExecutable = [](const std::string& file) {
        struct stat status{};
        return ::stat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode) && ::access(file.c_str(), X_OK) == 0;
    };
    if (command.empty()) {
        return std::nullopt;
    }
    if (command.contains('/')) {
        return isExecutable(command) ? std::optional(command) : std::nullopt;
    }
    for (const std::string& folder : split(path, ':')) {
        const std::string file = folder + '/' + command;
        if (folder.starts_with('/') && isExecutable(file)) {
            return file;
        }
    }
    return std::nullopt;
}
