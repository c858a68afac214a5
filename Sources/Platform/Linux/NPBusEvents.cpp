#include "Platform/Linux/NPBusEvents.h"

#include "Foundation/QXLog.h"
#include "Platform/Linux/NPBusEventsModule.h"
#include "Platform/Linux/NPBusRetry.h"
#include "Platform/Linux/NPSessionBusAddress.h"

#include <optional>
#include <utility>

namespace {

struct Bus {
    std::optional<std::string> address; // none: there is no such bus
    std::string name;
};

using Lost = std::function<void()>;

template<class Entry, class Handlers>
NPBusEventsResult open(const Bus& bus, const std::vector<std::string>& folders, const char* entryName,
                       NPMainLoopLinux& loop, const Handlers& handlers, Lost lost)
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
    reinterpret_cast<Entry>(*entry)(NPThisModuleHost, *bus.address, loop, handlers, std::move(lost), result);
    return result;
}

// Connects again when the bus has gone.
class KeptEvents final : public NPBusEvents {
public:
    using Open = std::function<NPBusEventsResult(Lost lost)>;

    // Opens for the first time. Only what has worked once is tried again.
    static NPBusEventsResult keep(NPMainLoopLinux& loop, Open open, std::string returnLine)
    {
        auto kept = std::make_unique<KeptEvents>(loop, std::move(open), std::move(returnLine));
        if (const auto opened = kept->_openAgain(); !opened) {
            return std::unexpected(opened.error());
        }
        return kept;
    }

    KeptEvents(NPMainLoopLinux& loop, Open open, std::string returnLine)
        : _open(std::move(open)), _returnLine(std::move(returnLine)), _retry(loop, [this] { return _comeBack(); })
    {
    }

private:
    std::expected<void, std::string> _openAgain()
    {
        _events.reset();
        NPBusEventsResult opened = _open([this] { _retry.begin(); });
        if (!opened) {
            return std::unexpected(opened.error());
        }
        _events = std::move(*opened);
        return {};
    }

    bool _comeBack()
    {
        const bool isBack = _openAgain().has_value();
        if (isBack) {
            QXLog(_returnLine);
        }
        return isBack;
    }

    const Open _open;
    const std::string _returnLine;
    NPBusRetry _retry;
    std::unique_ptr<NPBusEvents> _events; // none while the bus is away
};

} // namespace

NPBusEventsResult NPWatchLoginManager(NPMainLoopLinux& loop, NPLoginManagerHandlers handlers,
                                      const std::vector<std::string>& folders)
{
    return KeptEvents::keep(
        loop,
        [&loop, handlers = std::move(handlers), folders](Lost lost) {
            return open<NPLoginManagerModuleEntry>({NPSystemBusAddress(), "the system bus"}, folders,
                                                   NPLoginManagerModuleEntryName, loop, handlers, std::move(lost));
        },
        "The system bus is back; switches of users are noticed again");
}

NPBusEventsResult NPWatchScreenSavers(NPMainLoopLinux& loop, NPScreenSaverHandler handler,
                                      const std::vector<std::string>& folders)
{
    return KeptEvents::keep(
        loop,
        [&loop, handler = std::move(handler), folders](Lost lost) {
            return open<NPScreenSaverModuleEntry>({NPSessionBusAddress(), "the session bus"}, folders,
                                                  NPScreenSaverModuleEntryName, loop, handler, std::move(lost));
        },
        "The session bus is back; the desktop's screen saver is noticed again");
}
