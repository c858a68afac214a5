#include "Platform/Linux/DBus/NPServicesDBus.h"

#include <chrono>
#include <exception>

namespace {

// For the few calls that are waited for: the ones that set up match rules, which the bus itself answers.
constexpr std::chrono::seconds patience{2};

const std::string busName = "org.freedesktop.DBus";
const std::string busPath = "/org/freedesktop/DBus";

} // namespace

// The function called connects to a bus of either kind: the address says which it is.
NPServicesDBus::NPServicesDBus(const NPControlModuleHost& host, const std::string& address, NPMainLoopLinux& loop,
                               std::string lossLine, std::function<void()> lost)
    : _host(host), _connection(sdbus::createSessionBusConnectionWithAddress(address))
{
    _connection->setMethodCallTimeout(patience);
    _serving = NPServingDBus::start(_connection, loop, host,
                                    [this, lossLine = std::move(lossLine), lost = std::move(lost)] {
                                        _host.log(lossLine);
                                        _busDidGo();
                                        lost();
                                    });
}

sdbus::Slot NPServicesDBus::match(const std::string& rule, std::function<void(sdbus::Message&)> handler)
{
    return _connection->addMatch(rule, [handler = std::move(handler)](sdbus::Message& message) {
        try {
            handler(message);
        } catch (const std::exception&) { // not as it should be
            return;
        }
    });
}

NPServicesDBus::AnswerHandler NPServicesDBus::_guarded(AnswerHandler handler)
{
    return [handler = std::move(handler)](sdbus::MethodReply& answer, const sdbus::Error* error) {
        try {
            handler(answer, error);
        } catch (const std::exception&) { // not as it should be
            return;
        }
    };
}

void NPServicesDBus::follow(const std::string& name, OwnerHandler handler)
{
    _ownerHandlers[name] = std::move(handler);
    _slots.push_back(match("type='signal',sender='" + busName + "',interface='" + busName
                               + "',member='NameOwnerChanged',arg0='" + name + "'",
                           [this](sdbus::Message& message) {
                               std::string changed;
                               std::string former;
                               std::string owner;
                               message >> changed >> former >> owner;
                               _ownerDidChange(changed, former, owner);
                           }));
    ask(
        {busName, busPath, busName, "GetNameOwner"},
        [this, name](sdbus::MethodReply& answer, const sdbus::Error* error) {
            std::string owner;
            if (error == nullptr) {
                answer >> owner;
            }
            _ownerDidChange(name, "", owner);
        },
        name);
}

void NPServicesDBus::_ownerDidChange(const std::string& name, const std::string& former, const std::string& owner)
{
    if (!former.empty()) {
        std::erase_if(_proxies, [&](const auto& entry) { return entry.first.first == former; });
    }
    if (const auto found = _ownerHandlers.find(name); found != _ownerHandlers.end()) {
        found->second(owner);
    }
}

void NPServicesDBus::_busDidGo()
{
    _isLost = true;
    for (const auto& [name, handler] : _ownerHandlers) {
        handler("");
    }
}

sdbus::IProxy& NPServicesDBus::_proxyFor(const Target& target)
{
    std::unique_ptr<sdbus::IProxy>& proxy = _proxies[{target.owner, target.path}];
    if (!proxy) {
        proxy = sdbus::createProxy(*_connection, target.owner, target.path);
    }
    return *proxy;
}
