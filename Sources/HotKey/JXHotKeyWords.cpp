#include "HotKey/JXHotKeyWords.h"

#include "Foundation/QXUnicode.h"

#include <algorithm>
#include <charconv>
#include <vector>

namespace {

constexpr std::string_view keyCodePrefix = "key-";

struct ModifierWord {
    std::string_view word;
    NPModifierFlags flag;
};

// The first of each modifier is the one that is printed, in this order.
constexpr ModifierWord modifierWords[] = {
    {"ctrl", NPControlFlag},    {"alt", NPOptionFlag},    {"shift", NPShiftFlag}, {"super", NPCommandFlag},
    {"control", NPControlFlag}, {"option", NPOptionFlag}, {"opt", NPOptionFlag},  {"cmd", NPCommandFlag},
    {"command", NPCommandFlag}, {"meta", NPCommandFlag},  {"win", NPCommandFlag},
};
constexpr std::size_t printedModifiers = 4;

// Names besides those of the table.
constexpr std::pair<std::string_view, std::string_view> otherNames[] = {
    {"enter", "return"},   {"esc", "escape"},         {"del", "delete"},   {"ins", "insert"},
    {"help", "insert"},    {"pageup", "page-up"},     {"pgup", "page-up"}, {"pagedown", "page-down"},
    {"pgdn", "page-down"}, {"volumeup", "volume-up"}, {"plus", "+"},       {"volumedown", "volume-down"},
};

std::string lowercase(std::string_view text)
{
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; });
    return lower;
}

// Keys with a name are not called by what they give, so that 1 is never the keypad's.
std::optional<std::uint16_t> keyGiving(std::string_view character, const NPKeyboardLayout& layout)
{
    for (const NPKey& key : NPKeyTable()) {
        if (key.word.empty() && layout.charactersForKeyCode(key.virtualCode) == character) {
            return key.virtualCode;
        }
    }
    return std::nullopt;
}

std::optional<std::uint16_t> keyWithNumber(std::string_view word)
{
    if (!word.starts_with(keyCodePrefix)) {
        return std::nullopt;
    }
    word.remove_prefix(keyCodePrefix.size());
    std::uint16_t code = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), code);
    const bool isNumber = error == std::errc() && end == word.data() + word.size();
    return isNumber ? std::optional(code) : std::nullopt;
}

std::optional<std::uint16_t> keyNamed(std::string word, const NPKeyboardLayout& layout)
{
    const auto* other = std::ranges::find(otherNames, word, [](const auto& names) { return names.first; });
    if (other != std::end(otherNames)) {
        word = other->second;
    }
    const auto table = NPKeyTable();
    const auto named = std::ranges::find(table, word, &NPKey::word);
    if (!word.empty() && named != table.end()) {
        return named->virtualCode;
    }
    if (const auto numbered = keyWithNumber(word)) {
        return numbered;
    }
    const auto decoded = word.empty() ? std::nullopt : QXDecodeUTF8(word, 0);
    if (!decoded || decoded->length != word.size()) {
        return std::nullopt;
    }
    const auto given = keyGiving(word, layout);
    return given ? given : keyGiving(word, NPUSKeyboardLayout());
}

// "ctrl+alt+d" as its modifiers and its key. A "+" at the end is the key.
std::vector<std::string> split(const std::string& words)
{
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (std::size_t plus = words.find('+'); plus != std::string::npos && plus + 1 < words.size();
         plus = words.find('+', start)) {
        parts.push_back(words.substr(start, plus - start));
        start = plus + 1;
    }
    parts.push_back(words.substr(start));
    return parts;
}

std::unexpected<std::string> notACombination(std::string_view because)
{
    return std::unexpected("a combination such as ctrl+alt+d, or none (" + std::string(because) + ')');
}

// Nobody types with these, so they may be had without a modifier.
bool standsAlone(const NPKey& key)
{
    const bool isFunctionKey = key.word.starts_with('f') && key.word != "fn";
    return isFunctionKey || key.word.starts_with("volume-") || key.word == "mute" || key.word == "menu";
}

std::expected<std::uint16_t, std::string> parseKey(const std::string& word, bool hasModifier,
                                                   const NPKeyboardLayout& layout)
{
    const std::optional<std::uint16_t> code = keyNamed(word, layout);
    if (!code) {
        return std::unexpected("there is no key " + QXQuotedForLine(word));
    }
    const NPKey* key = NPKeyWithVirtualCode(*code);
    if (key != nullptr && key->isModifier) {
        return std::unexpected(QXQuotedForLine(word) + " is a modifier, not a key");
    }
    if (!hasModifier && (key == nullptr || !standsAlone(*key))) {
        return std::unexpected("it needs a modifier, or nobody could type the key any more");
    }
    return *code;
}

std::string keyWord(std::uint16_t keyCode, const NPKeyboardLayout& layout)
{
    const NPKey* key = NPKeyWithVirtualCode(keyCode);
    if (key != nullptr && !key->word.empty()) {
        return std::string(key->word);
    }
    const NPUSKeyboardLayout us;
    for (const NPKeyboardLayout* giving : {&layout, static_cast<const NPKeyboardLayout*>(&us)}) {
        const std::string characters = giving->charactersForKeyCode(keyCode);
        if (keyNamed(characters, layout) == keyCode) {
            return characters == "+" ? "plus" : characters;
        }
    }
    return std::string(keyCodePrefix) + std::to_string(keyCode);
}

} // namespace

std::expected<std::optional<JXHotKey>, std::string> JXHotKeyFromWords(std::string_view words,
                                                                      const NPKeyboardLayout& layout)
{
    std::string text = lowercase(words);
    std::erase(text, ' ');
    if (text == "none" || text == "off") {
        return std::nullopt;
    }
    std::vector<std::string> parts = split(text);
    const std::string keyPart = parts.back();
    parts.pop_back();
    std::uint64_t flags = 0;
    for (const std::string& part : parts) {
        const auto* modifier = std::ranges::find(modifierWords, part, &ModifierWord::word);
        if (modifier == std::end(modifierWords)) {
            return notACombination("there is no modifier " + QXQuotedForLine(part));
        }
        flags |= modifier->flag;
    }
    const std::expected<std::uint16_t, std::string> key = parseKey(keyPart, flags != 0, layout);
    if (!key) {
        return notACombination(key.error());
    }
    return JXHotKey(*key, flags);
}

std::string JXWordsFromHotKey(const std::optional<JXHotKey>& hotKey, const NPKeyboardLayout& layout)
{
    if (!hotKey) {
        return "none";
    }
    std::string words;
    for (const auto& [word, flag] : std::span(modifierWords).first(printedModifiers)) {
        if ((hotKey->modifierFlags() & flag) != 0) {
            words += std::string(word) + '+';
        }
    }
    return words + keyWord(hotKey->keyCode(), layout);
}
