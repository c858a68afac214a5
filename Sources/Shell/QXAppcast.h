// Update feeds in the appcast format: RSS whose items are versions of a program.
#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <string>
#include <string_view>
#include <vector>

struct QXAppcastEnclosure {
    std::string url;
    std::string operatingSystem; // empty for any
    std::string edSignature;     // base64, as written; empty for none
    std::uint64_t length = 0;    // in bytes; 0 when it is not told
};

// What is empty is not told.
struct QXAppcastItem {
    std::string version;      // compared; never empty
    std::string shortVersion; // shown; the same where there is no other
    std::string minimumSystemVersion;
    std::string releaseNotes; // HTML
    std::string releaseNotesURL;
    std::string downloadPage;
    std::string channel; // for people who have asked for other than stable versions
    bool isCritical = false;
    std::vector<QXAppcastEnclosure> enclosures;
};

// The items that name a version, in the order of the feed. The error is one line: "line 3: …".
std::expected<std::vector<QXAppcastItem>, std::string> QXAppcastItemsFromText(std::string_view text);
