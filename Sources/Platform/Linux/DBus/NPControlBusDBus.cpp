// The module's entry point, and the bus as it hands it out. This is as far as exceptions go.

#include "Platform/Linux/DBus/NPControlClientDBus.h"
#include "Platform/Linux/DBus/NPControlServiceDBus.h"
#include "Platform/Linux/DBus/NPErrorDBus.h"
#include "Platform/Linux/DBus/NPHotKeyServicesPortalDBus.h"
#include "Platform/Linux/NPControlModule.h"

#include <sdbus-c++/sdbus-c++.h>

#include <chrono>
#include <exception>
#include <type_traits>
#include <utility>

namespace {

// Every operation answers at once: fades go on after it.
constexpr std::chrono::seconds patience{5};

class NPControlBusDBus final : public NPControlBus {
public:
    NPControlBusDBus(const NPControlModuleHost& host, const std::string& address)
        : _host(host), _address(address), _connection(sdbus::createSessionBusConnectionWithAddress(address))
    {
        _connection->setMethodCallTimeout(patience);
    }

    std::unique_ptr<NPControl> runningInstance() override;
    std::expected<std::unique_ptr<NPControlExport>, std::string> publish(NPControl& control, NPMainLoopLinux& loop,
                                                                         std::function<void()> lost) override;
    std::expected<std::unique_ptr<NPHotKeyServices>, std::string> openHotKeys(NPMainLoopLinux& loop) override;

private:
    std::string _nameOwner() const;

    const NPControlModuleHost& _host;
    const std::string _address;
    const std::shared_ptr<sdbus::IConnection> _connection;
};

std::unique_ptr<NPControl> NPControlBusDBus::runningInstance()
{
    try {
        const std::string owner = _nameOwner();
        // A call to ourselves would wait for its own answer.
        if (!owner.empty() && owner != _connection->getUniqueName()) {
            return std::make_unique<NPControlClientDBus>(_connection, owner);
        }
    } catch (const std::exception& exception) {
        _host.log("The session bus cannot be used: " + NPLineOfException(exception));
    }
    return nullptr;
}

// Asked of the bus, because a call by the well-known name could start a program that is not running. Empty
// when nobody owns the name.
std::string NPControlBusDBus::_nameOwner() const
{
    const auto bus = sdbus::createProxy(*_connection, "org.freedesktop.DBus", "/org/freedesktop/DBus");
    sdbus::MethodCall request = bus->createMethodCall("org.freedesktop.DBus", "GetNameOwner");
    request << NPBusName;
    try {
        std::string owner;
        bus->callMethod(request) >> owner;
        return owner;
    } catch (const sdbus::Error& error) {
        if (error.getName() == "org.freedesktop.DBus.Error.NameHasNoOwner") {
            return {};
        }
        throw;
    }
}

std::expected<std::unique_ptr<NPControlExport>, std::string>
NPControlBusDBus::publish(NPControl& control, NPMainLoopLinux& loop, std::function<void()> lost)
{
    try {
        return std::make_unique<NPControlServiceDBus>(_connection, control, loop, _host, std::move(lost));
    } catch (const sdbus::Error& error) {
        if (error.getName() == "org.freedesktop.DBus.Error.FileExists") {
            return std::unexpected("the name " + NPBusName + " is taken on the session bus");
        }
        return std::unexpected("the session bus cannot be used: " + NPLineOfException(error));
    } catch (const std::exception& exception) {
        return std::unexpected("the session bus cannot be used: " + NPLineOfException(exception));
    }
}

std::expected<std::unique_ptr<NPHotKeyServices>, std::string> NPControlBusDBus::openHotKeys(NPMainLoopLinux& loop)
{
    try {
        return std::make_unique<NPHotKeyServicesPortalDBus>(_address, loop, _host);
    } catch (const std::exception& exception) {
        return std::unexpected("the session bus cannot be used: " + NPLineOfException(exception));
    }
}

} // namespace

extern "C" [[gnu::visibility("default")]] void
NPOpenControlBus(const NPControlModuleHost& host, const std::string& address, NPControlBusResult& result)
{
    try {
        result = std::make_shared<NPControlBusDBus>(host, address);
    } catch (const std::exception& exception) {
        result = std::unexpected("the session bus cannot be reached: " + NPLineOfException(exception));
    }
}

static_assert(std::is_same_v<decltype(&NPOpenControlBus), NPControlModuleEntry>);
