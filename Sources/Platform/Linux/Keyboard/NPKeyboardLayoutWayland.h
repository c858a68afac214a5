// The keyboard layout of a Wayland compositor, by the keymap that it gives to every program that asks.
//
// A program without the keyboard's focus is not told which of several layouts is switched to: it is the first one
// then. A keymap that replaces the former is taken up at the next question; questions do not wait. When the
// compositor goes, the last keymap stays. For one thread.
#pragma once

#include "Platform/Linux/Keyboard/NPKeymap.h"
#include "Platform/Linux/NPFileDescriptor.h"
#include "Platform/NPKeyboardLayout.h"

#include <wayland-client.h>

#include <chrono>
#include <expected>
#include <memory>
#include <vector>

class NPKeyboardLayoutWayland final : public NPKeyboardLayout {
public:
    using Result = std::expected<std::unique_ptr<NPKeyboardLayoutWayland>, std::string>;

    // Of the display of that name: a socket's path, or its name in XDG_RUNTIME_DIR. The compositor gets a second
    // to answer. The error is a few words for people; empty when there is no such display or it has no keyboard.
    static Result open(const std::string& displayName);

    NPKeyboardLayoutWayland(const NPKeyboardLayoutWayland&) = delete; // the library knows its address
    NPKeyboardLayoutWayland& operator=(const NPKeyboardLayoutWayland&) = delete;

    std::string charactersForKeyCode(std::uint16_t keyCode) const override;

private:
    struct Release {
        void operator()(wl_display* display) const { wl_display_disconnect(display); }
        void operator()(wl_registry* registry) const { wl_registry_destroy(registry); }
        void operator()(wl_callback* callback) const { wl_callback_destroy(callback); }
        void operator()(wl_seat* seat) const { wl_seat_destroy(seat); }
        void operator()(wl_keyboard* keyboard) const;
    };
    struct Listeners;
    using Time = std::chrono::steady_clock::time_point;

    NPKeyboardLayoutWayland() = default;

    std::string _begin(wl_display* display);
    bool _awaitAnswers(Time end);
    void _readEvents(int milliseconds) const;
    void _seatHasKeyboard(wl_seat* seat, bool hasKeyboard);
    void _takeKeymap(std::uint32_t format, const NPFileDescriptor& file, std::uint32_t size);

    std::unique_ptr<xkb_context, NPKeymapRelease> _context;
    std::unique_ptr<wl_display, Release> _display;
    std::unique_ptr<wl_registry, Release> _registry;
    std::unique_ptr<wl_callback, Release> _answer; // until it is there
    std::vector<std::unique_ptr<wl_seat, Release>> _seats;
    wl_seat* _keyboardSeat = nullptr; // whose keyboard it is; none without one
    std::unique_ptr<wl_keyboard, Release> _keyboard;
    xkb_layout_index_t _layout = 0;
    std::optional<NPKeymap> _keymap;
    bool _isKeymapBad = false; // the latest one
};
