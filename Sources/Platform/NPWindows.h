// Windows, as far as the logic has to do with them.
#pragma once

#include <memory>
#include <string_view>

// Posted on the default notification centre, with the NPWindow as object, when the user or the program closes it,
// while it is still there.
inline constexpr std::string_view NSWindowWillCloseNotification = "NSWindowWillCloseNotification";

class NPWindow {
public:
    virtual ~NPWindow() = default;

    virtual bool isVisible() const = 0;

    // Whether it disappears while the application is hidden.
    virtual void setCanHide(bool canHide) = 0;
};

// Makes a window when it is first needed, and keeps it.
class NPWindowController {
public:
    virtual ~NPWindowController() = default;

    virtual bool isWindowLoaded() const = 0; // whether it has been needed yet
    virtual std::shared_ptr<NPWindow> window() = 0; // loads it
    virtual void showWindow() = 0; // loads it; one that is visible comes to the front
};
