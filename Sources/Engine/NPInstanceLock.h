// Proof that at most one instance drives the displays of a user's session: a lock file that the kernel
// releases when its holder ends, however that happens.
#pragma once

#include "Engine/NPLockFile.h"

#include <expected>
#include <optional>
#include <string>

class NPInstanceLock {
public:
    // Takes the lock. The error is one line: who holds it, or why the file cannot be had.
    static std::expected<NPInstanceLock, std::string> take();

    // The process that holds the lock (0 when it did not say), or none.
    static std::optional<int> holder();

private:
    explicit NPInstanceLock(NPLockFile file) : _file(std::move(file)) {}

    NPLockFile _file;
};
