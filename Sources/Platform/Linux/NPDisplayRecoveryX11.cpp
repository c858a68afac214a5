#include "Platform/Linux/NPDisplayRecoveryX11.h"

#include "Platform/Linux/NPConnectionX11.h"
#include "Platform/Linux/NPDisplayOwnerX11.h"
#include "Platform/Linux/NPLayoutX11.h"
#include "Platform/Linux/NPProfilePropertiesX11.h"

#include <xcb/randr.h>

#include <string_view>
#include <vector>

namespace {

class Recovery {
public:
    Recovery(NPConnectionX11& connection, const NPDisplayRecoveryX11& recovery)
        : _connection(connection), _recovery(recovery)
    {
    }

    // False when the server did not take it all.
    bool run();

private:
    void _endOwnersConnection();
    bool _restoreProfiles();
    void _recover(xcb_randr_crtc_t crtc, xcb_atom_t recordName, const NPHardwareTable& base);

    NPConnectionX11& _connection;
    const NPDisplayRecoveryX11& _recovery;
};

bool Recovery::run()
{
    xcb_connection_t* const handle = _connection.handle();
    std::vector<unsigned int> nameRequests;
    for (const auto& [crtc, record] : _recovery.baseRecords) {
        nameRequests.push_back(_connection.requestAtom(NPBaseRecordX11Name(crtc)));
    }
    std::vector<xcb_atom_t> names;
    for (const unsigned int request : nameRequests) {
        names.push_back(_connection.atomReply(request));
    }

    // Nobody else may act between the look at a record and the writing.
    xcb_grab_server(handle);
    _endOwnersConnection();
    auto name = names.begin();
    for (const auto& [crtc, record] : _recovery.baseRecords) {
        const auto request =
            xcb_get_property(handle, 0, _connection.root(), *name, XCB_ATOM_CARDINAL, 0, NPLongestBaseRecordX11);
        const auto property = _connection.reply<xcb_get_property_reply_t>(request.sequence);
        const auto current = NPBaseRecordFromReplyX11(property.get());
        if (current && current->owner == _recovery.owner) {
            _recover(crtc, *name, record.table);
        }
        ++name;
    }
    const bool isDone = NPHasDisplayOwnerX11(_connection) || _restoreProfiles();
    xcb_ungrab_server(handle);
    return isDone;
}

// Custom profiles that stand in the server. An owner that has come meanwhile would find its own taken away.
bool Recovery::_restoreProfiles()
{
    const auto request = xcb_randr_get_screen_resources_current(_connection.handle(), _connection.root());
    const auto resources = _connection.reply<xcb_randr_get_screen_resources_current_reply_t>(request.sequence);
    if (!resources) {
        return false;
    }
    const xcb_randr_output_t* const outputs = xcb_randr_get_screen_resources_current_outputs(resources.get());
    return NPProfilePropertiesX11(_connection).restoreProfiles({outputs, outputs + resources->num_outputs});
}

// What the owner wrote last may still lie unread in its socket, and must not be carried out after our tables.
void Recovery::_endOwnersConnection()
{
    if (_recovery.ownerWindow == 0) {
        return;
    }
    const std::string expected = NPOwnerWindowNameX11(_recovery.owner);
    const auto request =
        xcb_get_property(_connection.handle(), 0, _recovery.ownerWindow, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 0, 64);
    const auto property = _connection.reply<xcb_get_property_reply_t>(request.sequence);
    // The number of the window may belong to somebody else by now.
    if (property && property->format == 8
        && std::string_view(static_cast<const char*>(xcb_get_property_value(property.get())), property->value_len)
               == expected) {
        xcb_kill_client(_connection.handle(), _recovery.ownerWindow);
    }
}

void Recovery::_recover(xcb_randr_crtc_t crtc, xcb_atom_t recordName, const NPHardwareTable& base)
{
    xcb_connection_t* const handle = _connection.handle();
    const auto request = xcb_randr_get_crtc_gamma_size(handle, crtc);
    const auto answer = _connection.reply<xcb_randr_get_crtc_gamma_size_reply_t>(request.sequence);
    if (answer && answer->size >= NPHardwareTable::minimumSize) {
        const NPHardwareTable table = NPHardwareTableResized(base, answer->size);
        xcb_randr_set_crtc_gamma(handle, crtc, answer->size, table.channel(0).data(), table.channel(1).data(),
                                 table.channel(2).data());
    }
    xcb_delete_property(handle, _connection.root(), recordName);
}

} // namespace

std::string NPOwnerWindowNameX11(std::uint64_t owner)
{
    return "Nightpane " + std::to_string(owner);
}

bool NPRecoverDisplaysX11(const NPDisplayRecoveryX11& recovery)
{
    auto connection = NPConnectionX11::open(recovery.displayName);
    if (!connection) {
        return true; // no server, no displays
    }
    const bool isTaken = Recovery(*connection, recovery).run();
    const bool isDone = connection->synchronize() && connection->unansweredCount() == 0 && isTaken;
    return isDone || connection->isLost();
}
