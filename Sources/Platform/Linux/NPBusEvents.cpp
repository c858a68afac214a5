#include "Platform/Linux/NPBusEvents.h"

#include "Platform/Linux/NPBusEventsModule.h"
#include "Platform/Linux/NPSessionBusAddress.h"

#include <optional>
#include <utility>

namespace {

struct Bus {
    std::optional<std::string> address; // none: there is no such bus
    std::string name;
};

template<class Entry, class Handlers>
NPBusEventsResult open(const Bus& bus, const std::vector<std::string>& folders, const char* entryName,
                       NPMainLoopLinux& loop, Handlers handlers)
{
    if (!bus.address) {
        return std::unexpected("");
    }
    if (const auto alive = NPCheckBusIsAlive(*bus.address, bus.name); !alive) {
        return std::unexpected(alive.error());
    }
    const std::expected<void*, std::string> entry = NPLoadModule(folders, NPBusModuleFile, entryName);
    if (!entry) {
        return std::unexpected(bus.name + " cannot be used: " + entry.error());
    }
    NPBusEventsResult result;
    reinterpret_cast<Entry>(*entry)(NPThisModuleHost, *bus.address, loop, std::move(handlers), result);
    return result;
}

} // namespace

NPBusEventsResult NPWatchLoginManager(NPMainLoopLinux& loop, NPLoginManagerHandlers handlers,
                                      const std::vector<std::string>& folders)
{
    return open<NPLoginManagerModuleEntry>({NPSystemBusAddress(), "the system bus"}, folders,
                                           NPLoginManagerModuleEntryName, loop, std::move(handlers));
}

NPBusEventsResult NPWatchScreenSavers(NPMainLoopLinux& loop, NPScreenSaverHandler handler,
                                      const std::vector<std::string>& folders)
{
    return open<NPScreenSaverModuleEntry>({NPSessionBusAddress(), "the session bus"}, folders,
                                          NPScreenSaverModuleEntryName, loop, std::move(handler));
}
