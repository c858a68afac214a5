#include "Platform/NPUserDefaults.h"

bool NPUserDefaults::boolForKey(std::string_view key) const
{
    const std::optional<QXValue> value = objectForKey(key);
    return value && value->boolean().value_or(false);
}

std::int64_t NPUserDefaults::integerForKey(std::string_view key) const
{
    const std::optional<QXValue> value = objectForKey(key);
    return value ? value->integer().value_or(0) : 0;
}

double NPUserDefaults::doubleForKey(std::string_view key) const
{
    const std::optional<QXValue> value = objectForKey(key);
    return value ? value->real().value_or(0.0) : 0.0;
}

std::optional<QXArray> NPUserDefaults::arrayForKey(std::string_view key) const
{
    const std::optional<QXValue> value = objectForKey(key);
    return value && value->array() ? std::optional(*value->array()) : std::nullopt;
}

std::optional<QXDictionary> NPUserDefaults::dictionaryForKey(std::string_view key) const
{
    const std::optional<QXValue> value = objectForKey(key);
    return value && value->dictionary() ? std::optional(*value->dictionary()) : std::nullopt;
}
