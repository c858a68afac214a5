#include "Effects/NPEffectGroup.h"

#include "Foundation/QXString.h"

#include <algorithm>

NPEffectGroup::NPEffectGroup(const NPEffectEnvironment& environment, QXDictionary settings, bool isImporting)
    : _environment(environment), _infoSource(QXDictionary())
{
    const QXValue* stored = QXDictionaryValue(settings, NPEffectIdentifierKey);
    const bool keepsIdentifier = !isImporting && stored && stored->string();
    _identifier = keepsIdentifier ? *stored->string() : QXNewUUIDString();
    settings.insert_or_assign(std::string(NPSaveFormatKey), 2);
    settings.insert_or_assign(std::string(NPEffectIdentifierKey), _identifier);
    _infoSource = std::move(settings);
}

NPEffectGroup::NPEffectGroup(const NPEffectEnvironment& environment) : NPEffectGroup(environment, {}, true) {}

bool NPEffectGroup::boolForKey(std::string_view key) const
{
    const QXValue* value = QXDictionaryValue(_settings(), key);
    return value && value->boolean().value_or(false);
}

std::int64_t NPEffectGroup::integerForKey(std::string_view key) const
{
    return integerForKey(key, 0);
}

std::int64_t NPEffectGroup::integerForKey(std::string_view key, std::int64_t defaultValue) const
{
    const QXValue* value = QXDictionaryValue(_settings(), key);
    return value ? value->integer().value_or(defaultValue) : defaultValue;
}

float NPEffectGroup::floatForKey(std::string_view key) const
{
    const QXValue* value = QXDictionaryValue(_settings(), key);
    return value ? static_cast<float>(value->real().value_or(0.0)) : 0.0F;
}

std::optional<QXValue> NPEffectGroup::objectForKey(std::string_view key) const
{
    const QXValue* value = QXDictionaryValue(_settings(), key);
    return value ? std::optional(*value) : std::nullopt;
}

std::optional<QXArray> NPEffectGroup::arrayForKey(std::string_view key) const
{
    const QXValue* value = QXDictionaryValue(_settings(), key);
    return value && value->array() ? std::optional(*value->array()) : std::nullopt;
}

std::optional<std::string> NPEffectGroup::stringForKey(std::string_view key) const
{
    const QXValue* value = QXDictionaryValue(_settings(), key);
    return value && value->string() ? std::optional(*value->string()) : std::nullopt;
}

void NPEffectGroup::setBool(bool value, std::string_view key)
{
    setObject(value, key);
}

void NPEffectGroup::setInteger(std::int64_t value, std::string_view key)
{
    setObject(value, key);
}

void NPEffectGroup::setFloat(float value, std::string_view key)
{
    setObject(value, key);
}

void NPEffectGroup::setObject(QXValue value, std::string_view key)
{
    const QXValue* stored = QXDictionaryValue(_settings(), key);
    if (stored && *stored == value) {
        return;
    }
    QXDictionary settings = _settings();
    settings.insert_or_assign(std::string(key), std::move(value));
    _infoSource = std::move(settings);
    _valueDidChange();
}

void NPEffectGroup::removeObjectForKey(std::string_view key)
{
    if (!QXDictionaryValue(_settings(), key)) {
        return;
    }
    QXDictionary settings = _settings();
    settings.erase(settings.find(key));
    _infoSource = std::move(settings);
    _valueDidChange();
}

void NPEffectGroup::_valueDidChange()
{
    _environment.notifications.postNotification(NPEffectGroupDidChangeNotification, this);
}

std::string NPEffectGroup::name() const
{
    const std::optional<std::string> stored = stringForKey(NPEffectNameKey);
    return stored ? *stored : QXLocalizedString("New Effect");
}

void NPEffectGroup::setName(std::string_view name)
{
    setObject(name, NPEffectNameKey);
}

std::optional<JXHotKey> NPEffectGroup::hotKey() const
{
    const JXHotKey hotKey{static_cast<std::uint16_t>(integerForKey(NPHotKeyCodeKey)), // the low 16 bits
                          static_cast<std::uint64_t>(integerForKey(NPHotKeyModifiersKey))};
    const bool isHotKey = hotKey.keyCode() != 0 || hotKey.modifierFlags() != 0;
    return isHotKey ? std::optional(hotKey) : std::nullopt;
}

void NPEffectGroup::setHotKey(std::optional<JXHotKey> hotKey)
{
    if (hotKey) {
        setInteger(hotKey->keyCode(), NPHotKeyCodeKey);
        setInteger(static_cast<std::int64_t>(hotKey->modifierFlags()), NPHotKeyModifiersKey);
    } else {
        removeObjectForKey(NPHotKeyCodeKey);
        removeObjectForKey(NPHotKeyModifiersKey);
    }
}

double NPEffectGroup::manualTransitionDuration() const
{
    return objectForKey(NPManualTransitionDurationKey)
               ? static_cast<double>(floatForKey(NPManualTransitionDurationKey))
               : 0.5;
}

double NPEffectGroup::timerTransitionDuration() const
{
    return objectForKey(NPTimerTransitionDurationKey)
               ? static_cast<double>(floatForKey(NPTimerTransitionDurationKey))
               : 2.0;
}

void NPEffectGroup::setManualTransitionDuration(double seconds)
{
    setFloat(static_cast<float>(seconds), NPManualTransitionDurationKey);
}

void NPEffectGroup::setTimerTransitionDuration(double seconds)
{
    setFloat(static_cast<float>(seconds), NPTimerTransitionDurationKey);
}

NPDisplayList NPEffectGroup::affectedScreenSet() const
{
    const QXValue* stored = QXDictionaryValue(_settings(), NPAffectedScreenSetKey);
    if (!stored || !stored->array() || !std::ranges::all_of(*stored->array(), &QXValue::isNumber)) {
        return {};
    }
    QXArray sorted = *stored->array();
    std::ranges::sort(sorted,
                      [](const QXValue& left, const QXValue& right) { return QXCompareNumbers(left, right) < 0; });
    NPDisplayList screens;
    screens.reserve(sorted.size());
    for (const QXValue& screen : sorted) {
        const auto identifier = static_cast<NPDisplayID>(*screen.integer());
        // A number that is no display's stays in the list, so that the list does not mean all screens.
        screens.push_back(QXValue(identifier) == screen ? identifier : 0);
    }
    return screens;
}

void NPEffectGroup::setAffectedScreenSet(QXArray screens)
{
    setObject(std::move(screens), NPAffectedScreenSetKey);
}

bool NPEffectGroup::affectsScreen(NPDisplayID screen) const
{
    const NPDisplayList screens = affectedScreenSet();
    return screens.empty() || std::ranges::find(screens, screen) != screens.end();
}

bool NPEffectGroup::hasEffectSelected() const
{
    return std::ranges::any_of(_orderedEffects, &NPEffect::isSelected);
}

void NPEffectGroup::applyEffectOnGammaCurve(QXGammaTable& table) const
{
    for (const NPEffect* effect : _orderedEffects) {
        if (effect->isSelected()) {
            effect->applyEffectOnGammaCurve(table);
        }
    }
}
