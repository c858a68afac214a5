#include "Desktop/Application/NPTestTrayHost.h"

#include <map>
#include <stdexcept>

namespace {

constexpr const char* watcherName = "org.kde.StatusNotifierWatcher";
constexpr const char* menuInterface = "com.canonical.dbusmenu";

using Properties = std::map<std::string, sdbus::Variant>;
using Layout = sdbus::Struct<std::int32_t, Properties, std::vector<sdbus::Variant>>;

template<class Value> Value property(const Properties& properties, const std::string& name, Value fallback)
{
    const auto found = properties.find(name);
    return found == properties.end() ? fallback : found->second.get<Value>();
}

std::string shortcutText(const Properties& properties)
{
    std::string text;
    const auto keys = property(properties, "shortcut", std::vector<std::vector<std::string>>());
    if (!keys.empty()) {
        for (const std::string& word : keys.front()) {
            text += (text.empty() ? "" : "+") + word;
        }
    }
    return text;
}

} // namespace

NPTestTrayHost::NPTestTrayHost(const std::string& busAddress, bool hasHost)
    : _connection(sdbus::createSessionBusConnectionWithAddress(busAddress)),
      _caller(sdbus::createSessionBusConnectionWithAddress(busAddress)),
      _watcher(sdbus::createObject(*_connection, "/StatusNotifierWatcher")), _hasHost(hasHost)
{
    _watcher->registerMethod("RegisterStatusNotifierItem")
        .onInterface(watcherName)
        .implementedAs([this](const std::string& service) {
            const std::lock_guard lock(_mutex);
            _service = _service.empty() ? service : _service;
        });
    _watcher->registerMethod("RegisterStatusNotifierHost")
        .onInterface(watcherName)
        .implementedAs([](const std::string&) {});
    _watcher->registerProperty("IsStatusNotifierHostRegistered").onInterface(watcherName).withGetter([this] {
        return _hasHost.load();
    });
    _watcher->registerProperty("ProtocolVersion").onInterface(watcherName).withGetter([] {
        return std::int32_t{0};
    });
    _watcher->registerProperty("RegisteredStatusNotifierItems").onInterface(watcherName).withGetter([] {
        return std::vector<std::string>();
    });
    _watcher->registerSignal("StatusNotifierHostRegistered").onInterface(watcherName);
    _watcher->finishRegistration();
    _connection->requestName(watcherName);
    _connection->enterEventLoopAsync();
}

NPTestTrayHost::~NPTestTrayHost()
{
    _connection->leaveEventLoop();
}

void NPTestTrayHost::registerHost()
{
    _hasHost = true;
    _watcher->emitSignal("StatusNotifierHostRegistered").onInterface(watcherName);
}

bool NPTestTrayHost::hasItem() const
{
    const std::lock_guard lock(_mutex);
    return !_service.empty();
}

std::string NPTestTrayHost::_itemService() const
{
    const std::lock_guard lock(_mutex);
    return _service;
}

void NPTestTrayHost::activate() const
{
    sdbus::createProxy(*_caller, _itemService(), "/StatusNotifierItem")
        ->callMethod("Activate")
        .onInterface("org.kde.StatusNotifierItem")
        .withArguments(std::int32_t{0}, std::int32_t{0});
}

std::unique_ptr<sdbus::IProxy> NPTestTrayHost::_menuProxy() const
{
    const std::string service = _itemService();
    const auto item = sdbus::createProxy(*_caller, service, "/StatusNotifierItem");
    const sdbus::Variant path = item->getProperty("Menu").onInterface("org.kde.StatusNotifierItem");
    return sdbus::createProxy(*_caller, service, path.get<sdbus::ObjectPath>());
}

std::vector<NPTestTrayHost::MenuItem> NPTestTrayHost::menu() const
{
    const auto proxy = _menuProxy();
    std::uint32_t revision = 0;
    Layout root;
    proxy->callMethod("GetLayout")
        .onInterface(menuInterface)
        .withArguments(std::int32_t{0}, std::int32_t{-1}, std::vector<std::string>())
        .storeResultsTo(revision, root);
    std::vector<MenuItem> items;
    for (const sdbus::Variant& child : root.get<2>()) {
        const auto layout = child.get<Layout>();
        const Properties& properties = layout.get<1>();
        if (property(properties, "visible", true)) {
            items.push_back({layout.get<0>(), property(properties, "label", std::string()),
                             shortcutText(properties),
                             property(properties, "toggle-state", std::int32_t{0}) == 1});
        }
    }
    return items;
}

void NPTestTrayHost::choose(const std::string& label) const
{
    for (const MenuItem& item : menu()) {
        if (item.label == label) {
            _menuProxy()
                ->callMethod("Event")
                .onInterface(menuInterface)
                .withArguments(item.identifier, std::string("clicked"), sdbus::Variant(std::int32_t{0}),
                               std::uint32_t{0});
            return;
        }
    }
    throw std::runtime_error("no item " + label);
}
