// Version numbers as people write them: "1.2", "1.2b3", "2026.11".
#pragma once

#include <string_view>

// Negative, 0 or positive: the left one is older, the same, or newer. Numbers compare by their values, of any length,
// words by their letters; a word comes before a number and before nothing, so that "1.2b3" is older than "1.2", and
// that older than "1.2.1". Zeros at the end count for nothing.
int QXCompareVersions(std::string_view left, std::string_view right);
