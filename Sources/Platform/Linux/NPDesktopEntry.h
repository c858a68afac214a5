// A desktop entry: the text file by which a desktop knows a program, to be listed or to be started at login.
//
// Changes touch the lines that they are about and nothing else: comments, order, unknown keys, other groups and bytes
// of whatever encoding stay as somebody wrote them.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

class NPDesktopEntry {
public:
    // None for what is no desktop entry: its first group is another than "[Desktop Entry]", or it is no text.
    static std::optional<NPDesktopEntry> parse(const std::string& text);

    std::string text() const;

    // Of the entry's first group, with its escapes resolved. None when the key is missing. Of a key that is there
    // twice the last one counts.
    std::optional<std::string> value(std::string_view key) const;
    bool flag(std::string_view key, bool otherwise) const; // for what is neither "true" nor "false"
    std::vector<std::string> list(std::string_view key) const;

    // In the language of a locale ("de_AT.UTF-8"), or else as for everybody.
    std::optional<std::string> localizedValue(std::string_view key, std::string_view locale) const;

    // The program that the entry starts, as Exec names it; empty when it names none.
    std::string program() const;

    // The program that TryExec or, without it, Exec names is there to be started; commands without a path are
    // looked for in the folders of a PATH.
    bool isStartable(std::string_view path) const;

    void setValue(std::string_view key, const std::string& value);
    void removeValue(std::string_view key);

private:
    struct Line {
        std::string text; // with what ends it
        std::string key; // empty for all that is no key of the first group
    };

    std::vector<Line> _lines;
};

// A word for Exec that is taken as it is, whatever characters it has.
std::string NPExecWord(const std::string& word);

// The file that a command names: a path itself, or in the first of the folders of a PATH that has it. None when there
// is none that can be executed.
std::optional<std::string> NPExecutableFile(const std::string& command, std::string_view path);
