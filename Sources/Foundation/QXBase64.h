// Bytes as text: base64 (RFC 4648, with padding).
#pragma once

#include "Foundation/QXValue.h"

#include <optional>
#include <string>
#include <string_view>

std::string QXBase64FromData(const QXData& data);

// White space between the characters is skipped. None for any other character outside the alphabet and for
// missing or misplaced padding.
std::optional<QXData> QXDataFromBase64(std::string_view text);
