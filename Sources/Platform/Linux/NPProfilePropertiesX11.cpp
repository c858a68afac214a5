#include "Platform/Linux/NPProfilePropertiesX11.h"

#include "ScreenGamma/QXColorProfile.h"

#include <algorithm>

namespace {

constexpr std::uint32_t longestProfile = 1U << 22; // in units of 4 bytes

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
    return parsed && parsed->tag(QXBaseTableTag);
}

NPProfilePropertiesX11::NPProfilePropertiesX11(NPConnectionX11& connection)
    : _connection(connection),
      _firstRequests{connection.requestAtom(profileName(0)), connection.requestAtom(formerName(0))}
{
}

NPProfilePropertiesX11::Names NPProfilePropertiesX11::_names(std::size_t monitor)
{
    const auto known = _namesOfMonitors.find(monitor);
    if (known != _namesOfMonitors.end()) {
        return known->second;
    }
    const bool isAsked = monitor == 0;
    const unsigned int profile = isAsked ? _firstRequests[0] : _connection.requestAtom(profileName(monitor));
    const unsigned int former = isAsked ? _firstRequests[1] : _connection.requestAtom(formerName(monitor));
    const xcb_atom_t profileAtom = _connection.atomReply(profile);
    const Names names{profileAtom, _connection.atomReply(former)};
    return _namesOfMonitors.emplace(monitor, names).first->second;
}

std::vector<NPProfilePropertiesX11::Slot> NPProfilePropertiesX11::_slots(const NPProfilePlaceX11& place)
{
    const Names first = _names(0);
    const Names ofMonitor = _names(place.monitor);
    return {{place.output, first.profile, first.former}, {0, ofMonitor.profile, ofMonitor.former}};
}

QXData NPProfilePropertiesX11::profile(const NPProfilePlaceX11& place)
{
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
    return found;
}

// What was there is kept before it is replaced, so that no moment loses it.
bool NPProfilePropertiesX11::setCustomProfile(const NPProfilePlaceX11& place, const QXData& profile)
{
    for (const Slot& slot : _slots(place)) {
        const QXData current = _read(slot.output, slot.name).value_or(QXData());
        if (!NPIsCustomProfile(current)) {
            _write(slot.output, slot.formerName, current);
        }
        _write(slot.output, slot.name, profile);
    }
    return _connection.synchronize();
}

bool NPProfilePropertiesX11::restoreProfile(const NPProfilePlaceX11& place, const QXData& own)
{
    for (const Slot& slot : _slots(place)) {
        const QXData current = _read(slot.output, slot.name).value_or(QXData());
        const QXData former = _read(slot.output, slot.formerName).value_or(own);
        if (NPIsCustomProfile(current)) {
            if (former.empty()) {
                _delete(slot.output, slot.name);
            } else {
                _write(slot.output, slot.name, former);
            }
        }
        _delete(slot.output, slot.formerName);
    }
    return _connection.synchronize();
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

std::optional<QXData> NPProfilePropertiesX11::_read(xcb_randr_output_t output, xcb_atom_t name)
{
    return _answer(output, _request(output, name));
}

void NPProfilePropertiesX11::_write(xcb_randr_output_t output, xcb_atom_t name, const QXData& content)
{
    const auto size = static_cast<std::uint32_t>(content.size());
    if (output != 0) {
        xcb_randr_change_output_property(_connection.handle(), output, name, XCB_ATOM_CARDINAL, 8,
                                         XCB_PROP_MODE_REPLACE, size, content.data());
    } else {
        xcb_change_property(_connection.handle(), XCB_PROP_MODE_REPLACE, _connection.root(), name,
                            XCB_ATOM_CARDINAL, 8, size, content.data());
    }
}

void NPProfilePropertiesX11::_delete(xcb_randr_output_t output, xcb_atom_t name)
{
    if (output != 0) {
        xcb_randr_delete_output_property(_connection.handle(), output, name);
    } else {
        xcb_delete_property(_connection.handle(), _connection.root(), name);
    }
}
