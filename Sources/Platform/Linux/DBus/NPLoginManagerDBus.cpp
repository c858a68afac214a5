#include "Platform/Linux/DBus/NPLoginManagerDBus.h"

#include "Platform/Linux/DBus/NPErrorDBus.h"
#include "Platform/Linux/NPBusEventsModule.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <map>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

const std::string managerName = "org.freedesktop.login1";
const std::string managerPath = "/org/freedesktop/login1";
const std::string managerInterface = "org.freedesktop.login1.Manager";
const std::string sessionInterface = "org.freedesktop.login1.Session";
const std::string propertiesInterface = "org.freedesktop.DBus.Properties";
const std::string callersSessionPath = "/org/freedesktop/login1/session/auto";

} // namespace

NPLoginManagerDBus::NPLoginManagerDBus(const NPControlModuleHost& host, const std::string& address,
                                       NPMainLoopLinux& loop, NPLoginManagerHandlers handlers,
                                       std::function<void()> lost)
    : _handlers(std::move(handlers)),
      _services(host, address, loop,
                "The system bus has gone; sleep is noticed without it, switches of users are not until it is back",
                std::move(lost))
{
    _sleepSlot = _services.match("type='signal',sender='" + managerName + "',interface='" + managerInterface
                                     + "',member='PrepareForSleep',path='" + managerPath + "'",
                                 [this](sdbus::Message& message) {
                                     bool begins = true;
                                     message >> begins;
                                     if (!begins) {
                                         _handlers.didWake();
                                     }
                                 });
    _services.follow(managerName, [this](const std::string& owner) { _ownerDidChange(owner); });
}

// What is known of the session stays while the login manager is away, so that a switch meanwhile shows.
void NPLoginManagerDBus::_ownerDidChange(const std::string& owner)
{
    if (owner == _owner && !owner.empty()) {
        return;
    }
    _owner = owner;
    if (!_owner.empty()) {
        _askForOwnSession();
    } else if (!_services.isLost() && !std::exchange(_hasComplained, true)) {
        _services.log("The login manager does not run: switches of users go unnoticed until it does");
    }
}

void NPLoginManagerDBus::_askForOwnSession()
{
    _services.ask(
        {_owner, managerPath, managerInterface, "GetSessionByPID"},
        [this](sdbus::MethodReply& answer, const sdbus::Error* error) {
            const char* const named = std::getenv("XDG_SESSION_ID");
            if (error == nullptr) {
                sdbus::ObjectPath path;
                answer >> path;
                _followSession(path);
            } else if (named != nullptr && *named != '\0') {
                _askForNamedSession(named);
            } else {
                _askForCallersSession();
            }
        },
        static_cast<std::uint32_t>(::getpid()));
}

void NPLoginManagerDBus::_askForNamedSession(const std::string& identifier)
{
    _services.ask(
        {_owner, managerPath, managerInterface, "GetSession"},
        [this](sdbus::MethodReply& answer, const sdbus::Error* error) {
            if (error != nullptr) {
                _askForCallersSession();
                return;
            }
            sdbus::ObjectPath path;
            answer >> path;
            _followSession(path);
        },
        identifier);
}

// Changes are announced under the session's own path, never under this one: hence its name is asked for.
void NPLoginManagerDBus::_askForCallersSession()
{
    _services.ask(
        {_owner, callersSessionPath, propertiesInterface, "Get"},
        [this](sdbus::MethodReply& answer, const sdbus::Error* error) {
            if (error != nullptr) {
                _noSession(*error);
                return;
            }
            sdbus::Variant identifier;
            answer >> identifier;
            _services.ask(
                {_owner, managerPath, managerInterface, "GetSession"},
                [this](sdbus::MethodReply& second, const sdbus::Error* secondError) {
                    if (secondError != nullptr) {
                        _noSession(*secondError);
                        return;
                    }
                    sdbus::ObjectPath path;
                    second >> path;
                    _followSession(path);
                },
                identifier.get<std::string>());
        },
        sessionInterface, std::string("Id"));
}

void NPLoginManagerDBus::_noSession(const sdbus::Error& error)
{
    if (!std::exchange(_hasComplained, true)) {
        _services.log("The login manager knows no session here, so switches of users go unnoticed: "
                      + NPLineOfException(error));
    }
}

void NPLoginManagerDBus::_followSession(const std::string& path)
{
    if (path != _sessionPath) {
        _sessionPath = path;
        _sessionSlot = _services.match("type='signal',sender='" + managerName + "',interface='"
                                           + propertiesInterface + "',member='PropertiesChanged',path='" + path
                                           + "',arg0='" + sessionInterface + "'",
                                       [this](sdbus::Message& message) { _sessionPropertiesDidChange(message); });
    }
    _askWhetherActive();
}

void NPLoginManagerDBus::_sessionPropertiesDidChange(sdbus::Message& message)
{
    std::string interface;
    std::map<std::string, sdbus::Variant> changed;
    std::vector<std::string> invalidated;
    message >> interface >> changed >> invalidated;
    if (const auto active = changed.find("Active"); active != changed.end()) {
        _setActive(active->second.get<bool>());
    } else if (std::ranges::find(invalidated, "Active") != invalidated.end()) {
        _askWhetherActive();
    }
}

void NPLoginManagerDBus::_askWhetherActive()
{
    _services.ask(
        {_owner, _sessionPath, propertiesInterface, "Get"},
        [this](sdbus::MethodReply& answer, const sdbus::Error* error) {
            if (error != nullptr) {
                _noSession(*error);
                return;
            }
            sdbus::Variant active;
            answer >> active;
            _setActive(active.get<bool>());
        },
        sessionInterface, std::string("Active"));
}

void NPLoginManagerDBus::_setActive(bool active)
{
    const std::optional<bool> former = std::exchange(_isActive, active);
    if (active && former == false) {
        _handlers.sessionDidBecomeActive();
    }
}

extern "C" [[gnu::visibility("default")]] void
NPOpenLoginManager(const NPControlModuleHost& host, const std::string& address, NPMainLoopLinux& loop,
                   NPLoginManagerHandlers handlers, std::function<void()> lost, NPBusEventsResult& result)
{
    try {
        result = std::make_unique<NPLoginManagerDBus>(host, address, loop, std::move(handlers), std::move(lost));
    } catch (const std::exception& exception) {
        result = std::unexpected("the system bus cannot be used: " + NPLineOfException(exception));
    }
}

static_assert(std::is_same_v<decltype(&NPOpenLoginManager), NPLoginManagerModuleEntry>);
