#include "Desktop/Support/NPTestXClient.h"

#include "Desktop/Support/NPTestEngine.h"

#include <xcb/xcbext.h>
#include <xcb/xtest.h>

#include <cstdlib>
#include <stdexcept>

namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};
xcb_extension_t xkb{"XKEYBOARD", 0};

void sendXkbRequest(xcb_connection_t* connection, std::uint8_t opcode, bool hasReply, void* request,
                    std::size_t size)
{
    const xcb_protocol_request_t protocol{2, &xkb, opcode, hasReply ? std::uint8_t(0) : std::uint8_t(1)};
    iovec parts[4] = {}; // the first two are the client library's
    parts[2] = {request, size};
    xcb_send_request(connection, 0, parts + 2, &protocol);
}

// The server does nothing for those who have not asked for the extension.
void useXkb(xcb_connection_t* connection)
{
    struct {
        std::uint8_t header[4] = {};
        std::uint16_t major = 1;
        std::uint16_t minor = 0;
    } request;
    sendXkbRequest(connection, 0, true, &request, sizeof request);
}

template<class Content> using Owned = std::unique_ptr<Content, Free>;

} // namespace

NPTestXClient::NPTestXClient(const std::string& displayName)
    : _connection(xcb_connect(displayName.c_str(), nullptr))
{
    xcb_connection_t* const connection = _connection.get();
    if (xcb_connection_has_error(connection) != 0) {
        throw std::runtime_error("no X server at " + displayName);
    }
    const xcb_screen_t* const screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    _root = screen->root;
    _window = xcb_generate_id(connection);
    const std::uint32_t values[] = {screen->white_pixel, XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE};
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, _window, _root, 0, 0, 100, 100, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK,
                      values);
    useXkb(connection);
    xcb_map_window(connection, _window);
    const bool isFocused = NPTestWaitUntil([&] {
        xcb_set_input_focus(connection, XCB_INPUT_FOCUS_PARENT, _window, XCB_CURRENT_TIME);
        const Owned<xcb_get_input_focus_reply_t> reply(
            xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
        return reply && reply->focus == _window;
    });
    if (!isFocused) {
        throw std::runtime_error("the window does not get the focus");
    }
}

std::string NPTestXClient::takeKeys()
{
    synchronize();
    std::string keys;
    while (const Owned<xcb_generic_event_t> event{xcb_poll_for_event(_connection.get())}) {
        const int type = event->response_type & 0x7F;
        if (type == XCB_KEY_PRESS || type == XCB_KEY_RELEASE) {
            keys += (type == XCB_KEY_PRESS ? '+' : '-')
                    + std::to_string(reinterpret_cast<const xcb_key_press_event_t&>(*event).detail);
        }
    }
    return keys;
}

void NPTestXClient::grab(xcb_keycode_t keyCode, std::uint16_t modifiers)
{
    const Owned<xcb_generic_error_t> error(
        xcb_request_check(_connection.get(), xcb_grab_key_checked(_connection.get(), 0, _root, modifiers, keyCode,
                                                                  XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC)));
    if (error) {
        throw std::runtime_error("key code " + std::to_string(keyCode) + " is taken");
    }
}

void NPTestXClient::ungrab(xcb_keycode_t keyCode, std::uint16_t modifiers)
{
    xcb_ungrab_key(_connection.get(), keyCode, _root, modifiers);
    synchronize();
}

void NPTestXClient::_fakeKey(std::uint8_t type, xcb_keycode_t keyCode)
{
    xcb_test_fake_input(_connection.get(), type, keyCode, XCB_CURRENT_TIME, _root, 0, 0, 0);
    synchronize();
}

void NPTestXClient::lockLayout(std::uint8_t layout)
{
    struct {
        std::uint8_t header[4] = {};
        std::uint16_t device = 0x100; // the core keyboard
        std::uint8_t modifierLocks[2] = {};
        std::uint8_t locksGroup = 1;
        std::uint8_t group = 0;
        std::uint8_t latches[6] = {};
    } request;
    request.group = layout;
    sendXkbRequest(_connection.get(), 5, false, &request, sizeof request);
    synchronize();
}

void NPTestXClient::synchronize()
{
    Owned<xcb_get_input_focus_reply_t>(
        xcb_get_input_focus_reply(_connection.get(), xcb_get_input_focus(_connection.get()), nullptr));
}
