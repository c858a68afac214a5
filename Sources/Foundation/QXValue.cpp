#include "Foundation/QXValue.h"

#include <cmath>
#include <limits>

namespace {

constexpr double twoToThe63 = 9223372036854775808.0;

int sign(bool less, bool greater)
{
    return static_cast<int>(greater) - static_cast<int>(less);
}

// An integer of up to 65 bits: its sign apart, so that the signed and the unsigned kind compare exactly.
struct WideInteger {
    bool negative;
    std::uint64_t magnitude;
};

WideInteger wideInteger(const QXValue& value)
{
    const std::int64_t integer = *value.integer();
    if (value.kind() == QXValue::Kind::unsignedInteger || integer >= 0) {
        return {false, static_cast<std::uint64_t>(integer)};
    }
    return {true, std::uint64_t{0} - static_cast<std::uint64_t>(integer)};
}

int compareIntegers(WideInteger left, WideInteger right)
{
    if (left.negative != right.negative) {
        return left.negative ? -1 : 1;
    }
    const int bySize = sign(left.magnitude < right.magnitude, right.magnitude < left.magnitude);
    return left.negative ? -bySize : bySize;
}

// Exact: a double cannot hold every 64-bit integer, so the real is split instead of the integer widened.
int compareIntegerWithReal(WideInteger integer, double real)
{
    if (std::isnan(real)) {
        return 1;
    }
    if (real >= 2 * twoToThe63 || real <= -2 * twoToThe63) {
        return real > 0 ? -1 : 1;
    }
    const double whole = std::trunc(real);
    const int byWhole = compareIntegers(integer, {whole < 0, static_cast<std::uint64_t>(std::fabs(whole))});
    return byWhole != 0 ? byWhole : sign(whole < real, real < whole);
}

int compareReals(double left, double right)
{
    if (std::isnan(left) || std::isnan(right)) {
        return sign(std::isnan(left) && !std::isnan(right), !std::isnan(left) && std::isnan(right));
    }
    return sign(left < right, right < left);
}

} // namespace

QXValue::QXValue(std::uint64_t value)
{
    if (value <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
        _storage = static_cast<std::int64_t>(value);
    } else {
        _storage = value;
    }
}

QXValue::QXValue(QXData value) : _storage(std::make_shared<const QXData>(std::move(value))) {}
QXValue::QXValue(QXArray value) : _storage(std::make_shared<const QXArray>(std::move(value))) {}
QXValue::QXValue(QXDictionary value) : _storage(std::make_shared<const QXDictionary>(std::move(value))) {}

std::optional<QXDate> QXValue::date() const
{
    const QXDate* date = std::get_if<QXDate>(&_storage);
    return date ? std::optional(*date) : std::nullopt;
}

const QXData* QXValue::data() const
{
    const auto* data = std::get_if<std::shared_ptr<const QXData>>(&_storage);
    return data ? data->get() : nullptr;
}

const QXArray* QXValue::array() const
{
    const auto* array = std::get_if<std::shared_ptr<const QXArray>>(&_storage);
    return array ? array->get() : nullptr;
}

const QXDictionary* QXValue::dictionary() const
{
    const auto* dictionary = std::get_if<std::shared_ptr<const QXDictionary>>(&_storage);
    return dictionary ? dictionary->get() : nullptr;
}

std::optional<bool> QXValue::boolean() const
{
    switch (kind()) {
    case Kind::boolean:
        return std::get<bool>(_storage);
    case Kind::real:
        return std::get<double>(_storage) != 0.0;
    case Kind::integer:
    case Kind::unsignedInteger:
        return *integer() != 0;
    default:
        return std::nullopt;
    }
}

std::optional<std::int64_t> QXValue::integer() const
{
    switch (kind()) {
    case Kind::boolean:
        return std::get<bool>(_storage) ? 1 : 0;
    case Kind::integer:
        return std::get<std::int64_t>(_storage);
    case Kind::unsignedInteger:
        return static_cast<std::int64_t>(std::get<std::uint64_t>(_storage));
    case Kind::real:
        break;
    default:
        return std::nullopt;
    }
    const double real = std::get<double>(_storage);
    if (std::isnan(real)) {
        return 0;
    }
    if (real >= twoToThe63) {
        return std::numeric_limits<std::int64_t>::max();
    }
    if (real < -twoToThe63) {
        return std::numeric_limits<std::int64_t>::min();
    }
    return static_cast<std::int64_t>(real);
}

std::optional<double> QXValue::real() const
{
    switch (kind()) {
    case Kind::boolean:
        return std::get<bool>(_storage) ? 1.0 : 0.0;
    case Kind::integer:
        return static_cast<double>(std::get<std::int64_t>(_storage));
    case Kind::unsignedInteger:
        return static_cast<double>(std::get<std::uint64_t>(_storage));
    case Kind::real:
        return std::get<double>(_storage);
    default:
        return std::nullopt;
    }
}

bool operator==(const QXValue& left, const QXValue& right)
{
    if (left.isNumber() && right.isNumber()) {
        return QXCompareNumbers(left, right) == 0;
    }
    if (left.kind() != right.kind()) {
        return false;
    }
    switch (left.kind()) {
    case QXValue::Kind::string:
        return *left.string() == *right.string();
    case QXValue::Kind::date:
        return *left.date() == *right.date();
    case QXValue::Kind::data:
        return left.data() == right.data() || *left.data() == *right.data();
    case QXValue::Kind::array:
        return left.array() == right.array() || *left.array() == *right.array();
    default:
        return left.dictionary() == right.dictionary() || *left.dictionary() == *right.dictionary();
    }
}

int QXCompareNumbers(const QXValue& left, const QXValue& right)
{
    const bool leftIsReal = left.kind() == QXValue::Kind::real;
    const bool rightIsReal = right.kind() == QXValue::Kind::real;
    if (leftIsReal && rightIsReal) {
        return compareReals(*left.real(), *right.real());
    }
    if (leftIsReal) {
        return -compareIntegerWithReal(wideInteger(right), *left.real());
    }
    if (rightIsReal) {
        return compareIntegerWithReal(wideInteger(left), *right.real());
    }
    return compareIntegers(wideInteger(left), wideInteger(right));
}

const QXValue* QXDictionaryValue(const QXDictionary& dictionary, std::string_view key)
{
    const auto found = dictionary.find(key);
    return found == dictionary.end() ? nullptr : &found->second;
}
