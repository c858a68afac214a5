#include "Platform/Linux/NPHotKeyServicesX11.h"

#include "Foundation/QXLog.h"
#include "Platform/NPKeyCodes.h"

#include <sys/epoll.h>

#include <algorithm>
#include <utility>

namespace {

constexpr double millisecondsPerSecond = 1000.0;
constexpr NPModifiersX11 allModifiers = 0xFF; // the bits above say which layout and which buttons

} // namespace

std::expected<std::unique_ptr<NPHotKeyServicesX11>, std::string>
NPHotKeyServicesX11::open(const std::string& displayName, NPMainLoopLinux& loop)
{
    auto connection = NPConnectionX11::open(displayName);
    if (!connection) {
        return std::unexpected(connection.error());
    }
    std::unique_ptr<NPHotKeyServicesX11> services(new NPHotKeyServicesX11(std::move(*connection)));
    if (const auto begun = services->_begin(loop); !begun) {
        return std::unexpected("The X server at \"" + services->_connection.name() + "\" " + begun.error());
    }
    return services;
}

NPHotKeyServicesX11::~NPHotKeyServicesX11() = default;

std::expected<void, std::string> NPHotKeyServicesX11::_begin(NPMainLoopLinux& loop)
{
    const std::expected<NPXkbX11, std::string> xkb = NPXkbX11::switchOn(_connection);
    if (!xkb) {
        return std::unexpected(xkb.error());
    }
    _xkb = *xkb;
    const std::optional<NPKeyboardX11> keyboard = NPKeyboardX11::read(_connection);
    if (!keyboard) {
        return std::unexpected("does not respond");
    }
    _keyboard = *keyboard;
    _descriptorWatch = loop.watchFileDescriptor(_connection.descriptor(), EPOLLIN, [this](std::uint32_t) {
        _connection.noticeActivity();
        _takeEvents(xcb_poll_for_event);
    });
    _turnWatch = loop.watchBeforeWaiting([this] { _prepareToWait(); });
    return {};
}

std::expected<NPKeyGrabX11, std::string> NPHotKeyServicesX11::_grabFor(const NPHotKeyRequest& request) const
{
    const NPKey* key = NPKeyWithVirtualCode(request.keyCode);
    if (key != nullptr && key->isModifier) {
        return std::unexpected("a modifier alone is no hot key"); // nobody else would get that modifier
    }
    const std::optional<xcb_keycode_t> keyCode = _keyboard.keyCode(request.keyCode);
    const std::optional<NPModifiersX11> modifiers = _keyboard.modifiers(request.modifierMask);
    if (!keyCode || !modifiers) {
        return std::unexpected("the keyboard has no such key");
    }
    return NPKeyGrabX11{*keyCode, *modifiers, _keyboard.numLock()};
}

std::expected<NPHotKeyRef, std::string> NPHotKeyServicesX11::registerHotKey(const NPHotKeyRequest& request)
{
    const std::expected<NPKeyGrabX11, std::string> grab = _grabFor(request);
    if (!grab) {
        return std::unexpected(grab.error());
    }
    if (_registrationWithGrab(*grab)) {
        return std::unexpected("the combination is registered already");
    }
    if (auto taken = _grabs.take(*grab); !taken) {
        return std::unexpected(std::move(taken.error()));
    }
    auto registration = std::make_shared<Registration>(Registration{request, *grab});
    std::erase_if(_known, [](const auto& entry) { return entry.expired(); });
    _known.push_back(registration);
    return registration;
}

NPHotKeySubscription NPHotKeyServicesX11::installHandlers(NPHotKeyHandlers handlers)
{
    return _handlers.add(std::move(handlers));
}

std::vector<std::shared_ptr<NPHotKeyServicesX11::Registration>> NPHotKeyServicesX11::_registrations() const
{
    std::vector<std::shared_ptr<Registration>> registrations;
    for (const std::weak_ptr<Registration>& entry : _known) {
        if (auto registration = entry.lock()) {
            registrations.push_back(std::move(registration));
        }
    }
    return registrations;
}

std::shared_ptr<NPHotKeyServicesX11::Registration>
NPHotKeyServicesX11::_registrationWithGrab(const NPKeyGrabX11& grab) const
{
    const auto registrations = _registrations();
    const auto found = std::ranges::find(registrations, grab, [](const auto& entry) { return entry->grab; });
    return found == registrations.end() ? nullptr : *found;
}

void NPHotKeyServicesX11::_prepareToWait()
{
    // Whoever waited for an answer may have met events on the way: they no longer make the socket readable.
    _takeEvents(xcb_poll_for_queued_event);
    while (std::exchange(_keyboardHasChanged, false)) {
        _followKeyboard();
        _takeEvents(xcb_poll_for_queued_event);
    }
    _giveUpUnusedGrabs();
    if (_connection.isLost()) {
        _tellLoss();
    }
}

void NPHotKeyServicesX11::_takeEvents(xcb_generic_event_t* (*next)(xcb_connection_t* handle))
{
    while (const NPContentX11<xcb_generic_event_t> event{next(_connection.handle())}) {
        _takeEvent(*event);
    }
}

void NPHotKeyServicesX11::_takeEvent(const xcb_generic_event_t& event)
{
    const int type = event.response_type & 0x7F; // the top bit only says that another client sent it
    if (type == XCB_KEY_PRESS) {
        _takePress(reinterpret_cast<const xcb_key_press_event_t&>(event));
    } else if (type == XCB_KEY_RELEASE) {
        _takeRelease(reinterpret_cast<const xcb_key_release_event_t&>(event));
    } else if (_xkb->isKeyboardChange(event)) {
        _keyboardHasChanged = true;
    }
}

// While a grabbed key is down all keys come here, so what is not registered is passed over.
void NPHotKeyServicesX11::_takePress(const xcb_key_press_event_t& event)
{
    if (_pressed.contains(event.detail)) {
        return; // it repeats
    }
    const auto locks = static_cast<NPModifiersX11>(XCB_MOD_MASK_LOCK | _keyboard.numLock());
    const auto modifiers = static_cast<NPModifiersX11>(event.state & allModifiers & ~locks);
    const NPKeyGrabX11 grab{event.detail, modifiers, _keyboard.numLock()};
    if (const std::optional<NPHotKeyEvent> made = _eventFor(grab, event)) {
        _pressed.emplace(event.detail, grab);
        _handlers.pressed(*made);
    }
}

// By the combination, not by the registration: it may have been registered anew since the press. By now
// modifiers may have been let go.
void NPHotKeyServicesX11::_takeRelease(const xcb_key_release_event_t& event)
{
    const auto pressed = _pressed.extract(event.detail);
    if (pressed.empty()) {
        return;
    }
    if (const std::optional<NPHotKeyEvent> made = _eventFor(pressed.mapped(), event)) {
        _handlers.released(*made);
    }
}

// None when nobody has registered the combination. Holds the registration no longer than this: a handler may
// register it anew.
std::optional<NPHotKeyEvent> NPHotKeyServicesX11::_eventFor(const NPKeyGrabX11& grab,
                                                            const xcb_key_press_event_t& event) const
{
    const std::shared_ptr<Registration> registration = _registrationWithGrab(grab);
    if (!registration) {
        return std::nullopt;
    }
    return NPHotKeyEvent{.identifier = registration->request.identifier,
                         .x = static_cast<double>(event.root_x),
                         .y = static_cast<double>(event.root_y),
                         .modifierFlags = _keyboard.modifierFlags(event.state),
                         .timestamp = event.time / millisecondsPerSecond};
}

// Most changes leave every key where it is: another layout puts other characters on the same keys.
void NPHotKeyServicesX11::_followKeyboard()
{
    const std::optional<NPKeyboardX11> keyboard = NPKeyboardX11::read(_connection);
    if (!keyboard || *keyboard == _keyboard) {
        return;
    }
    _keyboard = *keyboard;
    _pressed.clear();
    std::vector<std::weak_ptr<Registration>> kept;
    for (const std::shared_ptr<Registration>& registration : _registrations()) {
        const auto grab = _grabFor(registration->request);
        if (grab && _grabs.take(*grab)) {
            registration->grab = *grab;
            kept.push_back(registration);
        }
    }
    _known = kept;
    _handlers.availabilityChanged();
}

void NPHotKeyServicesX11::_giveUpUnusedGrabs()
{
    std::vector<NPKeyGrabX11> used;
    std::ranges::transform(_registrations(), std::back_inserter(used),
                           [](const auto& entry) { return entry->grab; });
    _grabs.keepOnly(used);
}

void NPHotKeyServicesX11::_tellLoss()
{
    _descriptorWatch.reset(); // it would be ready for ever
    _turnWatch.reset();
    _known.clear();
    QXLog("Hot keys do not work any more: the X server at \"" + _connection.name() + "\" has gone");
    _handlers.availabilityChanged();
}
