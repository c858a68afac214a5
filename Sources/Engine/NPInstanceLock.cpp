#include "Engine/NPInstanceLock.h"

#include "Engine/NPInstanceFolder.h"

#include <cstdlib>

namespace {

std::optional<std::filesystem::path> lockPath()
{
    const std::optional<std::string> folder = NPInstanceFolder();
    return folder ? std::optional(std::filesystem::path(*folder) / "nightpane.lock") : std::nullopt;
}

} // namespace

std::expected<NPInstanceLock, std::string> NPInstanceLock::take()
{
    const std::optional<std::filesystem::path> path = lockPath();
    if (!path) {
        return std::unexpected(std::string("there is no folder for a lock file"));
    }
    auto file = NPLockFile::open(*path);
    if (!file) {
        return std::unexpected(file.error());
    }
    if (!file->take()) {
        const int process = NPLockFile::holder(*path).value_or(0);
        return std::unexpected("Nightpane is already running"
                               + (process > 0 ? " (process " + std::to_string(process) + ")" : std::string()));
    }
    return NPInstanceLock(std::move(*file));
}

std::optional<int> NPInstanceLock::holder()
{
    const std::optional<std::filesystem::path> path = lockPath();
    return path ? NPLockFile::holder(*path) : std::nullopt;
}
