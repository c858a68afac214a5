#include "Platform/Simulated/NPSimulatedHotKeys.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace {

// "1 2 0x1800"
std::string described(const NPHotKeyRequest& request)
{
    std::array<char, 8> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), request.modifierMask, 16).ptr;
    return std::to_string(request.identifier.id) + ' ' + std::to_string(request.keyCode) + " 0x"
           + std::string(digits.data(), end);
}

std::uint64_t flagsOfMask(std::uint32_t mask)
{
    return ((mask & NPHotKeyCommandMask) != 0 ? std::uint64_t(NPCommandFlag) : 0U)
           | ((mask & NPHotKeyShiftMask) != 0 ? std::uint64_t(NPShiftFlag) : 0U)
           | ((mask & NPHotKeyOptionMask) != 0 ? std::uint64_t(NPOptionFlag) : 0U)
           | ((mask & NPHotKeyControlMask) != 0 ? std::uint64_t(NPControlFlag) : 0U);
}

bool isFor(const NPHotKeyRequest& request, std::uint16_t keyCode, std::uint32_t modifierMask)
{
    return request.keyCode == keyCode && request.modifierMask == modifierMask;
}

} // namespace

struct NPSimulatedHotKeys::State {
    NPActionLog& log;
    std::vector<NPHotKeyRequest> registered;
};

class NPSimulatedHotKeys::Registration {
public:
    Registration(const std::shared_ptr<State>& state, std::uint32_t identifier)
        : _state(state), _identifier(identifier)
    {
    }
    ~Registration()
    {
        if (const std::shared_ptr<State> state = _state.lock()) {
            state->log.add("hotkey unregister " + std::to_string(_identifier));
            std::erase_if(state->registered,
                          [&](const NPHotKeyRequest& known) { return known.identifier.id == _identifier; });
        }
    }
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;

private:
    std::weak_ptr<State> _state;
    std::uint32_t _identifier;
};

NPSimulatedHotKeys::NPSimulatedHotKeys(NPActionLog& log)
    : _state(std::make_shared<State>(log, std::vector<NPHotKeyRequest>()))
{
}

std::optional<std::string> NPSimulatedHotKeys::_refusal(const NPHotKeyRequest& request) const
{
    if (!_unavailable.empty()) {
        return _unavailable;
    }
    const auto taken = _taken.find({request.keyCode, request.modifierMask});
    if (taken != _taken.end()) {
        return taken->second;
    }
    const bool isRegistered = _eventFor(request.keyCode, request.modifierMask).has_value();
    return isRegistered ? std::optional("the combination is registered already") : std::nullopt;
}

std::expected<NPHotKeyRef, std::string> NPSimulatedHotKeys::registerHotKey(const NPHotKeyRequest& request)
{
    const std::optional<std::string> refusal = _refusal(request);
    _state->log.add("hotkey register " + described(request) + (refusal ? " refused" : ""));
    if (refusal) {
        return std::unexpected(*refusal);
    }
    _state->registered.push_back(request);
    return std::make_shared<Registration>(_state, request.identifier.id);
}

std::optional<std::string> NPSimulatedHotKeys::trigger(NPHotKeyID identifier) const
{
    const auto request = std::ranges::find(_state->registered, identifier.id,
                                           [](const NPHotKeyRequest& known) { return known.identifier.id; });
    if (request == _state->registered.end()) {
        return std::nullopt;
    }
    const auto found = triggers.find(request->label.name);
    return found == triggers.end() ? std::nullopt : std::optional(found->second);
}

void NPSimulatedHotKeys::take(std::uint16_t keyCode, std::uint32_t modifierMask, const std::string& reason)
{
    _taken.insert_or_assign({keyCode, modifierMask}, reason);
    const auto isTaken = [&](const NPHotKeyRequest& request) { return isFor(request, keyCode, modifierMask); };
    if (std::erase_if(_state->registered, isTaken) > 0) {
        _handlers.availabilityChanged();
    }
}

void NPSimulatedHotKeys::letGo(std::uint16_t keyCode, std::uint32_t modifierMask)
{
    _taken.erase({keyCode, modifierMask});
}

void NPSimulatedHotKeys::setUnavailable(const std::string& reason)
{
    _unavailable = reason;
    if (!reason.empty()) {
        _state->registered.clear();
    }
    _handlers.availabilityChanged();
}

std::optional<NPHotKeyEvent> NPSimulatedHotKeys::_eventFor(std::uint16_t keyCode, std::uint32_t modifierMask) const
{
    const auto request = std::ranges::find_if(
        _state->registered, [&](const NPHotKeyRequest& known) { return isFor(known, keyCode, modifierMask); });
    if (request == _state->registered.end()) {
        return std::nullopt;
    }
    return NPHotKeyEvent{.identifier = request->identifier, .modifierFlags = flagsOfMask(modifierMask)};
}

bool NPSimulatedHotKeys::press(std::uint16_t keyCode, std::uint32_t modifierMask)
{
    const std::optional<NPHotKeyEvent> event = _eventFor(keyCode, modifierMask);
    if (event) {
        _handlers.pressed(*event);
    }
    return event.has_value();
}

bool NPSimulatedHotKeys::release(std::uint16_t keyCode, std::uint32_t modifierMask)
{
    const std::optional<NPHotKeyEvent> event = _eventFor(keyCode, modifierMask);
    if (event) {
        _handlers.released(*event);
    }
    return event.has_value();
}

std::vector<NPHotKeyRequest> NPSimulatedHotKeys::registered() const
{
    return _state->registered;
}
