// Text helpers: localized texts, formats, numbers and identifiers. Nothing here depends on the C locale.
#pragma once

#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

// The text for a key in one of the application's string tables (the main one has the name ""). The English
// text is the key itself, so a missing translation shows its key.
std::string QXLocalizedString(std::string_view key, std::string_view table = {});

// Where QXLocalizedString looks: gives none when the table has no such key. An empty function restores the
// state without translations.
using QXStringTables = std::function<std::optional<std::string>(std::string_view key, std::string_view table)>;
void QXSetStringTables(QXStringTables tables);

// Marks a text that is looked up elsewhere, where its key is no longer written out: Tools/check-strings finds texts
// by the names of these two functions.
constexpr std::string_view QXLocalizable(std::string_view key, std::string_view /*table*/ = {})
{
    return key;
}

// Replaces the placeholders %@ and %d of a format, in order, by the arguments, and %1$@ and its kin by the argument
// of that number, from 1: another language may want another order. Placeholders without an argument stay as they
// are.
std::string QXFormat(std::string_view format, std::initializer_list<std::string_view> arguments);

// A decimal number, with optional sign, fraction and exponent, read whole: "12", "-0.5", "1e3", correctly
// rounded. Also "nan", "inf", "infinity" with optional sign, in any case. None for anything else and for
// numbers too large for a double; what is too small for one becomes the nearest denormal or zero.
std::optional<double> QXParseDouble(std::string_view text);

// The shortest decimal text that reads back as the same double; "nan", "inf" and "-inf" for the rest.
std::string QXDoubleDescription(double value);

// A fresh random UUID: 36 characters, upper-case hexadecimal, grouped 8-4-4-4-12 (RFC 4122 version 4).
std::string QXNewUUIDString();
