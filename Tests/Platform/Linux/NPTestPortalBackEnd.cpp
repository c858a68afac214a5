#include "Platform/Linux/NPTestPortalBackEnd.h"

#include <filesystem>
#include <fstream>
#include <tuple>

namespace {

const std::string interfaceName = "org.freedesktop.impl.portal.GlobalShortcuts";
const std::string sessionInterfaceName = "org.freedesktop.impl.portal.Session";

} // namespace

NPTestPortalBackEnd::NPTestPortalBackEnd()
    : _connection(sdbus::createSessionBusConnection()),
      _object(sdbus::createObject(*_connection, "/org/freedesktop/portal/desktop"))
{
    _object->registerMethod("CreateSession")
        .onInterface(interfaceName)
        .implementedAs([this](const sdbus::ObjectPath&, const sdbus::ObjectPath& session, const std::string&,
                              const Details&) { return _createSession(session); });
    _object->registerMethod("BindShortcuts")
        .onInterface(interfaceName)
        .implementedAs([this](const sdbus::ObjectPath&, const sdbus::ObjectPath&, const Shortcuts& shortcuts,
                              const std::string&, const Details&) { return _bindShortcuts(shortcuts); });
    _object->registerMethod("ListShortcuts")
        .onInterface(interfaceName)
        .implementedAs([](const sdbus::ObjectPath&, const sdbus::ObjectPath&) { return Answer(0, Details()); });
    for (const char* signal : {"Activated", "Deactivated"}) {
        _object->registerSignal(signal)
            .onInterface(interfaceName)
            .withParameters<sdbus::ObjectPath, std::string, std::uint64_t, Details>();
    }
    _object->registerSignal("ShortcutsChanged")
        .onInterface(interfaceName)
        .withParameters<sdbus::ObjectPath, Shortcuts>();
    _object->finishRegistration();
    _connection->requestName(busName);
    _thread = std::thread([this] {
        try {
            _connection->enterEventLoop();
        } catch (const sdbus::Error&) {
            // The test has ended the bus.
        }
    });
}

NPTestPortalBackEnd::~NPTestPortalBackEnd()
{
    _connection->leaveEventLoop();
    _thread.join();
}

std::vector<std::string> NPTestPortalBackEnd::addPortal(NPTestSessionBus& bus, bool isThereABackEnd)
{
    const std::filesystem::path portals = bus.folder() / "portals";
    std::filesystem::create_directory(portals);
    if (isThereABackEnd) {
        std::ofstream(portals / "nightpanetest.portal")
            << "[portal]\nDBusName=" << busName
            << "\nInterfaces=org.freedesktop.impl.portal.GlobalShortcuts;\nUseIn=nightpanetest\n";
    }
    std::vector<std::string> words{"/usr/bin/env", "XDG_CURRENT_DESKTOP=nightpanetest",
                                   "XDG_DESKTOP_PORTAL_DIR=" + portals.string(),
                                   "/usr/libexec/xdg-desktop-portal"};
    std::string command;
    for (const std::string& word : words) {
        command += (command.empty() ? "" : " ") + word;
    }
    bus.addActivatableService("org.freedesktop.portal.Desktop", command);
    return words;
}

NPTestPortalBackEnd::Answer NPTestPortalBackEnd::_createSession(const sdbus::ObjectPath& session)
{
    auto object = sdbus::createObject(*_connection, session);
    object->registerMethod("Close").onInterface(sessionInterfaceName).implementedAs([this, session] {
        const std::lock_guard lock(_mutex);
        _latestSession = _latestSession == session ? "" : _latestSession;
    });
    object->registerSignal("Closed").onInterface(sessionInterfaceName).withParameters<>();
    object->registerProperty("version").onInterface(sessionInterfaceName).withGetter([] {
        return std::uint32_t(1);
    });
    object->finishRegistration();
    const std::lock_guard lock(_mutex);
    _latestSession = session;
    _sessions[session] = std::move(object);
    return {0, {}};
}

NPTestPortalBackEnd::Answer NPTestPortalBackEnd::_bindShortcuts(const Shortcuts& shortcuts)
{
    const std::lock_guard lock(_mutex);
    std::string question;
    Shortcuts granted;
    for (const auto& shortcut : shortcuts) {
        const std::string& name = shortcut.get<0>();
        const Details& details = shortcut.get<1>();
        const auto trigger = details.at("preferred_trigger").get<std::string>();
        const auto description = details.at("description").get<std::string>();
        question += name + '=' + description + ':' + trigger + ' ';
        if (!_withheld.contains(name)) {
            granted.emplace_back(name, Details{{"description", sdbus::Variant(description)},
                                               {"trigger_description", sdbus::Variant("Press " + trigger)}});
        }
    }
    _questions.push_back(question);
    return {_response, _response == 0 ? Details{{"shortcuts", sdbus::Variant(granted)}} : Details()};
}

void NPTestPortalBackEnd::setResponse(std::uint32_t response)
{
    const std::lock_guard lock(_mutex);
    _response = response;
}

void NPTestPortalBackEnd::withhold(const std::string& name)
{
    const std::lock_guard lock(_mutex);
    _withheld.insert(name);
}

template<class... Arguments>
void NPTestPortalBackEnd::_emit(const std::string& signal, const Arguments&... arguments)
{
    const std::lock_guard lock(_mutex);
    _object->emitSignal(signal)
        .onInterface(interfaceName)
        .withArguments(sdbus::ObjectPath(_latestSession), arguments...);
}

void NPTestPortalBackEnd::activate(const std::string& name, std::uint64_t milliseconds)
{
    _emit("Activated", name, milliseconds, Details());
}

void NPTestPortalBackEnd::deactivate(const std::string& name, std::uint64_t milliseconds)
{
    _emit("Deactivated", name, milliseconds, Details());
}

void NPTestPortalBackEnd::changeTrigger(const std::string& name, const std::string& trigger)
{
    Shortcuts shortcuts;
    shortcuts.emplace_back(name, Details{{"trigger_description", sdbus::Variant(trigger)}});
    _emit("ShortcutsChanged", shortcuts);
}

void NPTestPortalBackEnd::endSession()
{
    const std::lock_guard lock(_mutex);
    _sessions.at(_latestSession)->emitSignal("Closed").onInterface(sessionInterfaceName);
}

std::vector<std::string> NPTestPortalBackEnd::questions() const
{
    const std::lock_guard lock(_mutex);
    return _questions;
}

std::size_t NPTestPortalBackEnd::sessionCount() const
{
    const std::lock_guard lock(_mutex);
    return _latestSession.empty() ? 0 : 1;
}
