// A Wayland compositor with nothing but a seat: gives its keymap to whoever asks, or does what the test says
// instead. Runs in a thread of its own.
#pragma once

#include "Platform/Linux/NPTemporaryFolder.h"

#include <wayland-server.h>

#include <cstdint>
#include <functional>
#include <future>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

// A complete keymap, as compositors give it. Several layouts are separated by commas.
std::string NPTestKeymap(const std::string& layouts, const std::string& variants = "");

struct NPTestSeat {
    std::string keymap = {};
    std::uint32_t format = WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1;
    std::optional<std::uint32_t> size = {}; // what is said of the keymap's size, instead of the truth
    bool hasKeyboard = true;
    bool sendsKeymap = true; // else it ends the connection where the keymap would come
};

class NPTestCompositor {
public:
    explicit NPTestCompositor(std::optional<NPTestSeat> seat); // none: without a seat
    ~NPTestCompositor();
    NPTestCompositor(const NPTestCompositor&) = delete;
    NPTestCompositor& operator=(const NPTestCompositor&) = delete;

    // For WAYLAND_DISPLAY.
    std::string displayName() const { return _folder / "wayland-test"; }

    // To the keyboards that there are. All is sent when they return.
    void replaceKeymap(const std::string& keymap);
    void selectGroup(std::uint32_t group);

private:
    struct Requests;

    void _perform(std::function<void()> task);
    void _sendKeymap(wl_resource* keyboard) const;

    const NPTemporaryFolder _folder;
    std::optional<NPTestSeat> _seat;
    wl_display* const _display;
    std::vector<wl_resource*> _keyboards;
    const int _wakeUp;
    std::mutex _mutex;
    std::vector<std::packaged_task<void()>> _tasks;
    std::thread _thread;
};
