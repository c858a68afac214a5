#include "Interface/NPStartupToken.h"

#include <QGuiApplication>
#include <QWidget>

#include <xcb/xcb.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

namespace {

constexpr const char* waylandVariable = "XDG_ACTIVATION_TOKEN";
constexpr const char* startupVariable = "DESKTOP_STARTUP_ID";
constexpr std::uint32_t fromApplication = 1; // and not from a task bar

std::string& waitingToken()
{
    static std::string token;
    return token;
}

std::string variable(const char* name)
{
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

xcb_atom_t atom(xcb_connection_t* display, const std::string& name)
{
    const auto request = xcb_intern_atom(display, 0, static_cast<std::uint16_t>(name.size()), name.c_str());
    const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
        xcb_intern_atom_reply(display, request, nullptr), &std::free);
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

xcb_window_t rootWindow(xcb_connection_t* display)
{
    return xcb_setup_roots_iterator(xcb_get_setup(display)).data->root;
}

// Such a token ends with the moment of the click: "…_TIME1234", in milliseconds of the X server. 0 when it does not.
std::uint32_t timeOfToken(const std::string& token)
{
    const std::string mark = "_TIME";
    const std::size_t start = token.rfind(mark);
    return start == std::string::npos
               ? 0
               : static_cast<std::uint32_t>(std::strtoul(token.c_str() + start + mark.size(), nullptr, 10));
}

void activate(xcb_connection_t* display, xcb_window_t window, std::uint32_t time)
{
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = atom(display, "_NET_ACTIVE_WINDOW");
    message.data.data32[0] = fromApplication;
    message.data.data32[1] = time;
    xcb_send_event(display, 0, rootWindow(display),
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&message)); // as the call wants it
    xcb_flush(display);
}

// In pieces of 20 bytes, with a zero at the end; all are told which window they come from.
void broadcast(xcb_connection_t* display, const std::string& text)
{
    const xcb_window_t root = rootWindow(display);
    const xcb_window_t sender = xcb_generate_id(display);
    xcb_create_window(display, XCB_COPY_FROM_PARENT, sender, root, -1, -1, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 8;
    message.window = sender;
    message.type = atom(display, "_NET_STARTUP_INFO_BEGIN");
    const xcb_atom_t typeOfRest = atom(display, "_NET_STARTUP_INFO");
    constexpr std::size_t pieceSize = sizeof message.data.data8;
    for (std::size_t start = 0; start <= text.size(); start += pieceSize) {
        const std::size_t count = std::min(pieceSize, text.size() - start);
        std::memset(message.data.data8, 0, pieceSize);
        std::memcpy(message.data.data8, text.data() + start, count);
        xcb_send_event(display, 0, root, XCB_EVENT_MASK_PROPERTY_CHANGE,
                       reinterpret_cast<const char*>(&message)); // as the call wants it
        message.type = typeOfRest;
    }
    xcb_destroy_window(display, sender);
}

// Quotes and backslashes would end it.
std::string quoted(const std::string& text)
{
    std::string result = "\"";
    for (const char character : text) {
        if (character == '"' || character == '\\') {
            result += '\\';
        }
        result += character;
    }
    return result + '"';
}

} // namespace

std::string NPStartupToken()
{
    const std::string ofWayland = variable(waylandVariable);
    const std::string ofX11 = variable(startupVariable);
    const bool isWaylandFirst = !variable("WAYLAND_DISPLAY").empty() || ofX11.empty();
    return isWaylandFirst && !ofWayland.empty() ? ofWayland : ofX11;
}

void NPExpectWindowForStartup(const std::string& token)
{
    waitingToken() = token;
    if (QGuiApplication::platformName().startsWith(QLatin1String("wayland")) && !token.empty()) {
        ::setenv(waylandVariable, token.c_str(), 1); // Qt takes it from there with the next request
    }
}

void NPSpendStartupToken(QWidget& window)
{
    const std::string token = std::exchange(waitingToken(), {});
    const std::uint32_t time = timeOfToken(token);
    const auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (x11 != nullptr && time != 0) {
        activate(x11->connection(), static_cast<xcb_window_t>(window.winId()), time);
    }
}

void NPEndStartup(const std::string& token)
{
    if (token.empty()) {
        return;
    }
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> display(xcb_connect(nullptr, nullptr),
                                                                               &xcb_disconnect);
    if (xcb_connection_has_error(display.get()) == 0) {
        broadcast(display.get(), "remove: ID=" + quoted(token));
        std::free(
            xcb_get_input_focus_reply(display.get(), xcb_get_input_focus(display.get()), nullptr)); // all is sent
    }
}
