// The desktop portal's global shortcuts (org.freedesktop.portal.GlobalShortcuts), one session at a time.
//
// Nothing here waits for the portal, which may have to be started first and may ask the user: answers come to the
// handlers, from the main loop, and each step of a session begins in a later turn than the answer before it.
#pragma once

#include "Platform/Linux/DBus/NPServingDBus.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// What the desktop is asked for.
struct NPShortcut {
    std::string name;
    std::string description;
    std::string preferredTrigger; // "CTRL+ALT+d"

    friend auto operator<=>(const NPShortcut&, const NPShortcut&) = default;
};

struct NPShortcutsHandlers {
    // What the desktop has granted: what has to be pressed, by the shortcuts' names.
    std::function<void(std::map<std::string, std::string> triggers)> bound;
    std::function<void(std::map<std::string, std::string> triggers)> triggersChanged;

    std::function<void(const std::string& name, double seconds)> activated;
    std::function<void(const std::string& name, double seconds)> deactivated;

    // The shortcuts that were asked for are refused, or have been taken away; others may be granted.
    std::function<void(std::string reason)> refused;

    // There are no shortcuts any more, or never were any. The portal may come back: then restarted() is called.
    std::function<void(std::string reason)> failed;
    std::function<void()> restarted;
};

class NPShortcutsPortalDBus {
public:
    // Throws sdbus::Error when the bus cannot be reached. The loop and the host outlive the object.
    NPShortcutsPortalDBus(const std::string& address, NPMainLoopLinux& loop, const NPControlModuleHost& host,
                          NPShortcutsHandlers handlers);
    NPShortcutsPortalDBus(const NPShortcutsPortalDBus&) = delete;
    NPShortcutsPortalDBus& operator=(const NPShortcutsPortalDBus&) = delete;
    ~NPShortcutsPortalDBus(); // closes the session

    // Ends the session that there is, and binds the shortcuts in a new one, or none when there are none to bind.
    // Not while one is being bound.
    void bind(std::vector<NPShortcut> shortcuts);

    // Whether an answer to bind() is still to come.
    bool isBinding() const { return _isBinding; }

private:
    using Details = std::map<std::string, sdbus::Variant>;
    using Shortcuts = std::vector<sdbus::Struct<std::string, Details>>;
    using TakeAnswer = void (NPShortcutsPortalDBus::*)(Details& results);

    void _listenToPortal();
    void _takeOwnerChange(const std::string& former, const std::string& owner);
    void _createSession();
    void _takeSession(Details& results);
    void _bindShortcuts();
    void _takeShortcuts(Details& results);
    std::string _expectAnswer(TakeAnswer take);
    void _takeResponse(std::uint32_t response, Details results, TakeAnswer take);
    void _proceed(std::uint32_t response, Details& results, TakeAnswer take);
    void _takeCallError(const sdbus::Error* error);
    void _endSession();
    void _fail(const std::string& reason);
    void _abandon(const std::function<void()>& tell);
    void _later(std::function<void()> work);
    static std::map<std::string, std::string> _triggers(const Shortcuts& shortcuts);

    const std::shared_ptr<sdbus::IConnection> _connection;
    NPMainQueue& _mainQueue;
    NPShortcutsHandlers _handlers;
    std::unique_ptr<sdbus::IProxy> _bus;
    std::unique_ptr<sdbus::IProxy> _portal;
    std::unique_ptr<sdbus::IProxy> _session; // none while there is none
    std::unique_ptr<sdbus::IProxy> _request; // whose answer is awaited, or was taken last
    std::vector<NPShortcut> _shortcuts;
    bool _isBinding = false;
    unsigned int _requestCount = 0;
    std::shared_ptr<NPServingDBus> _serving;
    std::shared_ptr<bool> _alive; // for what is to be done in a later turn
};
