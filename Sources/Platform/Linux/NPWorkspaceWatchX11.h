// What an X server tells of the desktop: its own screen saver, and applications that end.
//
// On a connection of its own, made by whoever first wants something of it. When the server goes, a running screen
// saver counts as ended and nothing more is told. Handlers are called from the main loop. Main thread only.
#pragma once

#include "Platform/Linux/NPMainLoopLinux.h"
#include "Platform/Linux/NPScreenSaverX11.h"
#include "Platform/Linux/NPWindowListX11.h"

#include <functional>
#include <memory>

class NPWorkspaceWatchX11 {
public:
    // On the display of that name, or the one in DISPLAY when it is empty. The error is one line. The loop must
    // outlive the object.
    static std::expected<std::unique_ptr<NPWorkspaceWatchX11>, std::string> open(const std::string& displayName,
                                                                                 NPMainLoopLinux& loop);
    NPWorkspaceWatchX11(const NPWorkspaceWatchX11&) = delete;
    NPWorkspaceWatchX11& operator=(const NPWorkspaceWatchX11&) = delete;

    // Calls the handler whenever the screen saver begins or ends; at once when it runs already. The error is one
    // line.
    std::expected<void, std::string> watchScreenSaver(std::function<void(bool isActive)> handler);

    // Calls the handler whenever an application has ended.
    std::expected<void, std::string> watchApplications(std::function<void()> handler);

private:
    explicit NPWorkspaceWatchX11(NPConnectionX11 connection) : _connection(std::move(connection)) {}

    std::unexpected<std::string> _refusal(const std::string& reason) const;
    void _prepareToWait();
    void _takeEvents(xcb_generic_event_t* (*next)(xcb_connection_t* handle));
    void _tellLoss();

    NPConnectionX11 _connection;
    std::optional<NPScreenSaverX11> _screenSaver;
    std::function<void(bool)> _screenSaverHandler;
    std::optional<NPWindowListX11> _windows;
    std::function<void()> _applicationHandler;
    bool _windowsHaveChanged = false;
    NPWatch _descriptorWatch;
    NPWatch _turnWatch;
};
