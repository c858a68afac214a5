// The program as it is installed: who it is, and the files that came with it.
#pragma once

#include "Foundation/QXValue.h"

#include <optional>
#include <string>
#include <string_view>

// Keys of the Info dictionary.
inline constexpr std::string_view CFBundleNameKey = "CFBundleName";                             // "Nightpane"
inline constexpr std::string_view CFBundleShortVersionStringKey = "CFBundleShortVersionString"; // "1.0"
inline constexpr std::string_view CFBundleVersionKey = "CFBundleVersion";                       // the build
inline constexpr std::string_view NSHumanReadableCopyrightKey = "NSHumanReadableCopyright";
inline constexpr std::string_view SUFeedURLKey = "SUFeedURL";         // the standard update feed; also a setting
inline constexpr std::string_view SUPublicEDKeyKey = "SUPublicEDKey"; // base64; with it, updates must be signed

// Where the commands of the Help menu lead: two web pages and a "mailto:" address.
inline constexpr std::string_view NPReleaseNotesURLKey = "NPReleaseNotesURL";
inline constexpr std::string_view NPFAQURLKey = "NPFAQURL";
inline constexpr std::string_view NPSupportURLKey = "NPSupportURL";

class NPBundle {
public:
    virtual ~NPBundle() = default;

    virtual std::string bundleIdentifier() const = 0;

    // The folder, or the program, that is the application for people; an absolute path. Where programs are kept in
    // another place than "/Applications/", one that is there is said to be in that folder.
    virtual std::string bundlePath() const = 0;

    virtual const QXDictionary& infoDictionary() const = 0;

    // The content of a file that came with the program ("Credits", "html"), in the user's language where there is one
    // in it. None when there is none.
    virtual std::optional<QXData> resource(std::string_view name, std::string_view type) const = 0;
};

// A text of the Info dictionary; empty when it is missing or no text.
std::string NPBundleText(const NPBundle& bundle, std::string_view key);
