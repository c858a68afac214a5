// The file that settings lie in: a binary property list with a dictionary at its top.
//
// It is only ever replaced as a whole, so whoever reads it finds the old or the new settings. Who replaces
// it holds the lock, a file beside it, from the last look at the old settings to the end. Where the file is
// a symbolic link, what it leads to is read and replaced, and the link stays.
#pragma once

#include "Foundation/QXValue.h"
#include "Platform/Linux/NPFileDescriptor.h"

#include <sys/stat.h>

#include <chrono>
#include <expected>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <system_error>

class NPSettingsFile {
public:
    // Tells one state of the file from another without reading it.
    class Version {
    public:
        explicit Version(const struct stat& status);
        friend bool operator==(const Version&, const Version&) = default;

    private:
        std::uint64_t _device;
        std::uint64_t _inode;
        std::int64_t _size;
        std::int64_t _modified; // nanoseconds
        std::int64_t _changed;
    };

    struct Content {
        QXDictionary settings;
        std::optional<Version> version; // none when there is no file; the settings are empty then
    };

    // A broken file will not be readable later either: it is no property list, has no dictionary at its
    // top, or must not be read. Else there may only be too few resources at the moment.
    struct ReadError {
        std::string reason;
        bool isBroken;
    };

    explicit NPSettingsFile(const std::filesystem::path& folder);

    const std::filesystem::path& path() const { return _path; }

    // Where the file really lies.
    std::filesystem::path target() const;

    std::optional<Version> version() const; // none when there is no file
    std::expected<Content, ReadError> read() const;

    // Makes the folder, for its owner alone, when it is missing.
    std::error_code makeFolder() const;

    // The lock, held until the descriptor is closed. Waits for another process as long as the patience
    // lasts; then the error is std::errc::resource_unavailable_try_again. Any other error means that
    // nothing can be written here.
    std::expected<NPFileDescriptor, std::error_code> lock(std::chrono::milliseconds patience) const;

    // Replaces the content, for its owner alone. It has reached the disk on return. May be called from any
    // thread.
    std::expected<Version, std::error_code> replace(std::span<const std::uint8_t> content) const;

    // Gives the file another name beside it, with the date in it, that nothing has yet; says which.
    std::expected<std::filesystem::path, std::error_code> setAside(QXDate date) const;

private:
    std::filesystem::path _path;
};
