// What the commands print for people. Moments are shown in the given zone; texts that come from effects or
// monitors are shown without their control characters, so that none can move the terminal's cursor.
#pragma once

#include "Foundation/QXTimeZone.h"
#include "Foundation/QXValue.h"

#include <string>

std::string NPEffectsText(const QXArray& effects); // with NPEffectsWithHotKeyNames
std::string NPScreensText(const QXArray& screens, const QXTimeZone& zone);
std::string NPStatusText(const QXDictionary& status);
std::string NPLocationText(const QXDictionary& location);
std::string NPSunText(const QXDictionary& sun, const QXTimeZone& zone);

// A line "index red green blue" a sample.
std::string NPTableText(const QXDictionary& table);

// "2026-11-21 22:00:00" on the zone's wall clock.
std::string NPLocalTimeText(QXDate date, const QXTimeZone& zone);

// The text without control characters.
std::string NPPrintable(std::string_view raw);
