#include "Platform/Linux/NPColorService.h"

#include "Platform/Linux/NPModuleLinux.h"

#include <utility>

std::expected<std::unique_ptr<NPColorService>, std::string>
NPOpenColorService(NPColorServiceRequest request, const std::vector<std::string>& moduleFolders)
{
    const auto entry = NPLoadModule(moduleFolders, "nightpane-dbus.so", NPColorServiceEntryName);
    if (!entry) {
        return std::unexpected(entry.error());
    }
    std::unique_ptr<NPColorService> service;
    reinterpret_cast<NPColorServiceEntry>(*entry)(std::move(request), service);
    return service;
}
