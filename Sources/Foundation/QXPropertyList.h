// Property lists: the files that hold settings and effects, in their XML form (version 1.0 of the document
// type) and their binary form ("bplist00").
//
// Both forms keep booleans, the integers from −2^63 to 2^64−1, reals, text, dates, data, arrays and
// dictionaries. The binary form keeps reals and dates to the bit. The XML form keeps reals to the bit too
// (all not-a-numbers are one), but dates in whole seconds, rounded down, because other readers take no
// fraction. Nothing here depends on the C or C++ locale.
//
// Reading refuses, rather than guesses: other encodings than UTF-8, repeated keys, keys without a value,
// numbers that are none, anything behind the end, entities of the file's own, and the kinds that a QXValue
// does not have (sets, UIDs, null).
#pragma once

#include "Foundation/QXValue.h"

#include <cstddef>
#include <cstdint>
#include <expected>
#include <span>
#include <string>

// What a file may ask of memory and stack. A reader whose values end up inside another file gives tighter
// limits than these, so that the other file stays within them.
struct QXPropertyListLimits {
    std::size_t bytes = std::size_t{64} << 20;
    std::size_t depth = 128;                  // of arrays and dictionaries in each other
    std::size_t nodes = std::size_t{1} << 20; // values and keys; one that is shared counts at each place
};

// Recognises the form by itself. The error is one line without a full stop.
std::expected<QXValue, std::string> QXPropertyListFromData(std::span<const std::uint8_t> data,
                                                           const QXPropertyListLimits& limits = {});

// What a form cannot express in text (malformed UTF-8 in both; control characters but tab and the line
// breaks, and U+FFFE and U+FFFF, in XML) is written as U+FFFD, so that every reader opens the file; keys
// that become equal thereby get further U+FFFD appended. An error, one line, for a value that exceeds the
// limits that reading has by default, and in XML for a date outside the years 1 to 9999.
std::expected<QXData, std::string> QXPropertyListXMLData(const QXValue& value);
std::expected<QXData, std::string> QXPropertyListBinaryData(const QXValue& value);
