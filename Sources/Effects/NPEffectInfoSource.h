// Where an effect keeps its settings: its group. Every getter gives a neutral value (false, 0, none) when
// the key is absent or holds a value of another kind.
#pragma once

#include "Foundation/QXValue.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

class NPEffectInfoSource {
public:
    virtual ~NPEffectInfoSource() = default;

    virtual bool boolForKey(std::string_view key) const = 0;
    virtual std::int64_t integerForKey(std::string_view key) const = 0;
    virtual float floatForKey(std::string_view key) const = 0;
    virtual std::optional<QXValue> objectForKey(std::string_view key) const = 0;
    virtual std::optional<QXArray> arrayForKey(std::string_view key) const = 0;
    virtual std::optional<std::string> stringForKey(std::string_view key) const = 0;

    virtual void setBool(bool value, std::string_view key) = 0;
    virtual void setInteger(std::int64_t value, std::string_view key) = 0;
    virtual void setFloat(float value, std::string_view key) = 0;
    virtual void setObject(QXValue value, std::string_view key) = 0;
    virtual void removeObjectForKey(std::string_view key) = 0;
};
