// Hot keys by grabs on the root window of an X server.
//
// A registration costs the wait for one answer, and nothing when the combination has been unregistered in
// the same turn of the loop: grabs are given up at the end of the turn only, so that registering everything
// anew leaves no gap in which a key press gets lost, or another program takes the combination. A key that is
// held down is one press. When the keyboard map changes, each registration moves to where its key is now.
// Main thread only.
#pragma once

#include "Platform/Linux/NPKeyGrabsX11.h"
#include "Platform/Linux/NPMainLoopLinux.h"
#include "Platform/Linux/NPXkbX11.h"
#include "Platform/NPHotKeyHandlerList.h"

#include <map>

class NPHotKeyServicesX11 final : public NPHotKeyServices {
public:
    // On the display of that name, or the one in DISPLAY when it is empty, with a connection of its own. The
    // error is one line. The loop must outlive the object.
    static std::expected<std::unique_ptr<NPHotKeyServicesX11>, std::string> open(const std::string& displayName,
                                                                                 NPMainLoopLinux& loop);

    NPHotKeyServicesX11(const NPHotKeyServicesX11&) = delete;
    NPHotKeyServicesX11& operator=(const NPHotKeyServicesX11&) = delete;
    ~NPHotKeyServicesX11() override;

    std::expected<NPHotKeyRef, std::string> registerHotKey(const NPHotKeyRequest& request) override;
    NPHotKeySubscription installHandlers(NPHotKeyHandlers handlers) override;
    std::optional<std::string> trigger(NPHotKeyID) const override { return std::nullopt; }

private:
    struct Registration {
        NPHotKeyRequest request;
        NPKeyGrabX11 grab;
    };

    explicit NPHotKeyServicesX11(NPConnectionX11 connection) : _connection(std::move(connection)) {}

    std::expected<void, std::string> _begin(NPMainLoopLinux& loop);
    std::expected<NPKeyGrabX11, std::string> _grabFor(const NPHotKeyRequest& request) const;
    std::vector<std::shared_ptr<Registration>> _registrations() const;
    std::shared_ptr<Registration> _registrationWithGrab(const NPKeyGrabX11& grab) const;

    void _prepareToWait();
    void _takeEvents(xcb_generic_event_t* (*next)(xcb_connection_t* handle));
    void _takeEvent(const xcb_generic_event_t& event);
    void _takePress(const xcb_key_press_event_t& event);
    void _takeRelease(const xcb_key_release_event_t& event);
    std::optional<NPHotKeyEvent> _eventFor(const NPKeyGrabX11& grab, const xcb_key_press_event_t& event) const;
    void _followKeyboard();
    void _giveUpUnusedGrabs();
    void _tellLoss();

    NPConnectionX11 _connection;
    NPKeyGrabsX11 _grabs{_connection};
    NPKeyboardX11 _keyboard;
    std::optional<NPXkbX11> _xkb; // none until _begin()
    bool _keyboardHasChanged = false;
    std::vector<std::weak_ptr<Registration>> _known; // who registered holds them
    std::map<xcb_keycode_t, NPKeyGrabX11> _pressed;  // the keys that are down, by what they were pressed as
    NPHotKeyHandlerList _handlers;
    NPWatch _descriptorWatch;
    NPWatch _turnWatch;
};
