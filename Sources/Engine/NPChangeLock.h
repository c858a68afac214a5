// Lets one process at a time change the settings by itself: a command without an instance, from before it reads them
// until it has written them, or an instance that is starting. Without it, the later of two commands would write the
// list of effects back without what the earlier one has added.
#pragma once

#include "Engine/NPLockFile.h"

#include <chrono>
#include <expected>
#include <optional>
#include <string>

class NPChangeLock {
public:
    // Waits for another process as long as the patience lasts; then the error is one line that names it. Where there
    // is no folder to lock in, nothing can be saved either, and the lock is taken for granted.
    static std::expected<NPChangeLock, std::string>
    take(std::chrono::milliseconds patience = std::chrono::seconds(10));

private:
    explicit NPChangeLock(std::optional<NPLockFile> file) : _file(std::move(file)) {}

    std::optional<NPLockFile> _file;
};
