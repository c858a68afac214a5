#include "Platform/Linux/NPProfilePropertiesX11.h"

#include "ScreenGamma/QXColorProfile.h"

#include <algorithm>
#include <utility>

namespace {

constexpr std::uint32_t longestProfile = 1U << 22; // in units of 4 bytes
constexpr std::size_t longestPart = std::size_t{1} << 16;

std::string profileName(std::size_t monitor)
{
    return monitor == 0 ? "_ICC_PROFILE" : "_ICC_PROFILE_" + std::to_string(monitor);
}

std::string formerName(std::size_t monitor)
{
    return "_NIGHTPANE" + profileName(monitor);
}

} // namespace

bool NPIsCustomProfile(const QXData& profile)
{
    const auto parsed = QXColorProfile::profileWithData(profile);
    return parsed && QXColorProfileIsCustom(*parsed);
}

NPProfilePropertiesX11::NPProfilePropertiesX11(NPConnectionX11& connection)
    : _connection(connection),
      _firstRequests{{connection.requestAtom(profileName(0)), connection.requestAtom(formerName(0))}}
{
}

// None when the server does not say.
std::optional<NPProfilePropertiesX11::Names> NPProfilePropertiesX11::_names(std::size_t monitor)
{
    const auto known = _namesOfMonitors.find(monitor);
    if (known != _namesOfMonitors.end()) {
        return known->second;
    }
    const auto asked = monitor == 0 ? std::exchange(_firstRequests, std::nullopt) : std::nullopt;
    const unsigned int profile = asked ? (*asked)[0] : _connection.requestAtom(profileName(monitor));
    const unsigned int former = asked ? (*asked)[1] : _connection.requestAtom(formerName(monitor));
    const xcb_atom_t profileAtom = _connection.atomReply(profile);
    const Names names{profileAtom, _connection.atomReply(former)};
    if (names.profile == XCB_ATOM_NONE || names.former == XCB_ATOM_NONE) {
        return std::nullopt;
    }
    return _namesOfMonitors.emplace(monitor, names).first->second;
}

// Empty when the server does not say.
std::vector<NPProfilePropertiesX11::Slot> NPProfilePropertiesX11::_slots(const NPProfilePlaceX11& place)
{
    const std::optional<Names> first = _names(0);
    const std::optional<Names> ofMonitor = first ? _names(place.monitor) : std::nullopt;
    if (!ofMonitor) {
        return {};
    }
    return {{place.output, first->profile, first->former}, {0, ofMonitor->profile, ofMonitor->former}};
}

std::optional<QXData> NPProfilePropertiesX11::profile(const NPProfilePlaceX11& place)
{
    const unsigned int unansweredCount = _connection.unansweredCount();
    const std::vector<Slot> slots = _slots(place);
    std::vector<unsigned int> requests;
    for (const Slot& slot : slots) {
        requests.push_back(_request(slot.output, slot.name));
    }
    QXData found;
    for (std::size_t i = 0; i < slots.size(); ++i) {
        std::optional<QXData> content = _answer(slots[i].output, requests[i]);
        if (content && found.empty()) {
            found = std::move(*content);
        }
    }
    const bool isKnown = !slots.empty() && _isAnsweredSince(unansweredCount);
    return isKnown ? std::optional(std::move(found)) : std::nullopt;
}

// A remnant of one that is written in parts is ours as well: the server stopped meanwhile.
bool NPProfilePropertiesX11::Content::isOurs() const
{
    const bool isRemnant = former && !current.empty() && !QXColorProfile::profileWithData(current);
    return isRemnant || NPIsCustomProfile(current);
}

// None when the server does not say.
std::optional<NPProfilePropertiesX11::Content> NPProfilePropertiesX11::_content(const Slot& slot)
{
    const unsigned int unansweredCount = _connection.unansweredCount();
    const unsigned int current = _request(slot.output, slot.name);
    const unsigned int former = _request(slot.output, slot.formerName);
    QXData currentContent = _answer(slot.output, current).value_or(QXData());
    Content content{std::move(currentContent), _answer(slot.output, former)};
    return _isAnsweredSince(unansweredCount) ? std::optional(std::move(content)) : std::nullopt;
}

bool NPProfilePropertiesX11::_isAnsweredSince(unsigned int unansweredCount) const
{
    return _connection.unansweredCount() == unansweredCount && !_connection.isLost();
}

bool NPProfilePropertiesX11::setCustomProfile(const NPProfilePlaceX11& place, const QXData& profile)
{
    if (!_connection.isResponding()) {
        return false;
    }
    const std::vector<Slot> slots = _slots(place);
    const auto set = [&](const Slot& slot) { return _setCustomProfile(slot, profile); };
    return !slots.empty() && std::ranges::all_of(slots, set) && _connection.synchronize();
}

// What was there is kept before it is replaced, so that no moment loses it.
bool NPProfilePropertiesX11::_setCustomProfile(const Slot& slot, const QXData& profile)
{
    const std::optional<Content> content = _content(slot);
    return content && (content->isOurs() || _write(slot.output, slot.formerName, content->current))
           && _write(slot.output, slot.name, profile);
}

bool NPProfilePropertiesX11::restoreProfile(const NPProfilePlaceX11& place, const QXData& own)
{
    if (!_connection.isResponding()) {
        return false;
    }
    const std::vector<Slot> slots = _slots(place);
    const auto restore = [&](const Slot& slot) { return _restoreProfile(slot, own); };
    return !slots.empty() && std::ranges::all_of(slots, restore) && _connection.synchronize();
}

bool NPProfilePropertiesX11::restoreProfiles(const std::vector<xcb_randr_output_t>& outputs)
{
    bool isDone = true;
    for (std::size_t i = 0; i < outputs.size() && isDone; ++i) {
        const std::vector<Slot> slots = _slots({outputs[i], i});
        const auto restore = [&](const Slot& slot) { return _restoreProfile(slot, std::nullopt); };
        isDone = !slots.empty() && std::ranges::all_of(slots, restore);
    }
    return isDone;
}

// Without a profile of the display's own to take, one of ours whose predecessor is not known stays.
bool NPProfilePropertiesX11::_restoreProfile(const Slot& slot, const std::optional<QXData>& own)
{
    const std::optional<Content> content = _content(slot);
    if (!content) {
        return false;
    }
    const std::optional<QXData>& former = content->former ? content->former : own;
    if (!former) {
        return true;
    }
    const bool isReplaced =
        !content->isOurs()
        || (former->empty() ? _delete(slot.output, slot.name) : _write(slot.output, slot.name, *former));
    return isReplaced && _delete(slot.output, slot.formerName);
}

bool NPProfilePropertiesX11::isProfileName(xcb_atom_t name)
{
    return std::ranges::any_of(_namesOfMonitors, [&](const auto& entry) { return entry.second.profile == name; });
}

unsigned int NPProfilePropertiesX11::_request(xcb_randr_output_t output, xcb_atom_t name)
{
    xcb_connection_t* const handle = _connection.handle();
    return output != 0 ? xcb_randr_get_output_property(handle, output, name, XCB_GET_PROPERTY_TYPE_ANY, 0,
                                                       longestProfile, 0, 0)
                             .sequence
                       : xcb_get_property(handle, 0, _connection.root(), name, XCB_GET_PROPERTY_TYPE_ANY, 0,
                                          longestProfile)
                             .sequence;
}

std::optional<QXData> NPProfilePropertiesX11::_answer(xcb_randr_output_t output, unsigned int sequence)
{
    if (output != 0) {
        const auto reply = _connection.reply<xcb_randr_get_output_property_reply_t>(sequence);
        if (!reply || reply->format != 8) {
            return std::nullopt;
        }
        const std::uint8_t* const bytes = xcb_randr_get_output_property_data(reply.get());
        return QXData(bytes, bytes + reply->num_items);
    }
    const auto reply = _connection.reply<xcb_get_property_reply_t>(sequence);
    if (!reply || reply->format != 8) {
        return std::nullopt;
    }
    const auto* const bytes = static_cast<const std::uint8_t*>(xcb_get_property_value(reply.get()));
    return QXData(bytes, bytes + reply->value_len);
}

// In parts, for each of which there is room: the client library would wait for room without an end. False when the
// server takes no more.
bool NPProfilePropertiesX11::_write(xcb_randr_output_t output, xcb_atom_t name, const QXData& content)
{
    std::span<const std::uint8_t> rest = content;
    std::uint8_t mode = XCB_PROP_MODE_REPLACE;
    do {
        if (!_connection.waitForRoom()) {
            return false;
        }
        const auto part = rest.first(std::min(rest.size(), longestPart));
        _writePart(output, name, mode, part);
        xcb_flush(_connection.handle());
        rest = rest.subspan(part.size());
        mode = XCB_PROP_MODE_APPEND;
    } while (!rest.empty());
    return true;
}

void NPProfilePropertiesX11::_writePart(xcb_randr_output_t output, xcb_atom_t name, std::uint8_t mode,
                                        std::span<const std::uint8_t> part)
{
    xcb_connection_t* const handle = _connection.handle();
    const auto size = static_cast<std::uint32_t>(part.size());
    if (output != 0) {
        xcb_randr_change_output_property(handle, output, name, XCB_ATOM_CARDINAL, 8, mode, size, part.data());
    } else {
        xcb_change_property(handle, mode, _connection.root(), name, XCB_ATOM_CARDINAL, 8, size, part.data());
    }
}

bool NPProfilePropertiesX11::_delete(xcb_randr_output_t output, xcb_atom_t name)
{
    if (!_connection.waitForRoom()) {
        return false;
    }
    if (output != 0) {
        xcb_randr_delete_output_property(_connection.handle(), output, name);
    } else {
        xcb_delete_property(_connection.handle(), _connection.root(), name);
    }
    return true;
}
