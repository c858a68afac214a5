#include "Engine/NPChangeLock.h"

#include "Platform/Linux/NPSettingsFolder.h"

#include <thread>

std::expected<NPChangeLock, std::string> NPChangeLock::take(std::chrono::milliseconds patience)
{
    static constexpr std::chrono::milliseconds pause(5);
    const auto& folder = NPSettingsFolderOfProcess();
    if (!folder) {
        return NPChangeLock(std::nullopt);
    }
    const std::filesystem::path path = *folder / "nightpane-change.lock";
    auto file = NPLockFile::open(path);
    if (!file) {
        return NPChangeLock(std::nullopt);
    }
    for (std::chrono::milliseconds waited(0); !file->take(); waited += pause) {
        if (waited >= patience) {
            return std::unexpected("another command is still at work (process "
                                   + std::to_string(NPLockFile::holder(path).value_or(0)) + ")");
        }
        std::this_thread::sleep_for(pause);
    }
    return NPChangeLock(std::move(*file));
}
