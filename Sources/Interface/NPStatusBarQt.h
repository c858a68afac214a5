// The status area by QSystemTrayIcon: StatusNotifier hosts and X11 trays.
//
// Items may be made before there is a Qt application: they are remembered, and shown from start() on, as soon as the
// desktop has a status area. Their images are drawn in a colour that stands out from the panel. An X11 tray shows
// what it looks like; for others the desktop's colour scheme is a guess, and a contour helps where it is wrong.
#pragma once

#include "Platform/NPStatusBar.h"

#include <functional>
#include <memory>
#include <vector>

class NPStatusBarQt final : public NPStatusBar {
public:
    NPStatusBarQt();
    ~NPStatusBarQt() override;

    double appKitVersionNumber() const override { return NPStatusItemVersion; }
    std::unique_ptr<NPStatusItem> statusItemWithLength(double length) override;

    // To be called once there is an application, and stop() before it goes.
    void start();
    void stop();

    // Whether an item of ours is in a status area now.
    bool isShown() const;

private:
    class Item;
    struct State;
    const std::shared_ptr<State> _state; // items may outlive the bar's last user
};
