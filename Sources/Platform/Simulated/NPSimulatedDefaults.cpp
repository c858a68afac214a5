#include "Platform/Simulated/NPSimulatedDefaults.h"

std::optional<QXValue> NPSimulatedDefaults::objectForKey(std::string_view key) const
{
    if (const QXValue* value = QXDictionaryValue(_stored, key)) {
        return *value;
    }
    const QXValue* value = QXDictionaryValue(_registered, key);
    return value ? std::optional(*value) : std::nullopt;
}

void NPSimulatedDefaults::setObject(QXValue value, std::string_view key)
{
    const QXValue* stored = QXDictionaryValue(_stored, key);
    if (stored && *stored == value) {
        return;
    }
    _stored.insert_or_assign(std::string(key), std::move(value));
    _log.add("defaults set " + std::string(key));
    _notifications.postNotification(NPUserDefaultsDidChangeNotification, this);
}

void NPSimulatedDefaults::removeObjectForKey(std::string_view key)
{
    const auto found = _stored.find(key);
    if (found == _stored.end()) {
        return;
    }
    _stored.erase(found);
    _log.add("defaults remove " + std::string(key));
    _notifications.postNotification(NPUserDefaultsDidChangeNotification, this);
}

void NPSimulatedDefaults::registerDefaults(const QXDictionary& defaults)
{
    for (const auto& [key, value] : defaults) {
        _log.add("defaults register " + key);
        _registered.insert_or_assign(key, value);
    }
}
