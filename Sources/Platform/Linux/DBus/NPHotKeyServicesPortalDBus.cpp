#include "Platform/Linux/DBus/NPHotKeyServicesPortalDBus.h"

#include "Platform/NPKeyCodes.h"

#include <algorithm>
#include <utility>

namespace {

// The way in which desktops write combinations. The key is named by what it gives on a US keyboard; the user
// sees in the desktop's settings what it is on the own one.
std::string triggerText(const NPHotKeyRequest& request)
{
    constexpr std::pair<std::uint32_t, const char*> modifiers[] = {{NPHotKeyControlMask, "CTRL+"},
                                                                   {NPHotKeyOptionMask, "ALT+"},
                                                                   {NPHotKeyShiftMask, "SHIFT+"},
                                                                   {NPHotKeyCommandMask, "LOGO+"}};
    const NPKey* key = NPKeyWithVirtualCode(request.keyCode);
    if (key == nullptr || key->usKeysym.empty()) {
        return {};
    }
    std::string text;
    for (const auto& [mask, name] : modifiers) {
        text += (request.modifierMask & mask) != 0 ? name : "";
    }
    return text + std::string(key->usKeysym);
}

NPShortcut shortcutFor(const NPHotKeyRequest& request)
{
    const std::string trigger = triggerText(request);
    return {request.label.name.empty() ? trigger : request.label.name,
            request.label.description.empty() ? trigger : request.label.description, trigger};
}

} // namespace

NPHotKeyServicesPortalDBus::NPHotKeyServicesPortalDBus(const std::string& address, NPMainLoopLinux& loop,
                                                       const NPControlModuleHost& host)
    : _host(host), _portal(address, loop, host, _portalHandlers())
{
    _turnWatch = host.watchBeforeWaiting(loop, [this] { _prepareToWait(); });
}

NPShortcutsHandlers NPHotKeyServicesPortalDBus::_portalHandlers()
{
    return {.bound = [this](Triggers triggers) { _takeGranted(std::move(triggers)); },
            .triggersChanged = [this](Triggers triggers) { _triggers = std::move(triggers); },
            .activated =
                [this](const std::string& name, double seconds) {
                    if (const auto event = _eventFor(name, seconds)) {
                        _handlers.pressed(*event);
                    }
                },
            .deactivated =
                [this](const std::string& name, double seconds) {
                    if (const auto event = _eventFor(name, seconds)) {
                        _handlers.released(*event);
                    }
                },
            .refused = [this](const std::string& reason) { _takeRefusal(reason); },
            .failed = [this](const std::string& reason) { _takeFailure(reason); },
            .restarted = [this] { _takeRestart(); }};
}

std::expected<NPHotKeyRef, std::string> NPHotKeyServicesPortalDBus::registerHotKey(const NPHotKeyRequest& request)
{
    if (!_failure.empty()) {
        return std::unexpected(_failure);
    }
    auto registration = std::make_shared<Registration>(Registration{request, shortcutFor(request)});
    const NPShortcut& shortcut = registration->shortcut;
    if (const auto refused = _refusals.find(shortcut); refused != _refusals.end()) {
        return std::unexpected(refused->second);
    }
    if (shortcut.preferredTrigger.empty()) {
        return std::unexpected("the keyboard has no such key");
    }
    for (const auto& other : _registrations()) {
        if (other->shortcut.preferredTrigger == shortcut.preferredTrigger
            || other->shortcut.name == shortcut.name) {
            return std::unexpected("the combination is registered already");
        }
    }
    std::erase_if(_known, [](const auto& entry) { return entry.expired(); });
    _known.push_back(registration);
    return registration;
}

NPHotKeySubscription NPHotKeyServicesPortalDBus::installHandlers(NPHotKeyHandlers handlers)
{
    return _handlers.add(std::move(handlers));
}

std::optional<std::string> NPHotKeyServicesPortalDBus::trigger(NPHotKeyID identifier) const
{
    for (const auto& registration : _registrations()) {
        const auto found = _triggers.find(registration->shortcut.name);
        if (registration->request.identifier.id == identifier.id && found != _triggers.end()
            && !found->second.empty()) {
            return found->second;
        }
    }
    return std::nullopt;
}

std::vector<std::shared_ptr<NPHotKeyServicesPortalDBus::Registration>>
NPHotKeyServicesPortalDBus::_registrations() const
{
    std::vector<std::shared_ptr<Registration>> registrations;
    for (const std::weak_ptr<Registration>& entry : _known) {
        if (auto registration = entry.lock()) {
            registrations.push_back(std::move(registration));
        }
    }
    return registrations;
}

// By the name, which stays when everything is registered anew.
std::optional<NPHotKeyEvent> NPHotKeyServicesPortalDBus::_eventFor(const std::string& name, double seconds) const
{
    const auto registrations = _registrations();
    const auto found = std::ranges::find(registrations, name,
                                         [](const auto& registration) { return registration->shortcut.name; });
    if (found == registrations.end()) {
        return std::nullopt;
    }
    return NPHotKeyEvent{.identifier = (*found)->request.identifier, .timestamp = seconds};
}

std::vector<NPShortcut> NPHotKeyServicesPortalDBus::_wanted() const
{
    std::vector<NPShortcut> wanted;
    std::ranges::transform(_registrations(), std::back_inserter(wanted),
                           [](const auto& registration) { return registration->shortcut; });
    std::ranges::sort(wanted);
    return wanted;
}

void NPHotKeyServicesPortalDBus::_prepareToWait()
{
    if (_portal.isBinding() || !_failure.empty()) {
        return;
    }
    std::vector<NPShortcut> granted;
    std::ranges::copy_if(_asked, std::back_inserter(granted),
                         [this](const NPShortcut& shortcut) { return !_refusals.contains(shortcut); });
    if (_wanted() == granted) {
        return;
    }
    if (!std::exchange(_refusals, {}).empty()) {
        _handlers.availabilityChanged(); // what was refused before is asked for along with the rest
    }
    _triggers.clear();
    _asked = _wanted();
    _portal.bind(_asked);
}

void NPHotKeyServicesPortalDBus::_takeGranted(Triggers triggers)
{
    _triggers = std::move(triggers);
    for (const NPShortcut& shortcut : _asked) {
        if (!_triggers.contains(shortcut.name)) {
            _refusals.emplace(shortcut, "the desktop does not grant it");
        }
    }
    if (!_refusals.empty()) {
        _dropRefused();
        _handlers.availabilityChanged();
    }
}

void NPHotKeyServicesPortalDBus::_takeRefusal(const std::string& reason)
{
    _host.log("Hot keys do not work: " + reason);
    for (const NPShortcut& shortcut : _asked) {
        _refusals.emplace(shortcut, reason);
    }
    _dropRefused();
    _handlers.availabilityChanged();
}

// Whoever holds such a registration has lost it, and is not to have it asked for again and again.
void NPHotKeyServicesPortalDBus::_dropRefused()
{
    std::erase_if(_known, [this](const std::weak_ptr<Registration>& entry) {
        const std::shared_ptr<Registration> registration = entry.lock();
        return !registration || _refusals.contains(registration->shortcut);
    });
}

void NPHotKeyServicesPortalDBus::_takeFailure(const std::string& reason)
{
    if (_failure.empty()) {
        _host.log("Hot keys do not work: " + reason);
    }
    _failure = reason;
    _known.clear();
    _asked.clear();
    _triggers.clear();
    _handlers.availabilityChanged();
}

void NPHotKeyServicesPortalDBus::_takeRestart()
{
    if (!_failure.empty()) {
        _failure.clear();
        _refusals.clear();
        _handlers.availabilityChanged();
    }
}
