#include "Screens/NPScreenState.h"

#include <algorithm>
#include <charconv>

namespace {

constexpr std::string_view groupIdentifierKey = "GroupIdentifier";
constexpr std::string_view activeKey = "Active";
constexpr std::string_view dateKey = "Date";

std::optional<NPScreenStateEntry> entryFromValue(const QXValue& value)
{
    const QXDictionary* fields = value.dictionary();
    if (!fields) {
        return std::nullopt;
    }
    const QXValue* identifier = QXDictionaryValue(*fields, groupIdentifierKey);
    const QXValue* active = QXDictionaryValue(*fields, activeKey);
    const QXValue* date = QXDictionaryValue(*fields, dateKey);
    if (!identifier || !identifier->string() || !active || !active->isNumber() || !date || !date->date()) {
        return std::nullopt;
    }
    return NPScreenStateEntry{*identifier->string(), *active->boolean(), *date->date()};
}

// The number that a key's text begins with, 0 when there is none.
std::int64_t integerValue(std::string_view text)
{
    std::int64_t value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

} // namespace

std::optional<NPScreenStateEntry> NPScreenStateForScreen(const NPUserDefaults& defaults, NPDisplayID screen)
{
    const std::optional<QXValue> stored = defaults.objectForKey(NPScreenStateKey);
    const QXDictionary* state = stored ? stored->dictionary() : nullptr;
    if (!state) {
        return std::nullopt;
    }
    const QXValue* entry = QXDictionaryValue(*state, std::to_string(screen));
    if (!entry) {
        entry = QXDictionaryValue(*state, NPAllScreensKey);
    }
    return entry ? entryFromValue(*entry) : std::nullopt;
}

void NPRememberScreenState(NPUserDefaults& defaults, const NPScreenStateEntry& entry, const NPDisplayList& screens)
{
    const QXValue value(QXDictionary{{std::string(groupIdentifierKey), entry.groupIdentifier},
                                     {std::string(activeKey), entry.active},
                                     {std::string(dateKey), entry.date}});
    if (entry.active && screens.empty()) {
        defaults.setObject(QXDictionary{{std::string(NPAllScreensKey), value}}, NPScreenStateKey);
        return;
    }
    QXDictionary state = defaults.dictionaryForKey(NPScreenStateKey).value_or(QXDictionary());
    if (screens.empty()) {
        for (auto& [key, stored] : state) {
            stored = value;
        }
    }
    for (const NPDisplayID screen : screens) {
        state.insert_or_assign(std::to_string(screen), value);
    }
    defaults.setObject(std::move(state), NPScreenStateKey);
}

void NPForgetScreenStateOfUnlistedScreens(NPUserDefaults& defaults, const NPDisplayList& screens)
{
    std::optional<QXDictionary> state = defaults.dictionaryForKey(NPScreenStateKey);
    if (screens.empty()) {
        defaults.setObject(QXDictionary(), NPScreenStateKey);
    } else if (state) {
        std::erase_if(*state, [&](const auto& item) {
            const std::int64_t number = integerValue(item.first);
            return std::ranges::none_of(screens, [=](NPDisplayID screen) { return number == screen; });
        });
        defaults.setObject(std::move(*state), NPScreenStateKey);
    }
}
