// A property-list value: what a settings dictionary, the defaults store and an effect file hold.
//
// Values are immutable once they are inside a QXValue, and arrays and dictionaries are shared between
// copies, so copying a value is cheap whatever its size. Text is UTF-8.
//
// Numbers are one kind to readers: a boolean, an integer and a real are equal when their numeric values
// are (true equals 1 equals 1.0), and each converts to the others. An integer from a real truncates toward
// zero (out of range: the nearest end; not a number: 0); non-zero is true.
#pragma once

#include "Foundation/QXDate.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

class QXValue;
using QXData = std::vector<std::uint8_t>;
using QXArray = std::vector<QXValue>;
using QXDictionary = std::map<std::string, QXValue, std::less<>>;

class QXValue {
public:
    enum class Kind { boolean, integer, unsignedInteger, real, string, date, data, array, dictionary };

    QXValue(bool value) : _storage(value) {}
    QXValue(int value) : _storage(static_cast<std::int64_t>(value)) {}
    QXValue(std::int64_t value) : _storage(value) {}
    QXValue(std::uint32_t value) : _storage(static_cast<std::int64_t>(value)) {}
    QXValue(std::uint64_t value); // an unsignedInteger only above the signed range
    QXValue(float value) : _storage(static_cast<double>(value)) {}
    QXValue(double value) : _storage(value) {}
    QXValue(const char* value) : _storage(std::string(value)) {}
    QXValue(std::string_view value) : _storage(std::string(value)) {}
    QXValue(std::string value) : _storage(std::move(value)) {}
    QXValue(QXDate value) : _storage(value) {}
    QXValue(QXData value);
    QXValue(QXArray value);
    QXValue(QXDictionary value);
    template<class Pointee> QXValue(const Pointee*) = delete; // a pointer is not a boolean

    Kind kind() const { return static_cast<Kind>(_storage.index()); }
    bool isNumber() const { return kind() <= Kind::real; }

    // The value when it is of that kind, else none (nullptr for the kinds that are not copied).
    const std::string* string() const { return std::get_if<std::string>(&_storage); }
    std::optional<QXDate> date() const;
    const QXData* data() const;
    const QXArray* array() const;
    const QXDictionary* dictionary() const;

    // The number, converted as described above; none when the value is not a number.
    std::optional<bool> boolean() const;
    std::optional<std::int64_t> integer() const; // an unsignedInteger keeps its 64 bits
    std::optional<double> real() const;

    friend bool operator==(const QXValue& left, const QXValue& right);

private:
    std::variant<bool, std::int64_t, std::uint64_t, double, std::string, QXDate, std::shared_ptr<const QXData>,
                 std::shared_ptr<const QXArray>, std::shared_ptr<const QXDictionary>>
        _storage;
};

// The numeric order of two numbers: negative, 0 or positive. Not a number counts as below every other
// number and equal to itself, so that the order is total. Both values must be numbers.
int QXCompareNumbers(const QXValue& left, const QXValue& right);

// The value stored under a key, or nullptr.
const QXValue* QXDictionaryValue(const QXDictionary& dictionary, std::string_view key);
