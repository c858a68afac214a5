#include "CommandLine/NPHotKeyNames.h"

#include "CommandLine/NPTextOutput.h"
#include "Foundation/QXUnicode.h"
#include "HotKey/JXHotKeyWords.h"
#include "HotKey/JXKeyNames.h"

#include <clocale>
#include <cwctype>

namespace {

constexpr std::string_view settingKey = "hotkey";

// Letters are shown as they are printed on keys.
std::string uppercase(const std::string& text)
{
    const locale_t locale = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    std::string upper;
    for (std::size_t i = 0; i < text.size();) {
        const auto [character, length] =
            QXDecodeUTF8(text, i).value_or(QXDecodedCharacter{QXReplacementCharacter, 1});
        const auto wide = static_cast<wint_t>(character);
        QXAppendUTF8(upper, static_cast<char32_t>(locale == nullptr ? wide : ::towupper_l(wide, locale)));
        i += length;
    }
    if (locale != nullptr) {
        ::freelocale(locale);
    }
    return upper;
}

const QXDictionary* dictionary(const QXDictionary& in, std::string_view key)
{
    const QXValue* value = QXDictionaryValue(in, key);
    return value ? value->dictionary() : nullptr;
}

std::string text(const QXDictionary& in, std::string_view key)
{
    const QXValue* value = QXDictionaryValue(in, key);
    return value && value->string() ? NPPrintable(*value->string()) : "";
}

std::uint64_t number(const QXDictionary& in, std::string_view key)
{
    const QXValue* value = QXDictionaryValue(in, key);
    return value ? static_cast<std::uint64_t>(value->integer().value_or(0)) : 0;
}

QXDictionary withHotKeyNames(QXDictionary effect, const NPKeyboardLayout& layout)
{
    const QXDictionary* former = dictionary(effect, "hotKey");
    const QXDictionary* formerSettings = dictionary(effect, "settings");
    if (!former || !formerSettings) {
        return effect;
    }
    const JXHotKey hotKey(static_cast<std::uint16_t>(number(*former, "keyCode")),
                          number(*former, "modifierFlags"));
    QXDictionary description = *former;
    description.insert_or_assign("glyphs",
                                 uppercase(JXStringFromKeyCode(hotKey.keyCode(), hotKey.modifierFlags(), layout)));
    QXDictionary settings = *formerSettings;
    settings.insert_or_assign(std::string(settingKey), JXWordsFromHotKey(hotKey, layout));
    effect.insert_or_assign("hotKey", std::move(description));
    effect.insert_or_assign("settings", std::move(settings));
    return effect;
}

} // namespace

NPControlSettings NPSettingsForEngine(NPControlSettings settings, const NPKeyboardLayout& layout)
{
    const auto setting = settings.find(std::string(settingKey));
    if (setting != settings.end()) {
        if (const auto hotKey = JXHotKeyFromWords(setting->second, layout)) {
            setting->second = JXWordsFromHotKey(*hotKey, NPUSKeyboardLayout());
        }
    }
    return settings;
}

QXArray NPEffectsWithHotKeyNames(const QXArray& effects, const NPKeyboardLayout& layout)
{
    QXArray named;
    for (const QXValue& effect : effects) {
        named.emplace_back(withHotKeyNames(*effect.dictionary(), layout));
    }
    return named;
}

std::string NPHotKeyText(const QXDictionary& effect)
{
    const QXDictionary* hotKey = dictionary(effect, "hotKey");
    const QXDictionary* settings = dictionary(effect, "settings");
    return hotKey && settings ? text(*hotKey, "glyphs") + " (" + text(*settings, settingKey) + ')' : "";
}

std::string NPHotKeyRemark(const QXDictionary& effect)
{
    const QXDictionary* hotKey = dictionary(effect, "hotKey");
    if (!hotKey) {
        return {};
    }
    const std::string refusal = text(*hotKey, "refusal");
    const std::string trigger = text(*hotKey, "trigger");
    if (!refusal.empty()) {
        return "The hot key of " + text(effect, "name") + " does not work: " + refusal + '\n';
    }
    return trigger.empty() ? "" : "The desktop's key for " + text(effect, "name") + ": " + trigger + '\n';
}
