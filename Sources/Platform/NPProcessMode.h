// What the process is to the desktop.
#pragma once

#include <cstdint>

enum class NPProcessType : std::uint32_t {
    foregroundApplication = 1, // in the task bar, the window switcher and the launcher
    uiElement = 4,             // in none of them: a status item alone
};

class NPProcessMode {
public:
    virtual ~NPProcessMode() = default;

    // At once. False when the platform refuses.
    virtual bool transformProcessType(NPProcessType type) = 0;

    // Brings the application's windows to the front; with the flag, also while somebody works in another one.
    virtual void activateIgnoringOtherApps(bool ignoringOthers) = 0;
};
