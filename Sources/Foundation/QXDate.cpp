#include "Foundation/QXDate.h"

#include "Foundation/QXCalendar.h"
#include "Foundation/QXString.h"

#include <cmath>

namespace {

// 0001-01-01T00:00:00Z and 9999-12-31T23:59:59Z as seconds since the reference date.
constexpr double firstDescribable = -63113904000.0;
constexpr double lastDescribable = 252423993599.0;

void appendPadded(std::string& text, std::int64_t value, std::size_t width)
{
    const std::string digits = std::to_string(value);
    text.append(width > digits.size() ? width - digits.size() : 0, '0');
    text += digits;
}

// The number of exactly `width` digits at a position, or none.
std::optional<int> digitsAt(std::string_view text, std::size_t position, std::size_t width)
{
    int value = 0;
    for (std::size_t i = position; i < position + width; ++i) {
        if (i >= text.size() || text[i] < '0' || text[i] > '9') {
            return std::nullopt;
        }
        value = value * 10 + (text[i] - '0');
    }
    return value;
}

bool hasPunctuation(std::string_view text)
{
    return text.size() >= 20 && text[4] == '-' && text[7] == '-' && text[10] == 'T' && text[13] == ':'
           && text[16] == ':' && text.back() == 'Z';
}

} // namespace

std::string QXDateDescription(QXDate date)
{
    const double seconds = std::floor(date.timeIntervalSinceReferenceDate);
    if (!(seconds >= firstDescribable && seconds <= lastDescribable)) {
        return "invalid date";
    }
    const QXDateComponents fields = QXCalendarComponentsFromDate(QXDate{seconds}, QXFixedTimeZone());
    std::string text;
    appendPadded(text, fields.year, 4);
    text += '-';
    appendPadded(text, fields.month, 2);
    text += '-';
    appendPadded(text, fields.day, 2);
    text += 'T';
    appendPadded(text, fields.hour, 2);
    text += ':';
    appendPadded(text, fields.minute, 2);
    text += ':';
    appendPadded(text, fields.second, 2);
    text += 'Z';
    return text;
}

std::optional<QXDate> QXDateFromDescription(std::string_view text)
{
    if (!hasPunctuation(text)) {
        return std::nullopt;
    }
    const auto year = digitsAt(text, 0, 4);
    const auto month = digitsAt(text, 5, 2);
    const auto day = digitsAt(text, 8, 2);
    const auto hour = digitsAt(text, 11, 2);
    const auto minute = digitsAt(text, 14, 2);
    const auto second = digitsAt(text, 17, 2);
    if (!year || !month || !day || !hour || !minute || !second) {
        return std::nullopt;
    }
    if (*year < 1 || *month < 1 || *month > 12 || *day < 1 || *day > 31 || *hour > 23 || *minute > 59
        || *second > 59) {
        return std::nullopt;
    }
    double fraction = 0.0;
    if (text.size() > 20) {
        const std::string_view digits = text.substr(19, text.size() - 20);
        const auto parsed = digits.starts_with('.') ? QXParseDouble(digits) : std::nullopt;
        if (!parsed || digits.find_first_not_of(".0123456789") != std::string_view::npos) {
            return std::nullopt;
        }
        fraction = *parsed;
    }
    const QXDateComponents fields{*year, *month, *day, *hour, *minute, *second, 0};
    const QXDate date = QXCalendarDateFromComponents(fields, QXFixedTimeZone());
    if (QXCalendarComponentsFromDate(date, QXFixedTimeZone()) != fields) {
        return std::nullopt; // a day that its month does not have
    }
    return date.addingTimeInterval(fraction);
}
