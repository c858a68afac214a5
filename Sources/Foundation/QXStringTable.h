// String tables: the texts of a language by their keys, which are the English texts.
//
// A table is UTF-8 text of entries "key" = "text"; with comments /* … */ between them. Inside quotation marks \"
// \\ and \n stand for a quotation mark, a backslash and a line break; a text ends on the line on which it began.
#pragma once

#include "Foundation/QXString.h"

#include <expected>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

class QXStringTable {
public:
    static constexpr std::size_t mostBytes = std::size_t{1} << 20; // of a whole table

    // Reads a table. The error is one line, beginning with the number of the line at fault: "line 3: …". A key
    // that is there twice is an error.
    static std::expected<QXStringTable, std::string> tableWithText(std::string_view text);

    // nullptr when the table has no such key. Valid as long as the table.
    const std::string* textForKey(std::string_view key) const;
    std::size_t size() const { return _texts.size(); }

private:
    std::map<std::string, std::string, std::less<>> _texts;
};

// Gives the content of a table in a language, none when the language lacks it. The main table's name is "".
using QXStringTableSource =
    std::function<std::optional<std::string>(const std::string& language, const std::string& table)>;

// For QXSetStringTables: looks a key up in the languages, the first choice first. Each table is asked of the source
// once, when a key of it is first looked up; one that cannot be read is logged and counts as missing. Keys are
// English texts, so "en" ends the search, and an English table holds only those texts that differ from their keys.
QXStringTables QXStringTablesInLanguages(std::vector<std::string> languages, QXStringTableSource source);

// The value of an environment variable, none when it is not set.
using QXEnvironment = std::function<std::optional<std::string>(const char* name)>;

// The languages whose tables a person wants to see, the first choice first, by the variables by which all programs
// of a POSIX system choose: LANGUAGE, a list, and LC_ALL, LC_MESSAGES or LANG. "de_AT.UTF-8" gives "de_AT", then
// "de". Chinese is "zh_CN" where simplified characters are written; who reads traditional ones is not given those.
// English is always among them.
std::vector<std::string> QXLanguagesOfEnvironment(const QXEnvironment& environment);
