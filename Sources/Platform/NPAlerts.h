// Questions and warnings to the user.
#pragma once

#include "Platform/NPWindows.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

enum class NPAlertStyle : std::uint32_t { warning = 0, informational = 1, critical = 2 };

// Texts are localized already. Without buttons it has one, the desktop's own "OK".
struct NPAlert {
    std::string messageText;
    std::string informativeText = {};
    std::vector<std::string> buttons = {}; // the first is the default one
    NPAlertStyle style = NPAlertStyle::warning;
    std::string icon = {}; // a name or an absolute path; empty for the application's own
};

// What an alert answers when its first button was chosen; the second answers one more, and so on. Closing it in
// another way answers the last one.
inline constexpr int NPAlertFirstButtonReturn = 1000;
inline constexpr int NPAlertSecondButtonReturn = 1001;

class NPAlerts {
public:
    virtual ~NPAlerts() = default;

    // Blocks until it is answered. Timers and everything else on the main thread go on meanwhile, also the
    // program's end: then it answers as if it had been closed.
    virtual int runModal(const NPAlert& alert) = 0;

    // On the window; returns at once. The answer, once there is one, goes to `completion`, which may be empty.
    virtual void beginSheet(const NPAlert& alert, const std::shared_ptr<NPWindow>& window,
                            std::function<void(int answer)> completion) = 0;
};
