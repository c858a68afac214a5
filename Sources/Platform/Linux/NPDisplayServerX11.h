// The working parts behind NPDisplayServicesX11: one connection, its events, and the state they keep up to
// date. See there for what it does.
#pragma once

#include "Platform/Linux/NPConnectionX11.h"
#include "Platform/Linux/NPCrtcTablesX11.h"
#include "Platform/Linux/NPDisplayListX11.h"
#include "Platform/Linux/NPLayoutX11.h"
#include "Platform/Linux/NPMainLoopLinux.h"
#include "Platform/Linux/NPProfilePropertiesX11.h"

#include <expected>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class NPDisplayServerX11 {
public:
    static std::expected<std::unique_ptr<NPDisplayServerX11>, std::string>
    open(const std::string& displayName, NPMainLoopLinux& loop, NPDisplayGuard* guard);

    NPDisplayServerX11(const NPDisplayServerX11&) = delete;
    NPDisplayServerX11& operator=(const NPDisplayServerX11&) = delete;

    bool isLost() const { return _connection.isLost(); }
    const NPDisplayListX11& displays() const { return _displays; }
    NPCrtcTablesX11& tables() { return _tables; }
    const NPCrtcTablesX11& tables() const { return _tables; }
    bool finishWriting();

    const std::string& name() const { return _connection.name(); }

    // The profile that stands in the server for the display; empty when there is none. None when the server does not
    // answer.
    std::optional<QXData> profile(const NPDisplayX11& display);

    // From now on also says what becomes of profiles on the root window.
    void watchRootProfiles();

    // Called when a profile that was read has become another one, not one of ours.
    std::function<void(NPDisplayID)> profileHandler;

    NPDisplaySubscription addCallback(NPDisplayReconfigurationCallback callback);
    std::function<void()> connectionLostHandler;

private:
    NPDisplayServerX11(NPConnectionX11 connection, NPMainLoopLinux& loop, NPDisplayGuard* guard,
                       std::uint64_t owner);

    std::expected<void, std::string> _begin();
    void _markConnection(NPDisplayGuard& guard, std::uint64_t owner);

    void _prepareToWait();
    void _watchDescriptor(std::uint32_t events);
    void _takeEvents(xcb_generic_event_t* (*next)(xcb_connection_t* handle));
    void _takeEvent(const xcb_generic_event_t& event, NPLayoutEventsX11& events);
    void _takeRandREvent(const xcb_randr_notify_event_t& event, NPLayoutEventsX11& events);
    void _takeError(const xcb_generic_error_t& error);
    bool _updateLayout();
    void _adopt(const NPLayoutX11& layout);
    void _tellChanges(const std::vector<NPDisplayChangeX11>& changes);
    void _tellLoss();
    static bool _isNews(const QXData& profile);
    void _lookAtProfiles();

    NPConnectionX11 _connection;
    xcb_window_t _ownerWindow = XCB_WINDOW_NONE; // none for a program that does not guard the displays
    NPMainLoopLinux& _loop;
    NPCrtcTablesX11 _tables;
    std::optional<NPLayoutReaderX11> _reader; // none until _begin()
    NPDisplayIdentities _identities;
    NPDisplayListX11 _displays;
    NPLayoutEventsX11 _events; // since the layout was read
    bool _hasBeenRefused = false;
    std::vector<std::weak_ptr<const NPDisplayReconfigurationCallback>> _callbacks;
    NPProfilePropertiesX11 _profiles;
    std::map<NPDisplayID, std::size_t> _profilesSeen; // the hashes of their bytes
    bool _profilesMayHaveChanged = false;
    std::uint32_t _watchedEvents = 0;
    NPWatch _descriptorWatch;
    NPWatch _turnWatch;
};
