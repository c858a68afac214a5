// Hot keys by the desktop portal, for Wayland sessions, where no program sees the keys of another.
//
// The desktop decides what the user has to press, and may ask the user about it. Registrations are accepted at
// once; at the end of the turn the desktop is asked for all of them together, if they are others than before.
// What it does not grant is refused from then on, until it is asked again for something else.
#pragma once

#include "Platform/Linux/DBus/NPShortcutsPortalDBus.h"
#include "Platform/NPHotKeyHandlerList.h"

class NPHotKeyServicesPortalDBus final : public NPHotKeyServices {
public:
    // Throws sdbus::Error when the bus cannot be reached. The loop and the host outlive the object.
    NPHotKeyServicesPortalDBus(const std::string& address, NPMainLoopLinux& loop, const NPControlModuleHost& host);

    std::expected<NPHotKeyRef, std::string> registerHotKey(const NPHotKeyRequest& request) override;
    NPHotKeySubscription installHandlers(NPHotKeyHandlers handlers) override;
    std::optional<std::string> trigger(NPHotKeyID identifier) const override;

private:
    struct Registration {
        NPHotKeyRequest request;
        NPShortcut shortcut;
    };
    using Triggers = std::map<std::string, std::string>;

    NPShortcutsHandlers _portalHandlers();
    std::vector<std::shared_ptr<Registration>> _registrations() const;
    std::optional<NPHotKeyEvent> _eventFor(const std::string& name, double seconds) const;
    std::vector<NPShortcut> _wanted() const; // in order
    void _prepareToWait();
    void _takeGranted(Triggers triggers);
    void _takeRefusal(const std::string& reason);
    void _dropRefused();
    void _takeFailure(const std::string& reason);
    void _takeRestart();

    const NPControlModuleHost& _host;
    NPShortcutsPortalDBus _portal;
    NPHotKeyHandlerList _handlers;
    std::vector<std::weak_ptr<Registration>> _known;  // who registered holds them
    std::vector<NPShortcut> _asked;                   // in this session, in order
    std::map<NPShortcut, std::string> _refusals;      // of these, by reason
    Triggers _triggers;                               // of the granted ones
    std::string _failure;                             // why there are no shortcuts at all; empty while there are
    NPWatch _turnWatch;
};
