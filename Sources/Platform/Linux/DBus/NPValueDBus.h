// Values on their way over the bus.
//
//   boolean b · integer x, above the signed range t · real d · text s · an array of nothing but reals ad ·
//   any other array av · dictionary a{sv}
//
// Everything here throws sdbus::Error for what cannot be written or read.
#pragma once

#include "Foundation/QXValue.h"
#include "Platform/NPControl.h"

#include <sdbus-c++/sdbus-c++.h>

#include <cstddef>
#include <limits>
#include <string>
#include <string_view>

// The bus takes no zero bytes, no malformed UTF-8 and no noncharacters: the text with U+FFFD in their place.
std::string NPTextForBus(std::string_view text);

void NPWriteText(sdbus::Message& message, std::string_view text);                // s
void NPWriteData(sdbus::Message& message, const QXData& data);                   // ay
void NPWriteDictionary(sdbus::Message& message, const QXDictionary& dictionary); // a{sv}
void NPWriteDictionaries(sdbus::Message& message, const QXArray& dictionaries);  // aa{sv}

// A reader stops at its limit, so that what a stranger sends costs little more than its transport. Beyond it
// is a misuse.
struct NPReadingLimits {
    std::size_t textBytes = std::numeric_limits<std::size_t>::max();
    std::size_t dataBytes = std::numeric_limits<std::size_t>::max();
    std::size_t settings = std::numeric_limits<std::size_t>::max();
};

std::string NPReadText(sdbus::Message& message, const NPReadingLimits& limits = {});
QXData NPReadData(sdbus::Message& message, const NPReadingLimits& limits = {});
NPControlSettings NPReadSettings(sdbus::Message& message, const NPReadingLimits& limits = {});
QXDictionary NPReadDictionary(sdbus::Message& message);
QXArray NPReadDictionaries(sdbus::Message& message);
