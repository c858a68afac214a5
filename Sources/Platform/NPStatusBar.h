// The desktop's status area (tray), and an item of ours in it.
#pragma once

#include "Platform/NPMenu.h"

#include <memory>
#include <string>

// In the status area for as long as somebody holds it. Where the desktop has no status area, or not yet, the item
// is nowhere to be seen; it appears as soon as there is one.
class NPStatusItem {
public:
    virtual ~NPStatusItem() = default;

    // What opens when it is clicked. Held by the item.
    virtual void setMenu(std::shared_ptr<NPMenu> menu) = 0;

    // Whether it shows that its menu is open.
    virtual void setHighlightMode(bool highlight) = 0;

    // The name of a template image: one colour on transparent ground, which the desktop shows in a colour that
    // stands out from its panel.
    virtual void setImage(const std::string& name) = 0;
};

class NPStatusBar {
public:
    virtual ~NPStatusBar() = default;

    // The version of the desktop's interface for applications. From NPStatusItemVersion on, status items can be had;
    // desktops that do not count so answer with it.
    virtual double appKitVersionNumber() const = 0;

    // Empty at first: no menu, no image. The length is in points along the status area; where all items have one
    // size, it plays no part. The bar outlives its items.
    virtual std::unique_ptr<NPStatusItem> statusItemWithLength(double length) = 0;
};

inline constexpr double NPStatusItemVersion = 1138.0;
