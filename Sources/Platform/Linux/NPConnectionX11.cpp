#include "Platform/Linux/NPConnectionX11.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

namespace {

using Clock = std::chrono::steady_clock;

void ignoreBrokenPipes()
{
    struct sigaction action{};
    if (sigaction(SIGPIPE, nullptr, &action) == 0 && action.sa_handler == SIG_DFL) {
        action.sa_handler = SIG_IGN;
        sigaction(SIGPIPE, &action, nullptr);
    }
}

// Waits for the descriptor to become ready for the events, or to fail.
bool waitFor(int descriptor, short events, Clock::time_point end)
{
    while (true) {
        pollfd item{descriptor, events, 0};
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        const int ready = poll(&item, 1, static_cast<int>(std::max(left.count(), std::int64_t{0})));
        if (ready >= 0 || errno != EINTR) {
            return ready > 0;
        }
    }
}

std::string describedDisplay(const std::string& displayName)
{
    if (!displayName.empty()) {
        return displayName;
    }
    const char* fromEnvironment = std::getenv("DISPLAY");
    return fromEnvironment == nullptr ? std::string() : fromEnvironment;
}

std::string connectionError(int code, const std::string& name)
{
    if (name.empty()) {
        return "No X display: DISPLAY is not set";
    }
    switch (code) {
    case XCB_CONN_CLOSED_PARSE_ERR:
        return "\"" + name + "\" is not the name of an X display";
    case XCB_CONN_CLOSED_INVALID_SCREEN:
        return "The X server has no screen \"" + name + "\"";
    default:
        return "No X server lets us in at display \"" + name + "\"";
    }
}

} // namespace

std::expected<NPConnectionX11, std::string> NPConnectionX11::open(const std::string& displayName)
{
    ignoreBrokenPipes();
    NPConnectionX11 connection;
    connection._name = describedDisplay(displayName);
    int screenNumber = 0;
    connection._handle.reset(xcb_connect(displayName.empty() ? nullptr : displayName.c_str(), &screenNumber));
    if (const int code = xcb_connection_has_error(connection.handle()); code != 0) {
        return std::unexpected(connectionError(code, connection._name));
    }
    connection._screen = screenNumber;
    auto screen = xcb_setup_roots_iterator(xcb_get_setup(connection.handle()));
    while (screenNumber-- > 0 && screen.rem > 1) {
        xcb_screen_next(&screen);
    }
    connection._root = screen.data->root;
    return connection;
}

bool NPConnectionX11::hasRoom() const
{
    // The client library waits for just this before it writes, without an end.
    return waitFor(descriptor(), POLLOUT, {});
}

bool NPConnectionX11::waitForRoom() const
{
    return waitFor(descriptor(), POLLOUT, Clock::now() + patience);
}

bool NPConnectionX11::isResponding()
{
    _isResponding = _isResponding || waitFor(descriptor(), POLLIN, {});
    return _isResponding;
}

void* NPConnectionX11::_waitForReply(unsigned int sequence)
{
    const auto end = Clock::now() + (_isResponding ? patience : Clock::duration::zero());
    void* reply = nullptr;
    xcb_generic_error_t* error = nullptr;
    bool isReady = waitFor(descriptor(), POLLOUT, end); // see hasRoom()
    if (isReady) {
        xcb_flush(handle());
    }
    while (isReady && xcb_poll_for_reply(handle(), sequence, &reply, &error) == 0) {
        isReady = waitFor(descriptor(), POLLIN, end);
    }
    if (!isReady) {
        xcb_discard_reply(handle(), sequence);
        _isResponding = false;
        ++_unansweredCount;
    } else {
        _isResponding = true;
    }
    std::free(error);
    return reply;
}

// Late answers are read with the events, after which nothing is left to show that the server responds again.
void NPConnectionX11::dropEvents()
{
    if (!isResponding()) {
        return;
    }
    while (const NPContentX11<xcb_generic_event_t> event{xcb_poll_for_event(handle())}) {
    }
}

bool NPConnectionX11::synchronize()
{
    // The smallest question that there is.
    return isResponding() && reply<xcb_get_input_focus_reply_t>(xcb_get_input_focus(handle()).sequence) != nullptr;
}

unsigned int NPConnectionX11::requestAtom(std::string_view name) const
{
    return xcb_intern_atom(handle(), 0, static_cast<std::uint16_t>(name.size()), name.data()).sequence;
}

xcb_atom_t NPConnectionX11::atomReply(unsigned int sequence)
{
    const auto answer = reply<xcb_intern_atom_reply_t>(sequence);
    return answer ? answer->atom : xcb_atom_t{XCB_ATOM_NONE};
}
