#include "Desktop/Application/NPTestRootMessages.h"

#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace {

template<class Reply> using Owned = std::unique_ptr<Reply, decltype(&std::free)>;

constexpr std::uint8_t kindMask = 0x7f; // the highest bit says that a program sent it

} // namespace

NPTestRootMessages::NPTestRootMessages(const std::string& displayName)
    : _connection(xcb_connect(displayName.c_str(), nullptr), &xcb_disconnect),
      _activation(_atom("_NET_ACTIVE_WINDOW")), _begin(_atom("_NET_STARTUP_INFO_BEGIN")),
      _rest(_atom("_NET_STARTUP_INFO"))
{
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(_connection.get())).data->root;
    const std::uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
    const auto request = xcb_change_window_attributes_checked(_connection.get(), root, XCB_CW_EVENT_MASK, &mask);
    if (Owned<xcb_generic_error_t>(xcb_request_check(_connection.get(), request), &std::free)) {
        throw std::runtime_error("nobody may listen to the root window");
    }
}

xcb_atom_t NPTestRootMessages::_atom(const std::string& name) const
{
    const auto request =
        xcb_intern_atom(_connection.get(), 0, static_cast<std::uint16_t>(name.size()), name.c_str());
    const Owned<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(_connection.get(), request, nullptr),
                                               &std::free);
    if (!reply) {
        throw std::runtime_error("no X server");
    }
    return reply->atom;
}

void NPTestRootMessages::_takeEvents()
{
    while (const Owned<xcb_generic_event_t> event{xcb_poll_for_event(_connection.get()), &std::free}) {
        if ((event->response_type & kindMask) != XCB_CLIENT_MESSAGE) {
            continue;
        }
        xcb_client_message_event_t message;
        std::memcpy(&message, event.get(), sizeof message);
        if (message.type == _activation) {
            _activations.push_back(message.data.data32[1]);
        } else if (message.type == _begin || message.type == _rest) {
            if (message.type == _begin) {
                _startups.emplace_back();
            }
            const auto* const text = reinterpret_cast<const char*>(message.data.data8);
            _startups.back().append(text, ::strnlen(text, sizeof message.data.data8));
        }
    }
}

const std::vector<std::uint32_t>& NPTestRootMessages::activations()
{
    _takeEvents();
    return _activations;
}

const std::vector<std::string>& NPTestRootMessages::startups()
{
    _takeEvents();
    return _startups;
}
