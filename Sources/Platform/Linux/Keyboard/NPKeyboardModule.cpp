#include "Platform/Linux/Keyboard/NPKeyboardLayoutWayland.h"
#include "Platform/Linux/Keyboard/NPKeyboardLayoutX11.h"
#include "Platform/Linux/NPKeyboardLayoutLinux.h"

#include <cstdlib>

extern "C" [[gnu::visibility("default")]] void
NPOpenKeyboardLayout(const std::string& displayName, void (*log)(std::string_view line),
                     std::unique_ptr<const NPKeyboardLayout>& layout);

// The module's entry point.
void NPOpenKeyboardLayout(const std::string& displayName, void (*log)(std::string_view line),
                          std::unique_ptr<const NPKeyboardLayout>& layout)
{
    const char* const compositor = std::getenv("WAYLAND_DISPLAY");
    if (displayName.empty() && compositor != nullptr && *compositor != '\0') {
        NPKeyboardLayoutWayland::Result opened = NPKeyboardLayoutWayland::open(compositor);
        if (opened) {
            layout = std::move(*opened);
            return;
        }
        if (!opened.error().empty()) {
            log("the keyboard layout cannot be read: " + opened.error());
        }
    }
    layout = NPKeyboardLayoutX11::open(displayName);
}
