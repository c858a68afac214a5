#include "Platform/Linux/NPControlBus.h"

#include "Foundation/QXLog.h"
#include "Platform/Linux/NPControlModule.h"
#include "Platform/Linux/NPSessionBusAddress.h"

#include <dlfcn.h>
#include <limits.h>
#include <unistd.h>

#include <array>
#include <utility>

namespace {

constexpr const char* moduleFile = "nightpane-dbus.so";

const NPControlModuleHost host{
    [](NPMainLoopLinux& loop, int descriptor, std::uint32_t events, std::function<void(std::uint32_t)> handler) {
        return loop.watchFileDescriptor(descriptor, events, std::move(handler));
    },
    [](NPMainLoopLinux& loop, std::function<void()> handler) {
        return loop.watchBeforeWaiting(std::move(handler));
    },
    [](std::string_view line) { QXLog(line); },
};

// Empty when the kernel does not say.
std::string programFolder()
{
    std::array<char, PATH_MAX> path;
    const ssize_t length = ::readlink("/proc/self/exe", path.data(), path.size());
    const std::string_view program(path.data(), length < 0 ? 0 : static_cast<std::size_t>(length));
    return std::string(program.substr(0, program.find_last_of('/') + 1));
}

} // namespace

std::expected<std::shared_ptr<NPControlBus>, std::string> NPControlBus::open()
{
    const std::optional<std::string> address = NPSessionBusAddress();
    if (!address) {
        return std::unexpected("");
    }
    if (const auto alive = NPCheckBusIsAlive(*address); !alive) {
        return std::unexpected(alive.error());
    }
    const std::string folder = programFolder();
    return NPOpenControlBusFromFolders({folder, folder + "../lib/nightpane/"}, *address);
}

NPControlBusResult NPOpenControlBusFromFolders(const std::vector<std::string>& folders,
                                               const std::string& address)
{
    for (const std::string& folder : folders) {
        const std::string path = folder + '/' + moduleFile;
        if (::access(path.c_str(), F_OK) != 0) {
            continue;
        }
        void* const module = ::dlopen(path.c_str(), RTLD_LAZY | RTLD_LOCAL | RTLD_NODELETE);
        void* const symbol = module != nullptr ? ::dlsym(module, NPControlModuleEntryName) : nullptr;
        if (symbol == nullptr) {
            return std::unexpected(std::string("the session bus cannot be used: ") + ::dlerror());
        }
        NPControlBusResult result;
        reinterpret_cast<NPControlModuleEntry>(symbol)(host, address, result);
        return result;
    }
    return std::unexpected(std::string("the session bus cannot be used: ") + moduleFile + " is missing");
}
