// What the tests of property lists share.
#pragma once

#include "Foundation/QXPropertyList.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <string>
#include <string_view>

// Stricter than ==: the same kinds, and reals and dates that agree in every bit.
inline bool identical(const QXValue& left, const QXValue& right)
{
    if (left.kind() != right.kind()) {
        return false;
    }
    const auto bits = [](double number) { return std::bit_cast<std::uint64_t>(number); };
    switch (left.kind()) {
    case QXValue::Kind::real:
        return bits(*left.real()) == bits(*right.real());
    case QXValue::Kind::date:
        return bits(left.date()->timeIntervalSinceReferenceDate)
               == bits(right.date()->timeIntervalSinceReferenceDate);
    case QXValue::Kind::array:
        return std::ranges::equal(*left.array(), *right.array(), identical);
    case QXValue::Kind::dictionary:
        return std::ranges::equal(*left.dictionary(), *right.dictionary(), [](const auto& a, const auto& b) {
            return a.first == b.first && identical(a.second, b.second);
        });
    default:
        return left == right;
    }
}

inline QXData dataOf(std::string_view text)
{
    return {text.begin(), text.end()};
}

inline std::string textOf(const QXData& data)
{
    return {data.begin(), data.end()};
}

// The text of the error, or "no error".
inline std::string errorOf(const std::expected<QXValue, std::string>& result)
{
    return result ? "no error" : result.error();
}
