#include "Platform/Linux/NPWindowListX11.h"

#include <algorithm>
#include <span>
#include <utility>

namespace {

constexpr std::uint32_t mostWindows = 65536;

} // namespace

std::optional<NPWindowListX11> NPWindowListX11::switchOn(NPConnectionX11& connection)
{
    const xcb_atom_t name = connection.atomReply(connection.requestAtom("_NET_CLIENT_LIST"));
    if (name == XCB_ATOM_NONE) {
        return std::nullopt;
    }
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(connection.handle(), connection.root(), XCB_CW_EVENT_MASK, &mask);
    NPWindowListX11 list(name);
    list.readAgain(connection);
    return list;
}

bool NPWindowListX11::isChange(const xcb_generic_event_t& event) const
{
    return (event.response_type & 0x7F) == XCB_PROPERTY_NOTIFY // the top bit only says that a client sent it
           && reinterpret_cast<const xcb_property_notify_event_t&>(event).atom == _name;
}

bool NPWindowListX11::readAgain(NPConnectionX11& connection)
{
    if (!connection.isResponding()) {
        return false;
    }
    const auto reply = connection.reply<xcb_get_property_reply_t>(
        xcb_get_property(connection.handle(), 0, connection.root(), _name, XCB_GET_PROPERTY_TYPE_ANY, 0,
                         mostWindows)
            .sequence);
    if (!reply) {
        return false;
    }
    std::set<std::uint32_t> clients;
    const auto size =
        reply->format == 32 ? static_cast<std::size_t>(xcb_get_property_value_length(reply.get())) : 0;
    const std::span windows(static_cast<const xcb_window_t*>(xcb_get_property_value(reply.get())),
                            size / sizeof(xcb_window_t));
    for (const xcb_window_t window : windows) {
        clients.insert(window & ~xcb_get_setup(connection.handle())->resource_id_mask);
    }
    std::swap(clients, _clients);
    return !std::ranges::includes(_clients, clients);
}
