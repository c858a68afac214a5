#include "Application/NPProgramBundle.h"

#include "Platform/Linux/NPFileAccess.h"
#include "Platform/Linux/NPInstalledApplications.h"
#include "Platform/Linux/NPResourcesLinux.h"

#include <unistd.h>

namespace {

constexpr std::string_view copyright = "Copyright © 2026 The Nightpane developers";

} // namespace

std::string NPSystemVersion()
{
    const auto file = NPReadFile("/etc/os-release");
    const std::string text = file ? '\n' + std::string(file->begin(), file->end()) : std::string();
    const std::string_view key = "\nVERSION_ID=";
    const std::size_t start = text.find(key);
    if (start == std::string::npos) {
        return {};
    }
    const std::string value = text.substr(start + key.size(), text.find('\n', start + 1) - start - key.size());
    const std::size_t first = value.find_first_not_of("\"'");
    return first == std::string::npos ? std::string()
                                      : value.substr(first, value.find_last_not_of("\"'") + 1 - first);
}

NPProgramBundle::NPProgramBundle() : _path(NPApplicationPath())
{
    _info.emplace(CFBundleNameKey, "Nightpane");
    _info.emplace(CFBundleShortVersionStringKey, NP_VERSION);
    _info.emplace(CFBundleVersionKey, NP_VERSION);
    _info.emplace(NSHumanReadableCopyrightKey, std::string(copyright));
    _info.emplace(SUFeedURLKey, NP_FEED_URL);
    _info.emplace(NPReleaseNotesURLKey, NP_RELEASE_NOTES_URL);
    _info.emplace(NPFAQURLKey, NP_FAQ_URL);
    _info.emplace(NPSupportURLKey, NP_SUPPORT_URL);
    if (!std::string_view(NP_FEED_KEY).empty()) {
        _info.emplace(SUPublicEDKeyKey, NP_FEED_KEY);
    }
}

// What is in English lies beside the folder of the languages.
std::optional<QXData> NPProgramBundle::resource(std::string_view name, std::string_view type) const
{
    const std::string file = '/' + std::string(name) + '.' + std::string(type);
    for (const std::string& language : NPLanguages()) {
        const std::string folder = language == "en" ? "" : "/Strings/" + language;
        const std::string path = NPResourceFolder() + folder + file;
        if (::access(path.c_str(), F_OK) == 0) {
            auto data = NPReadFile(path);
            return data ? std::optional(std::move(*data)) : std::nullopt;
        }
    }
    return std::nullopt;
}
