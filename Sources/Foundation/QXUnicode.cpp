#include "Foundation/QXUnicode.h"

namespace {

constexpr char32_t firstBeyondPlane0 = 0x10000;
constexpr char32_t last = 0x10FFFF;

unsigned byteAt(std::string_view text, std::size_t position)
{
    return static_cast<unsigned char>(text[position]);
}

bool isSurrogate(char32_t character)
{
    return character >= 0xD800 && character <= 0xDFFF;
}

bool isHighSurrogate(char32_t unit)
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool isLowSurrogate(char32_t unit)
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

// How many bytes a sequence has by its first byte; 0 for a byte that starts none.
std::size_t sequenceLength(unsigned lead)
{
    if (lead < 0x80) {
        return 1;
    }
    if (lead < 0xC0) {
        return 0;
    }
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF8 ? 4 : 0;
}

bool breaksLine(char32_t character)
{
    const bool control = character < 0x20 || (character >= 0x7F && character <= 0x9F);
    return control || character == 0x2028 || character == 0x2029;
}

} // namespace

std::optional<QXDecodedCharacter> QXDecodeUTF8(std::string_view text, std::size_t position)
{
    static constexpr char32_t smallest[] = {0, 0, 0x80, 0x800, firstBeyondPlane0};
    const unsigned lead = byteAt(text, position);
    const std::size_t length = sequenceLength(lead);
    if (length == 0 || length > text.size() - position) {
        return std::nullopt;
    }
    char32_t character = length == 1 ? lead : lead & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        const unsigned next = byteAt(text, position + i);
        if ((next & 0xC0u) != 0x80u) {
            return std::nullopt;
        }
        character = character << 6 | (next & 0x3Fu);
    }
    if (character < smallest[length] || character > last || isSurrogate(character)) {
        return std::nullopt;
    }
    return QXDecodedCharacter{character, length};
}

void QXAppendUTF8(std::string& text, char32_t character)
{
    if (character > last || isSurrogate(character)) {
        character = QXReplacementCharacter;
    }
    const auto continuation = [&](unsigned shift) {
        text += static_cast<char>(0x80 | (character >> shift & 0x3F));
    };
    if (character < 0x80) {
        text += static_cast<char>(character);
    } else if (character < 0x800) {
        text += static_cast<char>(0xC0 | character >> 6);
        continuation(0);
    } else if (character < firstBeyondPlane0) {
        text += static_cast<char>(0xE0 | character >> 12);
        continuation(6);
        continuation(0);
    } else {
        text += static_cast<char>(0xF0 | character >> 18);
        continuation(12);
        continuation(6);
        continuation(0);
    }
}

std::u16string QXUTF16FromUTF8(std::string_view text)
{
    std::u16string units;
    units.reserve(text.size());
    std::size_t position = 0;
    while (position < text.size()) {
        const auto [character, length] =
            QXDecodeUTF8(text, position).value_or(QXDecodedCharacter{QXReplacementCharacter, 1});
        position += length;
        if (character < firstBeyondPlane0) {
            units += static_cast<char16_t>(character);
        } else {
            units += static_cast<char16_t>(0xD800 + ((character - firstBeyondPlane0) >> 10));
            units += static_cast<char16_t>(0xDC00 + ((character - firstBeyondPlane0) & 0x3FF));
        }
    }
    return units;
}

std::optional<std::string> QXUTF8FromUTF16(std::u16string_view text)
{
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t character = text[i];
        if (isHighSurrogate(character) && i + 1 < text.size() && isLowSurrogate(text[i + 1])) {
            ++i;
            character = firstBeyondPlane0 + ((character - 0xD800) << 10) + (text[i] - char32_t{0xDC00});
        } else if (isSurrogate(character)) {
            return std::nullopt;
        }
        QXAppendUTF8(bytes, character);
    }
    return bytes;
}

std::string QXQuotedForLine(std::string_view text)
{
    static constexpr std::size_t longest = 40;
    std::string line = "\"";
    std::size_t position = 0;
    for (std::size_t count = 0; position < text.size(); ++count) {
        if (count == longest) {
            line += "…";
            break;
        }
        const auto [character, length] = QXDecodeUTF8(text, position).value_or(QXDecodedCharacter{0, 1});
        position += length;
        QXAppendUTF8(line, breaksLine(character) ? U'?' : character);
    }
    return line + "\"";
}
