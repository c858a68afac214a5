// Absolute URLs, which are kept as texts, and the file URLs among them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

// Whether the text is an absolute URL: a scheme, a colon, and something after it, of the characters that a
// URL may have; others stand in it percent-encoded ("file:///Color%20Profiles/").
bool QXIsAbsoluteURL(std::string_view text);

// The URL of a file or folder with that absolute path.
std::string QXFileURLFromPath(std::string_view path);

// The absolute path that a file URL of this machine names. None for anything else.
std::optional<std::string> QXPathFromFileURL(std::string_view url);
