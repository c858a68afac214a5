// JSON (RFC 8259) of what the commands list.
#pragma once

#include "Foundation/QXValue.h"

#include <string>

// One line without a line feed. Numbers are written so that they read back exactly; what JSON has no word
// for (not a number, infinities, data) becomes null, a date its ISO 8601 text.
std::string NPJSONText(const QXValue& value);
