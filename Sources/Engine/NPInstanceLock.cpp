#include "Engine/NPInstanceLock.h"

#include "Platform/Linux/NPSettingsFolder.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int ownerOnly = 0600;

// The session's runtime folder or, without one, the settings folder.
std::optional<std::string> lockPath()
{
    if (const char* folder = std::getenv("XDG_RUNTIME_DIR"); folder && folder[0] == '/') {
        return std::string(folder) + "/nightpane.lock";
    }
    const auto folder = NPSettingsFolder(std::getenv("XDG_CONFIG_HOME"), std::getenv("HOME"));
    if (!folder) {
        return std::nullopt;
    }
    std::error_code ignored; // opening the file tells
    std::filesystem::create_directories(*folder, ignored);
    return folder->string() + "/nightpane.lock";
}

int holderInFile(int file)
{
    char text[16] = {};
    const ssize_t length = ::pread(file, text, sizeof text - 1, 0);
    return length > 0 ? std::atoi(text) : 0;
}

} // namespace

std::expected<NPInstanceLock, std::string> NPInstanceLock::take()
{
    const std::optional<std::string> path = lockPath();
    if (!path) {
        return std::unexpected(std::string("there is no folder for a lock file: HOME is not set"));
    }
    NPFileDescriptor file(::open(path->c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, ownerOnly));
    if (!file) {
        return std::unexpected("cannot open " + *path + ": " + std::strerror(errno));
    }
    if (::flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
        const int process = holderInFile(file.get());
        return std::unexpected("Nightpane is already running"
                               + (process > 0 ? " (process " + std::to_string(process) + ")" : std::string()));
    }
    const std::string process = std::to_string(::getpid()) + '\n';
    if (::ftruncate(file.get(), 0) != 0
        || ::pwrite(file.get(), process.data(), process.size(), 0) != static_cast<ssize_t>(process.size())) {
        return std::unexpected("cannot write " + *path + ": " + std::strerror(errno));
    }
    return NPInstanceLock(std::move(file));
}

std::optional<int> NPInstanceLock::holder()
{
    const std::optional<std::string> path = lockPath();
    const NPFileDescriptor file(path ? ::open(path->c_str(), O_RDONLY | O_CLOEXEC) : -1);
    if (!file || ::flock(file.get(), LOCK_SH | LOCK_NB) == 0) {
        return std::nullopt;
    }
    return errno == EWOULDBLOCK ? std::optional(holderInFile(file.get())) : std::nullopt;
}
