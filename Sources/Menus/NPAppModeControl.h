// What the application is to the desktop: one that lives in the status area alone, or a regular one. While it rests
// in the status area, each of its windows still makes it a regular application, so that the window can take the
// keyboard and be found in the window switcher; when the last one closes, it goes back. Main thread only.
//
//   resting mode    windows        mode
//   regular         any            regular
//   status area     none           status area
//   status area     one or more    regular, until the last one closes
//
// Works on the installed platform and desktop (NPCurrentPlatform, NPCurrentDesktop).
#pragma once

#include "Foundation/QXNotificationCenter.h"
#include "Platform/NPWindows.h"

#include <memory>
#include <set>

// From now on it rests in the status area. At once, unless a window is open.
void NPAppModeSetDefaultUIElement();

// From now on it is a regular application. At once.
void NPAppModeSetDefaultForeground();

// Brings a window that is shown already to the front, and keeps the application a regular one until it closes.
void NPAppModeShowWindow(const std::shared_ptr<NPWindow>& window);

// Switches to the status area. Stops the program when that is not the resting mode
// ("_NPAppModeDefaultIsUIElement") or a window is open ("[_NPAppModeObserver sharedObserver].foregroundWindowCount
// == 0").
void _NPAppModeSetUIElementImpl();

// The windows that keep the application regular.
class _NPAppModeObserver {
public:
    static std::shared_ptr<_NPAppModeObserver> sharedObserver();

    std::size_t foregroundWindowCount() const { return _foregroundWindows.size(); }

    // Keeps the window until it closes. A known one changes nothing.
    void addForegroundWindow(const std::shared_ptr<NPWindow>& window);

    bool defaultIsUIElement() const { return _defaultIsUIElement; }
    void setDefaultIsUIElement(bool isUIElement) { _defaultIsUIElement = isUIElement; }

private:
    void _windowWillClose(const NPWindow* window);

    std::set<std::shared_ptr<NPWindow>> _foregroundWindows;
    bool _defaultIsUIElement = false;
    QXNotificationObserver _observer;
};
