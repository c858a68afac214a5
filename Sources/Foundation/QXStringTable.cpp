#include "Foundation/QXStringTable.h"

#include "Foundation/QXLog.h"
#include "Foundation/QXUnicode.h"

#include <algorithm>
#include <memory>
#include <optional>

namespace {

constexpr std::string_view english = "en";

// Takes the entries one after the other. After the first error every operation fails.
class Reader {
public:
    explicit Reader(std::string_view text) : _text(text) {}

    bool isAtEnd() { return !_skipBetween() || _position == _text.size(); }

    // "key" = "text";
    std::optional<std::pair<std::string, std::string>> entry()
    {
        std::optional<std::string> key = _quoted("a key");
        if (!key || !_take('=')) {
            return std::nullopt;
        }
        std::optional<std::string> text = _quoted("the text of " + QXQuotedForLine(*key));
        if (!text || !_take(';')) {
            return std::nullopt;
        }
        return std::pair{std::move(*key), std::move(*text)};
    }

    std::nullopt_t fail(std::string_view what)
    {
        if (_error.empty()) {
            const auto lines = 1 + std::ranges::count(_text.substr(0, _position), '\n');
            _error = "line " + std::to_string(lines) + ": " + std::string(what);
        }
        return std::nullopt;
    }

    const std::string& error() const { return _error; }

private:
    // White space and comments. False for a comment that does not end.
    bool _skipBetween()
    {
        while (_position < _text.size()) {
            if (std::string_view(" \t\r\n").find(_text[_position]) != std::string_view::npos) {
                ++_position;
            } else if (_text.substr(_position).starts_with("/*")) {
                const std::size_t end = _text.find("*/", _position + 2);
                if (end == std::string_view::npos) {
                    fail("the comment does not end");
                    return false;
                }
                _position = end + 2;
            } else {
                break;
            }
        }
        return _error.empty();
    }

    bool _take(char expected)
    {
        if (!_skipBetween()) {
            return false;
        }
        if (_position == _text.size() || _text[_position] != expected) {
            fail(std::string("'") + expected + "' is missing");
            return false;
        }
        ++_position;
        return true;
    }

    std::optional<std::string> _quoted(const std::string& what)
    {
        if (!_skipBetween()) {
            return std::nullopt;
        }
        if (_position == _text.size() || _text[_position] != '"') {
            return fail(what + " must stand in quotation marks");
        }
        ++_position;
        std::string content;
        while (_position < _text.size() && _text[_position] != '"') {
            if (!_takeCharacter(content)) {
                return std::nullopt;
            }
        }
        if (_position == _text.size()) {
            return fail(what + " does not end");
        }
        ++_position;
        return content;
    }

    bool _takeCharacter(std::string& content)
    {
        if (_text[_position] == '\\') {
            return _takeEscape(content);
        }
        const auto decoded = QXDecodeUTF8(_text, _position);
        if (!decoded) {
            fail("not UTF-8");
            return false;
        }
        if (decoded->character < 0x20 || decoded->character == 0x7F) {
            fail(_text[_position] == '\n' ? "the text does not end on its line" : "a control character");
            return false;
        }
        content.append(_text.substr(_position, decoded->length));
        _position += decoded->length;
        return true;
    }

    bool _takeEscape(std::string& content)
    {
        const char escaped = _position + 1 < _text.size() ? _text[_position + 1] : '\0';
        if (escaped != '"' && escaped != '\\' && escaped != 'n') {
            fail("after a backslash comes \", \\ or n");
            return false;
        }
        content += escaped == 'n' ? '\n' : escaped;
        _position += 2;
        return true;
    }

    std::string_view _text;
    std::size_t _position = 0;
    std::string _error;
};

// The tables that have been asked for, by language and name; none for what is missing or cannot be read.
class LoadedTables {
public:
    LoadedTables(std::vector<std::string> languages, QXStringTableSource source)
        : _languages(std::move(languages)), _source(std::move(source))
    {
    }

    std::optional<std::string> text(std::string_view key, std::string_view table)
    {
        for (const std::string& language : _languages) {
            const std::optional<QXStringTable>& loaded = _table(language, std::string(table));
            const std::string* text = loaded ? loaded->textForKey(key) : nullptr;
            if (text) {
                return *text;
            }
            if (language == english) {
                break;
            }
        }
        return std::nullopt;
    }

private:
    const std::optional<QXStringTable>& _table(const std::string& language, const std::string& name)
    {
        const auto [position, isNew] = _tables.try_emplace({language, name});
        if (isNew) {
            position->second = _load(language, name);
        }
        return position->second;
    }

    std::optional<QXStringTable> _load(const std::string& language, const std::string& name) const
    {
        const std::optional<std::string> content = _source(language, name);
        if (!content) {
            return std::nullopt;
        }
        auto table = QXStringTable::tableWithText(*content);
        if (!table) {
            QXLog("String table \"" + name + "\" in language " + language + ": " + table.error());
            return std::nullopt;
        }
        return std::move(*table);
    }

    std::vector<std::string> _languages;
    QXStringTableSource _source;
    std::map<std::pair<std::string, std::string>, std::optional<QXStringTable>> _tables;
};

std::string value(const QXEnvironment& environment, const char* name)
{
    return environment(name).value_or("");
}

void appendOnce(std::vector<std::string>& languages, std::string language)
{
    if (std::ranges::find(languages, language) == languages.end()) {
        languages.push_back(std::move(language));
    }
}

// A name becomes part of a path: letters, digits, "-" and "_" alone.
bool isLanguageName(std::string_view name)
{
    return !name.empty() && std::ranges::all_of(name, [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
    });
}

// "de_AT.UTF-8@euro": language, country, encoding, variant.
void appendLanguagesOf(std::string_view locale, std::vector<std::string>& languages)
{
    const std::string name(locale.substr(0, locale.find_first_of(".@")));
    if (!isLanguageName(name) || name == "C" || name == "POSIX") {
        return;
    }
    const std::string language = name.substr(0, name.find('_'));
    if (language == "zh") {
        const bool simplified = name == "zh" || name == "zh_CN" || name == "zh_SG";
        appendOnce(languages, simplified ? "zh_CN" : name);
        return;
    }
    appendOnce(languages, name);
    appendOnce(languages, language);
}

} // namespace

std::expected<QXStringTable, std::string> QXStringTable::tableWithText(std::string_view text)
{
    if (text.size() > mostBytes) {
        return std::unexpected("line 1: larger than " + std::to_string(mostBytes) + " bytes");
    }
    Reader reader(text);
    QXStringTable table;
    while (!reader.isAtEnd()) {
        std::optional<std::pair<std::string, std::string>> entry = reader.entry();
        if (!entry) {
            break;
        }
        const std::string quoted = QXQuotedForLine(entry->first);
        if (!table._texts.insert(std::move(*entry)).second) {
            reader.fail(quoted + " is there twice");
            break;
        }
    }
    if (!reader.error().empty()) {
        return std::unexpected(reader.error());
    }
    return table;
}

const std::string* QXStringTable::textForKey(std::string_view key) const
{
    const auto found = _texts.find(key);
    return found == _texts.end() ? nullptr : &found->second;
}

QXStringTables QXStringTablesInLanguages(std::vector<std::string> languages, QXStringTableSource source)
{
    const auto tables = std::make_shared<LoadedTables>(std::move(languages), std::move(source));
    return [tables](std::string_view key, std::string_view table) { return tables->text(key, table); };
}

std::vector<std::string> QXLanguagesOfEnvironment(const QXEnvironment& environment)
{
    std::string locale;
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        locale = value(environment, name);
        if (!locale.empty()) {
            break;
        }
    }
    std::vector<std::string> languages;
    const bool isChosen = !locale.empty() && locale != "C" && locale != "POSIX"; // else LANGUAGE does not count
    const std::string list = isChosen ? value(environment, "LANGUAGE") : "";
    for (std::size_t start = 0; start < list.size();) {
        const std::size_t end = std::min(list.find(':', start), list.size());
        appendLanguagesOf(std::string_view(list).substr(start, end - start), languages);
        start = end + 1;
    }
    appendLanguagesOf(locale, languages);
    appendOnce(languages, std::string(english));
    return languages;
}
