#include "Platform/Linux/NPColorProfilesLinux.h"

#include "Foundation/QXLog.h"
#include "Foundation/QXURL.h"
#include "Platform/Linux/NPFileAccess.h"
#include "Platform/Linux/NPSessionBusAddress.h"

#include <algorithm>
#include <utility>

namespace {

constexpr std::size_t largestProfile = std::size_t{16} << 20;

constexpr const char* withoutService = "Custom colour profiles go into the X server alone: ";

std::optional<QXData> fileContent(const std::optional<std::string>& location)
{
    const auto path = location ? QXPathFromFileURL(*location) : std::nullopt;
    auto content = path ? NPReadFile(*path, largestProfile) : std::unexpected(std::string());
    return content ? std::optional(std::move(*content)) : std::nullopt;
}

// What a display is to use.
struct Wish {
    std::optional<std::string> customPath; // the custom profile's file; none for the display's own profile
    QXData content;                        // of that profile; empty when the display's own one is no file
};

Wish wishForLocation(const std::optional<std::string>& location)
{
    QXData content = fileContent(location).value_or(QXData());
    const auto profile = QXColorProfile::profileWithData(content);
    if (!profile || !QXColorProfileIsCustom(*profile)) {
        return {std::nullopt, std::move(content)};
    }
    if (QXColorProfileShowsBaseTable(*profile)) {
        return {std::nullopt, fileContent(QXColorProfileCopyBaseURL(*profile)).value_or(QXData())};
    }
    return {QXPathFromFileURL(*location), std::move(content)};
}

} // namespace

NPColorProfilesLinux::NPColorProfilesLinux(NPDisplayServicesX11& displays, NPMainQueue& mainQueue,
                                           std::vector<std::string> moduleFolders)
    : _displays(displays), _mainQueue(mainQueue), _moduleFolders(std::move(moduleFolders))
{
    _changesInServer = _displays.registerProfileCallback([this](NPDisplayID display) {
        const auto address = _address(display);
        if (!_service || !address || _service->displayProfiles(address->connector).empty()) {
            _profileDidChange(display); // where the service decides, it tells
        }
    });
}

void NPColorProfilesLinux::start(std::function<void()> ready)
{
    if (_isStarted) {
        return;
    }
    _isStarted = true;
    _ready = std::move(ready);
    _displays.watchRootProfiles();
    // A server that stops answering lets nobody in either, and that wait would have no end.
    {
        const std::lock_guard lock(_serverMutex);
        _openServer(_displays.serverName());
    }
    const std::optional<std::string> bus = NPSystemBusAddress();
    if (!bus) {
        QXLog(withoutService + std::string("there is no system bus"));
        _becomeReady();
        return;
    }
    const auto news = [weak = weak_from_this(), &queue = _mainQueue](std::vector<std::string> connectors) {
        queue.performOnMain([weak, connectors = std::move(connectors)] {
            if (const auto profiles = weak.lock()) {
                profiles->_serviceHasNews(connectors);
            }
        });
    };
    auto service = NPOpenColorService({*bus, [](std::string_view line) { QXLog(line); },
                                       [bus = *bus] { return NPCheckBusIsAlive(bus, "the system bus"); }, news},
                                      _moduleFolders);
    if (!service) {
        QXLog(withoutService + service.error());
        _becomeReady();
        return;
    }
    const std::lock_guard lock(_mutex);
    _service = std::move(*service);
}

void NPColorProfilesLinux::_serviceHasNews(const std::vector<std::string>& connectors)
{
    const NPDisplayList online = _displays.onlineDisplayList(NPDisplayListCapacity).value_or(NPDisplayList());
    for (const NPDisplayID display : online) {
        const auto address = _address(display);
        if (address && std::ranges::find(connectors, address->connector) != connectors.end()) {
            _profileDidChange(display);
        }
    }
    _becomeReady();
}

void NPColorProfilesLinux::_becomeReady()
{
    if (const auto ready = std::exchange(_ready, nullptr)) {
        ready();
    }
}

void NPColorProfilesLinux::_profileDidChange(NPDisplayID display)
{
    const auto callbacks = _callbacks; // they may come and go meanwhile
    for (const auto& entry : callbacks) {
        if (const auto callback = entry.lock()) {
            (*callback)(display);
        }
    }
}

NPDisplayProfile NPColorProfilesLinux::copyDisplayProfile(NPDisplayID display)
{
    const std::optional<NPProfileAddressX11> address = _displays.profileAddress(display);
    if (!address) {
        return {};
    }
    {
        const std::lock_guard lock(_mutex);
        _addresses.insert_or_assign(display, *address);
    }
    for (const std::string& path :
         _service ? _service->displayProfiles(address->connector) : std::vector<std::string>()) {
        auto content = NPReadFile(path, largestProfile);
        auto profile = content ? QXColorProfile::profileWithData(std::move(*content), QXFileURLFromPath(path))
                               : std::unexpected(content.error());
        if (profile) { // a custom one has gone when its display is about to get its own back
            return _displays.adoptDisplayProfile(display, std::move(*profile));
        }
    }
    return _displays.copyDisplayProfile(display);
}

NPDisplaySubscription NPColorProfilesLinux::registerProfileCallback(NPDisplayProfileCallback callback)
{
    std::erase_if(_callbacks, [](const auto& entry) { return entry.expired(); });
    auto kept = std::make_shared<NPDisplayProfileCallback>(std::move(callback));
    _callbacks.push_back(kept);
    return kept;
}

std::optional<NPProfileAddressX11> NPColorProfilesLinux::_address(NPDisplayID display) const
{
    const std::lock_guard lock(_mutex);
    const auto found = _addresses.find(display);
    return found == _addresses.end() ? std::nullopt : std::optional(found->second);
}

bool NPColorProfilesLinux::setCustomProfile(NPDisplayID display, const std::optional<std::string>& location)
{
    const std::optional<NPProfileAddressX11> address = _address(display);
    if (!address) {
        return false;
    }
    const Wish wish = wishForLocation(location);
    NPColorService* service = nullptr;
    {
        const std::lock_guard lock(_mutex);
        service = _service.get();
    }
    if (service != nullptr) {
        const NPColorServiceOutcome outcome = service->setCustomProfile(address->connector, wish.customPath);
        if (outcome != NPColorServiceOutcome::notManaged) {
            return outcome == NPColorServiceOutcome::done;
        }
    }
    const std::lock_guard lock(_serverMutex);
    if (!_openServer(address->displayName)) {
        return false;
    }
    _server->connection.dropEvents();
    return wish.customPath ? _server->properties.setCustomProfile(address->place, wish.content)
                           : _server->properties.restoreProfile(address->place, wish.content);
}

bool NPColorProfilesLinux::_openServer(const std::string& displayName)
{
    if (!_server || _server->connection.isLost()) {
        auto connection = NPConnectionX11::open(displayName);
        _server = connection ? std::make_unique<Server>(std::move(*connection)) : nullptr;
    }
    return _server != nullptr;
}
