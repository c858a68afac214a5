#include "Foundation/QXURL.h"

#include <algorithm>

namespace {

constexpr std::string_view fileScheme = "file://";
constexpr std::string_view localHost = "localhost";
constexpr std::string_view digits = "0123456789ABCDEF";

bool isLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// None for what is no hexadecimal digit.
std::optional<unsigned> hexadecimalValue(char c)
{
    const std::size_t found = digits.find(c >= 'a' && c <= 'f' ? static_cast<char>(c - 'a' + 'A') : c);
    return found == std::string_view::npos ? std::nullopt : std::optional(static_cast<unsigned>(found));
}

// The byte that a percent sign and two digits at a position stand for.
std::optional<char> encodedByte(std::string_view text, std::size_t position)
{
    if (text.size() - position < 3 || text[position] != '%') {
        return std::nullopt;
    }
    const auto high = hexadecimalValue(text[position + 1]);
    const auto low = hexadecimalValue(text[position + 2]);
    return high && low ? std::optional(static_cast<char>(*high << 4 | *low)) : std::nullopt;
}

bool mayStandInURL(char c)
{
    return isLetter(c) || isDigit(c) || std::string_view("-._~:/?#[]@!$&'()*+,;=").contains(c);
}

bool mayStandInPath(char c)
{
    return isLetter(c) || isDigit(c) || std::string_view("-._~/!$&'()*+,=:@").contains(c);
}

} // namespace

bool QXIsAbsoluteURL(std::string_view text)
{
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos || colon + 1 == text.size() || colon == 0 || !isLetter(text.front())) {
        return false;
    }
    const bool hasScheme = std::ranges::all_of(text.substr(0, colon), [](char c) {
        return isLetter(c) || isDigit(c) || std::string_view("+-.").contains(c);
    });
    for (std::size_t i = colon; i < text.size(); ++i) {
        if (!mayStandInURL(text[i]) && !encodedByte(text, i)) {
            return false;
        }
    }
    return hasScheme;
}

std::string QXFileURLFromPath(std::string_view path)
{
    std::string url(fileScheme);
    for (const char c : path) {
        if (mayStandInPath(c)) {
            url += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            url += '%';
            url += digits[byte >> 4];
            url += digits[byte & 15U];
        }
    }
    return url;
}

std::optional<std::string> QXPathFromFileURL(std::string_view url)
{
    if (!QXIsAbsoluteURL(url) || !url.starts_with(fileScheme)) {
        return std::nullopt;
    }
    url.remove_prefix(fileScheme.size());
    if (url.starts_with(localHost)) {
        url.remove_prefix(localHost.size());
    }
    if (!url.starts_with('/') || url.find_first_of("?#") != std::string_view::npos) {
        return std::nullopt;
    }
    std::string path;
    for (std::size_t i = 0; i < url.size(); ++i) {
        const auto encoded = encodedByte(url, i);
        const char c = encoded.value_or(url[i]);
        if (c == '\0') {
            return std::nullopt; // no path holds one
        }
        path += c;
        i += encoded ? std::size_t{2} : 0;
    }
    return path;
}
