#include "Platform/Linux/NPControlBus.h"

#include "Foundation/QXLog.h"
#include "Platform/Linux/NPControlModule.h"
#include "Platform/Linux/NPModuleLinux.h"
#include "Platform/Linux/NPSessionBusAddress.h"

#include <utility>

const NPControlModuleHost NPThisModuleHost{
    [](NPMainLoopLinux& loop, int descriptor, std::uint32_t events, std::function<void(std::uint32_t)> handler) {
        return loop.watchFileDescriptor(descriptor, events, std::move(handler));
    },
    [](NPMainLoopLinux& loop, std::function<void()> handler) {
        return loop.watchBeforeWaiting(std::move(handler));
    },
    [](std::string_view line) { QXLog(line); },
};

std::expected<std::shared_ptr<NPControlBus>, std::string> NPControlBus::open()
{
    const std::optional<std::string> address = NPSessionBusAddress();
    if (!address) {
        return std::unexpected("");
    }
    if (const auto alive = NPCheckBusIsAlive(*address); !alive) {
        return std::unexpected(alive.error());
    }
    return NPOpenControlBusFromFolders(NPModuleFolders(), *address);
}

NPControlBusResult NPOpenControlBusFromFolders(const std::vector<std::string>& folders, const std::string& address)
{
    const std::expected<void*, std::string> entry =
        NPLoadModule(folders, NPBusModuleFile, NPControlModuleEntryName);
    if (!entry) {
        return std::unexpected("the session bus cannot be used: " + entry.error());
    }
    NPControlBusResult result;
    reinterpret_cast<NPControlModuleEntry>(*entry)(NPThisModuleHost, address, result);
    return result;
}
