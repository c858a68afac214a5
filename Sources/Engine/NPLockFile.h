// A file that one open descriptor at a time can lock; the kernel takes the lock back when that is closed, however its
// process ends. Who holds it writes its process identifier into the file.
#pragma once

#include "Platform/Linux/NPFileDescriptor.h"

#include <expected>
#include <filesystem>
#include <optional>
#include <string>

class NPLockFile {
public:
    // Makes the file, and its folder, when they are missing. The error is one line.
    static std::expected<NPLockFile, std::string> open(const std::filesystem::path& path);

    // Does not wait. False when another descriptor holds the lock.
    bool take();

    // The process that holds the lock of that file (0 when it did not say), or none. Nothing is locked by the look.
    static std::optional<int> holder(const std::filesystem::path& path);

private:
    explicit NPLockFile(NPFileDescriptor file) : _file(std::move(file)) {}

    NPFileDescriptor _file;
};
