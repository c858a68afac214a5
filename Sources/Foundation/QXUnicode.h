// UTF-8 and UTF-16, character by character. Text from outside may be anything, so every reader and writer
// of text decides here what is a character and what is not.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// Stands for what is no character: U+FFFD.
inline constexpr char32_t QXReplacementCharacter = 0xFFFD;

struct QXDecodedCharacter {
    char32_t character;
    std::size_t length; // in bytes, at least 1
};

// The character that starts at a position inside the text. None for bytes that are not well-formed UTF-8
// (overlong forms, surrogates and what lies above U+10FFFF included).
std::optional<QXDecodedCharacter> QXDecodeUTF8(std::string_view text, std::size_t position);

// Appends a character in UTF-8. What is no Unicode scalar value becomes the replacement character.
void QXAppendUTF8(std::string& text, char32_t character);

// The text in UTF-16, each malformed byte replaced.
std::u16string QXUTF16FromUTF8(std::string_view text);

// None when a surrogate stands without its other half.
std::optional<std::string> QXUTF8FromUTF16(std::u16string_view text);

// The text in quotation marks, fit for one line of an error: clipped after 40 characters ("…" shows it),
// with "?" for line breaks, control characters and malformed bytes.
std::string QXQuotedForLine(std::string_view text);
