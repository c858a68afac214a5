// What some keys give in some layouts, whoever says so.
#pragma once

#include "Platform/NPKeyboardLayout.h"

#include <initializer_list>
#include <string>

// What the keys of the rows Q, A and Z give, and those of 1 and right of 0.
inline std::string NPTestLetters(const NPKeyboardLayout& layout)
{
    std::string text;
    for (const std::uint16_t keyCode : std::initializer_list<std::uint16_t>{12, 0, 6, 18, 27}) {
        text += layout.charactersForKeyCode(keyCode) + ' ';
    }
    return text;
}

struct NPTestKeyboardLayout {
    const char* layout;
    const char* variant;
    const char* letters;
};

inline constexpr NPTestKeyboardLayout NPTestKeyboardLayouts[] = {
    {"us", "", "q a z 1 - "},       {"de", "", "q a y 1 ß "}, {"fr", "", "a q w & ) "},
    {"us", "dvorak", "' a ; 1 [ "}, {"ru", "", "й ф я 1 - "},
};
