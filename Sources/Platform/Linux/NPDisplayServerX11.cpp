#include "Platform/Linux/NPDisplayServerX11.h"

#include "Foundation/QXLog.h"
#include "Platform/Linux/NPDisplayOwnerX11.h"
#include "Platform/Linux/NPDisplayRecoveryX11.h"
#include "ScreenGamma/QXColorProfile.h"

#include <sys/epoll.h>
#include <sys/random.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace {

std::size_t hashOf(const QXData& content)
{
    return std::hash<std::string_view>()({reinterpret_cast<const char*>(content.data()), content.size()});
}

std::uint64_t randomOwner()
{
    std::uint64_t owner = 0;
    if (getrandom(&owner, sizeof owner, GRND_NONBLOCK) < 0) {
        owner = static_cast<std::uint64_t>(std::chrono::system_clock::now().time_since_epoch().count());
    }
    return owner;
}

} // namespace

NPDisplayServerX11::NPDisplayServerX11(NPConnectionX11 connection, NPMainLoopLinux& loop, NPDisplayGuard* guard,
                                       std::uint64_t owner)
    : _connection(std::move(connection)), _loop(loop), _tables(_connection, guard, owner), _profiles(_connection)
{
    if (guard != nullptr) {
        _markConnection(*guard, owner);
    }
}

std::expected<std::unique_ptr<NPDisplayServerX11>, std::string>
NPDisplayServerX11::open(const std::string& displayName, NPMainLoopLinux& loop, NPDisplayGuard* guard)
{
    auto connection = NPConnectionX11::open(displayName);
    if (!connection) {
        return std::unexpected(connection.error());
    }
    std::unique_ptr<NPDisplayServerX11> server(
        new NPDisplayServerX11(std::move(*connection), loop, guard, randomOwner()));
    if (const auto begun = server->_begin(); !begun) {
        return std::unexpected(begun.error());
    }
    return server;
}

// A window that is never shown, so that the guard, and whoever comes later, can tell this connection from others.
void NPDisplayServerX11::_markConnection(NPDisplayGuard& guard, std::uint64_t owner)
{
    xcb_connection_t* const handle = _connection.handle();
    _ownerWindow = xcb_generate_id(handle);
    xcb_create_window(handle, 0, _ownerWindow, _connection.root(), 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, 0, nullptr);
    const std::string name = NPOwnerWindowNameX11(owner);
    xcb_change_property(handle, XCB_PROP_MODE_REPLACE, _ownerWindow, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                        static_cast<std::uint32_t>(name.size()), name.data());
    guard.watchDisplay(_connection.name(), owner, _ownerWindow);
}

std::expected<void, std::string> NPDisplayServerX11::_begin()
{
    std::optional<NPDisplayClaimX11> claim;
    if (_ownerWindow != XCB_WINDOW_NONE) {
        claim.emplace(_connection, _ownerWindow);
    }
    auto reader = NPLayoutReaderX11::make(_connection, [&claim] {
        if (claim) {
            claim->ask();
        }
    });
    if (!reader) {
        return std::unexpected(reader.error());
    }
    if (const auto taken = claim ? claim->take() : std::expected<void, NPDisplayOwnerX11>(); !taken) {
        return std::unexpected("Nightpane is already running" + NPDisplayOwnerText(taken.error()));
    }
    _reader = *reader;
    const std::optional<NPLayoutX11> layout = _reader->read();
    const std::string server = "The X server at \"" + _connection.name() + "\" ";
    if (!layout) {
        return std::unexpected(server + "does not respond");
    }
    if (layout->isEmulation) {
        return std::unexpected(server + "is Xwayland, which stores gamma tables but applies none");
    }
    _adopt(*layout);
    _tables.sendHeldTables();
    if (std::ranges::all_of(_displays, [](const auto& display) { return display.tableSize == 0; })
        && !_displays.empty()) {
        QXLog(server + "has no gamma tables: effects cannot be shown");
    }
    _watchDescriptor(EPOLLIN);
    _turnWatch = _loop.watchBeforeWaiting([this] { _prepareToWait(); });
    return {};
}

bool NPDisplayServerX11::finishWriting()
{
    while (_tables.holdsTables()) {
        if (!_connection.waitForRoom()) {
            return false;
        }
        _tables.sendHeldTables();
    }
    return _connection.synchronize();
}

NPDisplaySubscription NPDisplayServerX11::addCallback(NPDisplayReconfigurationCallback callback)
{
    std::erase_if(_callbacks, [](const auto& entry) { return entry.expired(); });
    const auto kept = std::make_shared<NPDisplayReconfigurationCallback>(std::move(callback));
    _callbacks.push_back(kept);
    return kept;
}

void NPDisplayServerX11::_prepareToWait()
{
    // Whoever waited for a reply may have met events on the way: they no longer make the socket readable.
    _takeEvents(xcb_poll_for_queued_event);
    while (_events.any && _connection.isResponding() && _updateLayout()) {
        _takeEvents(xcb_poll_for_queued_event);
    }
    if (_profilesMayHaveChanged && _connection.isResponding()) {
        _lookAtProfiles();
    }
    // Held because there was no room, or for a display that has just been announced.
    if (_tables.holdsTables()) {
        _tables.sendHeldTables();
    }
    _tables.forgetReadTables();
    _watchDescriptor(_tables.holdsTables() ? EPOLLIN | EPOLLOUT : EPOLLIN);
    if (isLost()) {
        _tellLoss();
    }
}

void NPDisplayServerX11::_watchDescriptor(std::uint32_t events)
{
    if (events == _watchedEvents || isLost()) {
        return;
    }
    _watchedEvents = events;
    _descriptorWatch.reset(); // a descriptor can be watched once only
    _descriptorWatch = _loop.watchFileDescriptor(_connection.descriptor(), events, [this](std::uint32_t ready) {
        if ((ready & ~std::uint32_t{EPOLLOUT}) != 0) {
            _connection.noticeActivity();
            _takeEvents(xcb_poll_for_event);
        }
    });
}

void NPDisplayServerX11::_takeEvents(xcb_generic_event_t* (*next)(xcb_connection_t* handle))
{
    while (const NPContentX11<xcb_generic_event_t> event{next(_connection.handle())}) {
        _takeEvent(*event, _events);
    }
}

void NPDisplayServerX11::_takeEvent(const xcb_generic_event_t& event, NPLayoutEventsX11& events)
{
    const int type = event.response_type & 0x7F; // the top bit only says that another client sent it
    if (type == 0) {
        _takeError(reinterpret_cast<const xcb_generic_error_t&>(event));
    } else if (type == XCB_PROPERTY_NOTIFY) {
        const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
        _profilesMayHaveChanged = _profilesMayHaveChanged || _profiles.isProfileName(change.atom);
    } else if (type == _reader->firstEvent() + XCB_RANDR_SCREEN_CHANGE_NOTIFY) {
        events.any = true;
    } else if (type == _reader->firstEvent() + XCB_RANDR_NOTIFY) {
        _takeRandREvent(reinterpret_cast<const xcb_randr_notify_event_t&>(event), events);
    }
}

void NPDisplayServerX11::_takeRandREvent(const xcb_randr_notify_event_t& event, NPLayoutEventsX11& events)
{
    switch (event.subCode) {
    case XCB_RANDR_NOTIFY_CRTC_CHANGE:
        events.any = true;
        events.crtcsSet.insert(event.u.cc.crtc);
        break;
    case XCB_RANDR_NOTIFY_OUTPUT_CHANGE:
        events.any = true;
        if (event.u.oc.connection == XCB_RANDR_CONNECTION_DISCONNECTED || event.u.oc.crtc == 0) {
            events.outputsInterrupted.insert(event.u.oc.output);
        }
        break;
    case XCB_RANDR_NOTIFY_OUTPUT_PROPERTY:
        events.any = events.any || event.u.op.atom == _reader->edidName();
        _profilesMayHaveChanged = _profilesMayHaveChanged || _profiles.isProfileName(event.u.op.atom);
        break;
    default:
        break;
    }
}

// Only requests without a reply end here: a table for a CRTC that has gone or has another size now. The
// other CRTCs' tables are not touched by it.
void NPDisplayServerX11::_takeError(const xcb_generic_error_t& error)
{
    if (std::exchange(_hasBeenRefused, true)) {
        return;
    }
    QXLog("The X server refused a gamma table; error=" + std::to_string(error.error_code)
          + " request=" + std::to_string(error.major_code) + "." + std::to_string(error.minor_code));
    _events.any = true;
}

// False when the server does not tell; the events are kept for the next time.
bool NPDisplayServerX11::_updateLayout()
{
    const std::optional<NPLayoutX11> layout = _reader->read();
    if (!layout) {
        return false;
    }
    // What was sent before the server read the question is in the answer: one burst, one update.
    NPLayoutEventsX11 events = std::exchange(_events, {});
    while (const NPContentX11<xcb_generic_event_t> event{xcb_poll_for_queued_event(_connection.handle())}) {
        const bool isCovered = static_cast<std::int32_t>(event->full_sequence - layout->firstRequest) < 0;
        _takeEvent(*event, isCovered ? events : _events);
    }
    const NPDisplayListX11 former = _displays;
    _adopt(*layout);
    _tellChanges(NPDisplayChangesX11(former, _displays, events));
    return true;
}

void NPDisplayServerX11::_adopt(const NPLayoutX11& layout)
{
    _displays = NPDisplayListFromLayoutX11(layout, _identities);
    _tables.adopt(layout, [this](xcb_randr_crtc_t crtc) {
        const auto found = std::ranges::find(_displays, crtc, &NPDisplayX11::crtc);
        return found == _displays.end() ? NPDisplayID{0} : found->identifier;
    });
}

void NPDisplayServerX11::_tellChanges(const std::vector<NPDisplayChangeX11>& changes)
{
    if (!changes.empty()) {
        _hasBeenRefused = false;
    }
    const auto callbacks = _callbacks; // they may come and go meanwhile
    for (const NPDisplayChangeX11& change : changes) {
        for (const auto& entry : callbacks) {
            if (const auto callback = entry.lock()) {
                (*callback)(change.identifier, change.flags);
            }
        }
    }
}

std::optional<QXData> NPDisplayServerX11::profile(const NPDisplayX11& display)
{
    std::optional<QXData> content = _profiles.profile({display.output, display.monitor});
    if (content) {
        _profilesSeen[display.identifier] = hashOf(*content);
    }
    return content;
}

void NPDisplayServerX11::watchRootProfiles()
{
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(_connection.handle(), _connection.root(), XCB_CW_EVENT_MASK, &mask);
    xcb_flush(_connection.handle());
}

// A custom profile of ours is no news; that another one takes its place is. What is none, or not yet because it is
// written in parts, is none either.
bool NPDisplayServerX11::_isNews(const QXData& profile)
{
    const auto parsed = QXColorProfile::profileWithData(profile);
    return parsed ? !QXColorProfileIsCustom(*parsed) : profile.empty();
}

void NPDisplayServerX11::_lookAtProfiles()
{
    _profilesMayHaveChanged = false;
    std::vector<NPDisplayID> changed;
    for (const NPDisplayX11& display : _displays) {
        const auto seen = _profilesSeen.find(display.identifier);
        if (seen == _profilesSeen.end()) {
            continue;
        }
        const std::size_t former = seen->second;
        const std::optional<QXData> content = profile(display);
        if (!content) {
            _profilesMayHaveChanged = true; // to be looked at when the server answers again
        } else if (hashOf(*content) != former && _isNews(*content)) {
            changed.push_back(display.identifier);
        }
    }
    for (const NPDisplayID display : changed) {
        if (profileHandler) {
            profileHandler(display);
        }
    }
}

void NPDisplayServerX11::_tellLoss()
{
    _descriptorWatch.reset(); // it would be ready for ever
    if (const auto handler = std::exchange(connectionLostHandler, nullptr)) {
        handler();
    }
}
