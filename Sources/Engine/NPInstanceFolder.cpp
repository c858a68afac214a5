#include "Engine/NPInstanceFolder.h"

#include "Platform/Linux/NPSettingsFolder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

namespace {

constexpr mode_t ownerOnly = 0700;
constexpr mode_t othersMask = 0077;

bool isWritable(const std::string& folder)
{
    return ::access(folder.c_str(), W_OK | X_OK) == 0;
}

// Anybody can put a folder there first, so it must be ours and nobody else's.
std::optional<std::string> temporaryFolder()
{
    const std::string folder = "/tmp/nightpane-" + std::to_string(::getuid());
    ::mkdir(folder.c_str(), ownerOnly);
    struct stat status{};
    const bool isOurs = ::lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode)
                        && status.st_uid == ::getuid() && (status.st_mode & othersMask) == 0;
    return isOurs ? std::optional(folder) : std::nullopt;
}

} // namespace

std::optional<std::string> NPInstanceFolder()
{
    const char* const runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime != nullptr && runtime[0] == '/' && isWritable(runtime)) {
        return runtime;
    }
    if (const auto& settings = NPSettingsFolderOfProcess()) {
        std::error_code ignored; // whether it is there is asked next
        std::filesystem::create_directories(*settings, ignored);
        if (isWritable(settings->string())) {
            return settings->string();
        }
    }
    return temporaryFolder();
}
