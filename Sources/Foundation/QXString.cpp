#include "Foundation/QXString.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <locale>
#include <random>
#include <sstream>

namespace {

QXStringTables& stringTables()
{
    static QXStringTables tables;
    return tables;
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

std::string lowercase(std::string_view text)
{
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return lower;
}

std::size_t digitsAt(std::string_view text, std::size_t position)
{
    std::size_t end = position;
    while (end < text.size() && isDigit(text[end])) {
        ++end;
    }
    return end - position;
}

struct Placeholder {
    std::size_t length;
    std::optional<std::size_t> number; // of its argument, from 0; none for the next one
};

// %@ or %d, with one digit and a dollar sign in between where the argument has a number.
std::optional<Placeholder> placeholderAt(std::string_view format, std::size_t position)
{
    const std::string_view rest = format.substr(position);
    const auto isKind = [](char c) { return c == '@' || c == 'd'; };
    if (rest.size() >= 2 && rest[0] == '%' && isKind(rest[1])) {
        return Placeholder{2, std::nullopt};
    }
    if (rest.size() >= 4 && rest[0] == '%' && isDigit(rest[1]) && rest[1] != '0' && rest[2] == '$'
        && isKind(rest[3])) {
        return Placeholder{4, static_cast<std::size_t>(rest[1] - '1')};
    }
    return std::nullopt;
}

// digits [. digits] [e [sign] digits], with at least one digit before the exponent.
bool isUnsignedDecimal(std::string_view text)
{
    std::size_t digits = digitsAt(text, 0);
    std::size_t position = digits;
    if (position < text.size() && text[position] == '.') {
        const std::size_t fraction = digitsAt(text, position + 1);
        position += 1 + fraction;
        digits += fraction;
    }
    if (digits == 0) {
        return false;
    }
    if (position < text.size() && (text[position] == 'e' || text[position] == 'E')) {
        ++position;
        if (position < text.size() && (text[position] == '+' || text[position] == '-')) {
            ++position;
        }
        const std::size_t exponent = digitsAt(text, position);
        if (exponent == 0) {
            return false;
        }
        position += exponent;
    }
    return position == text.size();
}

#ifdef __cpp_lib_to_chars
// Tells a decimal that is too large for a double from one that is too small: by the place of its first digit that
// is not zero, moved by the exponent.
bool isTooLarge(std::string_view decimal)
{
    const std::size_t mantissaEnd = std::min(decimal.find_first_of("eE"), decimal.size());
    const std::string_view mantissa = decimal.substr(0, mantissaEnd);
    const auto point = static_cast<std::ptrdiff_t>(std::min(mantissa.find('.'), mantissa.size()));
    const auto firstDigit = static_cast<std::ptrdiff_t>(mantissa.find_first_not_of("0."));
    std::string_view digits = decimal.substr(std::min(mantissaEnd + 1, decimal.size()));
    const bool lowers = digits.starts_with('-');
    digits.remove_prefix(lowers || digits.starts_with('+') ? 1 : 0);
    int exponent = 0;
    if (std::from_chars(digits.data(), digits.data() + digits.size(), exponent).ec
        == std::errc::result_out_of_range) {
        return !lowers;
    }
    return (lowers ? -exponent : exponent) + point - firstDigit > 0;
}

std::optional<double> unsignedDecimalValue(std::string_view text)
{
    double value = 0.0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec == std::errc::result_out_of_range && isTooLarge(text)) {
        return std::nullopt;
    }
    return value;
}
#else
// Where from_chars knows no floating point yet (libc++), a stream with the classic locale.
std::optional<double> unsignedDecimalValue(std::string_view text)
{
    std::istringstream stream{std::string(text)};
    stream.imbue(std::locale::classic());
    double value = 0.0;
    stream >> value;
    // A stream may call a denormal out of range; only what has become the largest double is.
    if (std::isinf(value) || (stream.fail() && value >= std::numeric_limits<double>::max())) {
        return std::nullopt;
    }
    return value;
}
#endif

} // namespace

std::string QXLocalizedString(std::string_view key, std::string_view table)
{
    if (const QXStringTables& tables = stringTables()) {
        if (std::optional<std::string> text = tables(key, table)) {
            return *text;
        }
    }
    return std::string(key);
}

void QXSetStringTables(QXStringTables tables)
{
    stringTables() = std::move(tables);
}

std::string QXFormat(std::string_view format, std::initializer_list<std::string_view> arguments)
{
    std::string text;
    std::size_t next = 0;
    for (std::size_t i = 0; i < format.size();) {
        const std::optional<Placeholder> placeholder = placeholderAt(format, i);
        const std::size_t argument = placeholder ? placeholder->number.value_or(next) : arguments.size();
        if (argument < arguments.size()) {
            text += arguments.begin()[argument];
            next += placeholder->number ? 0u : 1u;
            i += placeholder->length;
        } else {
            text += format[i++];
        }
    }
    return text;
}

std::optional<double> QXParseDouble(std::string_view text)
{
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) {
        text.remove_prefix(1);
    }
    std::optional<double> magnitude;
    const std::string word = lowercase(text);
    if (word == "nan") {
        magnitude = std::numeric_limits<double>::quiet_NaN();
    } else if (word == "inf" || word == "infinity") {
        magnitude = std::numeric_limits<double>::infinity();
    } else if (isUnsignedDecimal(text)) {
        magnitude = unsignedDecimalValue(text);
    }
    if (magnitude && negative) {
        magnitude = -*magnitude;
    }
    return magnitude;
}

std::string QXDoubleDescription(double value)
{
    if (std::isnan(value)) {
        return "nan";
    }
    if (std::isinf(value)) {
        return value > 0 ? "inf" : "-inf";
    }
    std::array<char, 64> buffer{};
    const std::to_chars_result result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
    return {buffer.data(), result.ptr};
}

std::string QXNewUUIDString()
{
    static constexpr std::string_view digits = "0123456789ABCDEF";
    std::random_device source;
    std::uniform_int_distribution<std::size_t> nibble(0, 15);
    std::string text = "xxxxxxxx-xxxx-4xxx-yxxx-xxxxxxxxxxxx";
    for (char& c : text) {
        if (c == 'x') {
            c = digits[nibble(source)];
        } else if (c == 'y') {
            c = digits[8 + nibble(source) % 4]; // the variant's two fixed bits
        }
    }
    return text;
}
