#include "Pictures/NPPictureNames.h"

#include "Foundation/QXUnicode.h"

namespace {

constexpr std::size_t titleCharacters = 120;
constexpr std::size_t stemBytes = 180; // which leaves room for a number
constexpr std::string_view hostile = "/\\:*?\"<>|";

// The text character by character, each replaced by what the function makes of it.
template<class Replace> std::string replaced(std::string_view text, Replace replace)
{
    std::string result;
    for (std::size_t i = 0; i < text.size();) {
        const std::optional<QXDecodedCharacter> decoded = QXDecodeUTF8(text, i);
        i += decoded ? decoded->length : 1;
        if (!replace(result, decoded ? decoded->character : U'?')) {
            break;
        }
    }
    return result;
}

bool isControl(char32_t character)
{
    return character < 0x20 || (character >= 0x7F && character < 0xA0) || character == 0x2028
           || character == 0x2029;
}

bool isHostile(char32_t character)
{
    return character < 0x80 && hostile.find(static_cast<char>(character)) != std::string_view::npos;
}

// Without leading dots (hidden, or the folder above) and dashes (options to a shell's commands), and without
// spaces and dots at the end.
std::string trimmed(const std::string& text)
{
    const std::size_t first = text.find_first_not_of(" .-");
    if (first == std::string::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(" .") + 1 - first);
}

std::string safe(std::string_view name)
{
    const std::string text = trimmed(replaced(name, [](std::string& result, char32_t character) {
        QXAppendUTF8(result, isHostile(character) || isControl(character) ? U'-' : character);
        return result.size() < stemBytes;
    }));
    return text.empty() ? "effect" : text;
}

std::string lowercase(std::string text)
{
    for (char& c : text) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
    }
    return text;
}

} // namespace

std::string NPPictureTitle(std::string_view effectName)
{
    std::size_t characters = 0;
    return replaced(effectName, [&](std::string& result, char32_t character) {
        const bool full = ++characters > titleCharacters;
        QXAppendUTF8(result, full ? U'…' : isControl(character) ? U' ' : character);
        return !full;
    });
}

std::string NPPictureNames::stem(std::string_view effectName)
{
    const std::string base = safe(effectName);
    std::string name = base;
    for (int number = 2;; ++number) {
        const std::string key = lowercase(name);
        const std::string curveKey = key + std::string(curveSuffix);
        if (!_taken.contains(key) && !_taken.contains(curveKey)) {
            _taken.insert({key, curveKey});
            return name;
        }
        name = base + ' ' + std::to_string(number);
    }
}
