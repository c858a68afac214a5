#include "Platform/Linux/DBus/NPShortcutsPortalDBus.h"

#include "Platform/Linux/DBus/NPErrorDBus.h"

#include <algorithm>
#include <limits>

namespace {

const std::string portalName = "org.freedesktop.portal.Desktop";
const std::string portalPath = "/org/freedesktop/portal/desktop";
const std::string shortcutsInterface = "org.freedesktop.portal.GlobalShortcuts";
const std::string requestInterface = "org.freedesktop.portal.Request";
const std::string sessionInterface = "org.freedesktop.portal.Session";
const std::string busInterface = "org.freedesktop.DBus";

// As long as it takes: the bus tells when the portal goes.
constexpr std::uint64_t noTimeout = std::numeric_limits<std::uint64_t>::max();

constexpr double millisecondsPerSecond = 1000.0;

constexpr std::uint32_t granted = 0;
constexpr std::uint32_t cancelledByUser = 1;

// The name of our connection as it stands in the paths of our requests: ":1.23" is 1_23.
std::string senderElement(std::string uniqueName)
{
    uniqueName.erase(0, 1);
    std::ranges::replace(uniqueName, '.', '_');
    return uniqueName;
}

std::string textOf(const std::map<std::string, sdbus::Variant>& details, const std::string& key)
{
    const auto found = details.find(key);
    return found != details.end() && found->second.containsValueOfType<std::string>()
               ? found->second.get<std::string>()
               : std::string();
}

std::string reasonOf(const sdbus::Error& error)
{
    const std::string prefix = "org.freedesktop.DBus.Error.";
    if (error.getName() == prefix + "ServiceUnknown" || error.getName() == prefix + "NameHasNoOwner"
        || error.getName().starts_with(prefix + "Spawn.")) {
        return "there is no desktop portal";
    }
    if (error.getName() == prefix + "UnknownInterface" || error.getName() == prefix + "UnknownMethod") {
        return "the desktop has no global shortcuts";
    }
    return "the desktop portal cannot be used: " + NPLineOfException(error);
}

} // namespace

NPShortcutsPortalDBus::NPShortcutsPortalDBus(const std::string& address, NPMainLoopLinux& loop,
                                             const NPControlModuleHost& host, NPShortcutsHandlers handlers)
    : _connection(sdbus::createSessionBusConnectionWithAddress(address)), _mainQueue(loop),
      _handlers(std::move(handlers)), _alive(std::make_shared<bool>(true))
{
    _listenToPortal();
    _serving = NPServingDBus::start(_connection, loop, host, [this] { _fail("the session bus has gone"); });
}

NPShortcutsPortalDBus::~NPShortcutsPortalDBus()
{
    _endSession();
}

void NPShortcutsPortalDBus::_listenToPortal()
{
    _bus = sdbus::createProxy(*_connection, busInterface, "/org/freedesktop/DBus");
    _bus->uponSignal("NameOwnerChanged")
        .onInterface(busInterface)
        .call([this](const std::string& name, const std::string& former, const std::string& owner) {
            if (name == portalName) {
                _takeOwnerChange(former, owner);
            }
        });
    _bus->finishRegistration();

    _portal = sdbus::createProxy(*_connection, portalName, portalPath);
    const auto tell = [this](const auto& handler, const sdbus::ObjectPath& session, const std::string& name,
                             std::uint64_t milliseconds) {
        if (_session && session == _session->getObjectPath()) {
            handler(name, static_cast<double>(milliseconds) / millisecondsPerSecond);
        }
    };
    _portal->uponSignal("Activated")
        .onInterface(shortcutsInterface)
        .call([this, tell](const sdbus::ObjectPath& session, const std::string& name, std::uint64_t milliseconds,
                           const Details&) { tell(_handlers.activated, session, name, milliseconds); });
    _portal->uponSignal("Deactivated")
        .onInterface(shortcutsInterface)
        .call([this, tell](const sdbus::ObjectPath& session, const std::string& name, std::uint64_t milliseconds,
                           const Details&) { tell(_handlers.deactivated, session, name, milliseconds); });
    _portal->uponSignal("ShortcutsChanged")
        .onInterface(shortcutsInterface)
        .call([this](const sdbus::ObjectPath& session, const Shortcuts& shortcuts) {
            if (_session && session == _session->getObjectPath()) {
                _handlers.triggersChanged(_triggers(shortcuts));
            }
        });
    _portal->finishRegistration();
}

// Another portal may take the name from the one that has our session, without a moment between the two.
void NPShortcutsPortalDBus::_takeOwnerChange(const std::string& former, const std::string& owner)
{
    if (!former.empty() && (_session || _isBinding)) {
        _fail("the desktop portal has gone");
    }
    if (!owner.empty()) {
        _later([this] { _handlers.restarted(); });
    }
}

void NPShortcutsPortalDBus::bind(std::vector<NPShortcut> shortcuts)
{
    _endSession();
    _shortcuts = std::move(shortcuts);
    if (_shortcuts.empty()) {
        return;
    }
    _isBinding = true;
    try {
        _createSession();
    } catch (const sdbus::Error& error) {
        _fail(reasonOf(error));
    }
}

// Answers come as a signal of an object whose path we choose, so that we can listen before we ask.
std::string NPShortcutsPortalDBus::_expectAnswer(TakeAnswer take)
{
    const std::string token = "nightpane" + std::to_string(++_requestCount);
    const std::string path = portalPath + "/request/" + senderElement(_connection->getUniqueName()) + '/' + token;
    _request = sdbus::createProxy(*_connection, portalName, path);
    _request->uponSignal("Response")
        .onInterface(requestInterface)
        .call([this, take](std::uint32_t response, const Details& results) {
            _takeResponse(response, results, take);
        });
    _request->finishRegistration();
    return token;
}

void NPShortcutsPortalDBus::_createSession()
{
    const std::string token = _expectAnswer(&NPShortcutsPortalDBus::_takeSession);
    const Details options{{"handle_token", sdbus::Variant(token)},
                          {"session_handle_token", sdbus::Variant(token)}};
    _portal->callMethodAsync("CreateSession")
        .onInterface(shortcutsInterface)
        .withTimeout(noTimeout)
        .withArguments(options)
        .uponReplyInvoke([this](const sdbus::Error* error, const sdbus::ObjectPath&) { _takeCallError(error); });
}

void NPShortcutsPortalDBus::_takeSession(Details& results)
{
    const auto handle = results.find("session_handle");
    std::string path; // a text in the interface's description; other portals send a path
    if (handle != results.end() && handle->second.containsValueOfType<sdbus::ObjectPath>()) {
        path = handle->second.get<sdbus::ObjectPath>();
    } else {
        path = textOf(results, "session_handle");
    }
    _session = sdbus::createProxy(*_connection, portalName, path);
    _session->uponSignal("Closed").onInterface(sessionInterface).call([this](const Details&) {
        _abandon([this] { _handlers.refused("the desktop has ended them"); });
    });
    _session->finishRegistration();
    _bindShortcuts();
}

void NPShortcutsPortalDBus::_bindShortcuts()
{
    Shortcuts wanted;
    for (const NPShortcut& shortcut : _shortcuts) {
        wanted.emplace_back(shortcut.name,
                            Details{{"description", sdbus::Variant(shortcut.description)},
                                    {"preferred_trigger", sdbus::Variant(shortcut.preferredTrigger)}});
    }
    const std::string token = _expectAnswer(&NPShortcutsPortalDBus::_takeShortcuts);
    _portal->callMethodAsync("BindShortcuts")
        .onInterface(shortcutsInterface)
        .withTimeout(noTimeout)
        .withArguments(sdbus::ObjectPath(_session->getObjectPath()), wanted, std::string(),
                       Details{{"handle_token", sdbus::Variant(token)}})
        .uponReplyInvoke([this](const sdbus::Error* error, const sdbus::ObjectPath&) { _takeCallError(error); });
}

void NPShortcutsPortalDBus::_takeShortcuts(Details& results)
{
    _isBinding = false;
    const auto shortcuts = results.find("shortcuts");
    const bool isList = shortcuts != results.end() && shortcuts->second.containsValueOfType<Shortcuts>();
    _handlers.bound(isList ? _triggers(shortcuts->second.get<Shortcuts>()) : std::map<std::string, std::string>());
}

void NPShortcutsPortalDBus::_takeResponse(std::uint32_t response, Details results, TakeAnswer take)
{
    _later([this, response, results = std::move(results), take, number = _requestCount]() mutable {
        if (_requestCount == number && _isBinding) {
            _proceed(response, results, take);
        }
    });
}

void NPShortcutsPortalDBus::_proceed(std::uint32_t response, Details& results, TakeAnswer take)
{
    if (response != granted) {
        _isBinding = false;
        _handlers.refused(response == cancelledByUser ? "they were declined" : "the desktop refuses them");
        return;
    }
    try {
        (this->*take)(results);
    } catch (const sdbus::Error& error) { // the bus has gone, or the answer makes no sense
        _fail(reasonOf(error));
    }
}

void NPShortcutsPortalDBus::_takeCallError(const sdbus::Error* error)
{
    if (error != nullptr) {
        _fail(reasonOf(*error));
    }
}

void NPShortcutsPortalDBus::_endSession()
{
    if (!_session) {
        return;
    }
    try {
        sdbus::MethodCall close = _session->createMethodCall(sessionInterface, "Close");
        close.dontExpectReply();
        _session->callMethod(close);
    } catch (const sdbus::Error&) {
        // Then nobody is left who would keep it.
    }
    _session.reset();
}

void NPShortcutsPortalDBus::_fail(const std::string& reason)
{
    _abandon([this, reason] { _handlers.failed(reason); });
}

// The session is no more, and no answer counts any more.
void NPShortcutsPortalDBus::_abandon(const std::function<void()>& tell)
{
    _isBinding = false;
    ++_requestCount;
    _later([this, tell] {
        _session.reset();
        tell();
    });
}

// What comes next may replace the object whose signal this is, so it has to wait until the signal is over.
void NPShortcutsPortalDBus::_later(std::function<void()> work)
{
    _mainQueue.performOnMain([alive = std::weak_ptr(_alive), work = std::move(work)] {
        if (alive.lock()) {
            work();
        }
    });
}

std::map<std::string, std::string> NPShortcutsPortalDBus::_triggers(const Shortcuts& shortcuts)
{
    std::map<std::string, std::string> triggers;
    for (const auto& shortcut : shortcuts) {
        triggers.emplace(shortcut.get<0>(), textOf(shortcut.get<1>(), "trigger_description"));
    }
    return triggers;
}
