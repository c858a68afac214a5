#include "Platform/Linux/NPDisplayOwnerX11.h"

#include <limits.h>
#include <unistd.h>

#include <array>
#include <string_view>

namespace {

constexpr std::string_view processProperty = "_NET_WM_PID"; // goes with WM_CLIENT_MACHINE, as on any window
constexpr std::uint32_t longestHost = HOST_NAME_MAX;

std::string selectionName(const NPConnectionX11& connection)
{
    return "_NIGHTPANE_S" + std::to_string(connection.screen());
}

std::string hostName()
{
    std::array<char, HOST_NAME_MAX + 1> name{};
    return gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "";
}

NPDisplayOwnerX11 describedOwner(NPConnectionX11& connection, xcb_window_t window, xcb_atom_t processName)
{
    xcb_connection_t* const handle = connection.handle();
    const auto processRequest = xcb_get_property(handle, 0, window, processName, XCB_ATOM_CARDINAL, 0, 1);
    const auto hostRequest =
        xcb_get_property(handle, 0, window, XCB_ATOM_WM_CLIENT_MACHINE, XCB_ATOM_STRING, 0, (longestHost + 3) / 4);
    const auto process = connection.reply<xcb_get_property_reply_t>(processRequest.sequence);
    const auto host = connection.reply<xcb_get_property_reply_t>(hostRequest.sequence);
    NPDisplayOwnerX11 owner;
    if (process && process->format == 32 && process->value_len == 1) {
        owner.process =
            static_cast<int>(*static_cast<const std::uint32_t*>(xcb_get_property_value(process.get())));
    }
    if (host && host->format == 8) {
        const std::string_view name(static_cast<const char*>(xcb_get_property_value(host.get())), host->value_len);
        owner.host = name == hostName() ? std::string_view() : name;
    }
    return owner;
}

} // namespace

std::string NPDisplayOwnerText(const NPDisplayOwnerX11& owner)
{
    if (owner.process <= 0) {
        return {};
    }
    return " (process " + std::to_string(owner.process) + (owner.host.empty() ? "" : " on " + owner.host) + ")";
}

std::optional<NPDisplayOwnerX11> NPFindDisplayOwnerX11(const std::string& displayName)
{
    auto connection = NPConnectionX11::open(displayName);
    if (!connection) {
        return std::nullopt;
    }
    const unsigned int selectionRequest = connection->requestAtom(selectionName(*connection));
    const unsigned int processNameRequest = connection->requestAtom(processProperty);
    const xcb_atom_t selection = connection->atomReply(selectionRequest);
    const xcb_atom_t processName = connection->atomReply(processNameRequest);
    const auto request = xcb_get_selection_owner(connection->handle(), selection);
    const auto reply = connection->reply<xcb_get_selection_owner_reply_t>(request.sequence);
    if (!reply || reply->owner == XCB_WINDOW_NONE) {
        return std::nullopt;
    }
    return describedOwner(*connection, reply->owner, processName);
}

bool NPHasDisplayOwnerX11(NPConnectionX11& connection)
{
    const xcb_atom_t selection = connection.atomReply(connection.requestAtom(selectionName(connection)));
    const auto request = xcb_get_selection_owner(connection.handle(), selection);
    const auto reply = connection.reply<xcb_get_selection_owner_reply_t>(request.sequence);
    return !reply || reply->owner != XCB_WINDOW_NONE;
}

NPDisplayClaimX11::NPDisplayClaimX11(NPConnectionX11& connection, xcb_window_t window)
    : _connection(connection), _window(window),
      _selectionRequest(connection.requestAtom(selectionName(connection))),
      _processNameRequest(connection.requestAtom(processProperty))
{
}

void NPDisplayClaimX11::ask()
{
    _selection = _connection.atomReply(_selectionRequest);
    _processName = _connection.atomReply(_processNameRequest);
    xcb_connection_t* const handle = _connection.handle();
    const auto process = static_cast<std::uint32_t>(getpid());
    const std::string host = hostName();
    xcb_change_property(handle, XCB_PROP_MODE_REPLACE, _window, _processName, XCB_ATOM_CARDINAL, 32, 1, &process);
    xcb_change_property(handle, XCB_PROP_MODE_REPLACE, _window, XCB_ATOM_WM_CLIENT_MACHINE, XCB_ATOM_STRING, 8,
                        static_cast<std::uint32_t>(host.size()), host.data());
    xcb_grab_server(handle);
    _ownerRequest = xcb_get_selection_owner(handle, _selection).sequence;
}

std::expected<void, NPDisplayOwnerX11> NPDisplayClaimX11::take()
{
    const auto reply = _connection.reply<xcb_get_selection_owner_reply_t>(_ownerRequest);
    std::expected<void, NPDisplayOwnerX11> taken;
    if (reply && reply->owner != XCB_WINDOW_NONE) {
        taken = std::unexpected(describedOwner(_connection, reply->owner, _processName));
    } else if (reply) {
        xcb_set_selection_owner(_connection.handle(), _window, _selection, XCB_CURRENT_TIME);
    }
    xcb_ungrab_server(_connection.handle()); // goes out with the next question, or ends with the connection
    return taken;
}
