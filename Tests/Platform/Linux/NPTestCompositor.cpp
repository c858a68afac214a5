#include "Platform/Linux/NPTestCompositor.h"

#include "Platform/Linux/NPFileDescriptor.h"
#include "Platform/Linux/NPTestListener.h"

#include <sys/eventfd.h>
#include <sys/mman.h>
#include <unistd.h>
#include <xkbcommon/xkbcommon.h>

#include <cstdlib>
#include <stdexcept>
#include <utility>

std::string NPTestKeymap(const std::string& layouts, const std::string& variants)
{
    xkb_context* const context = xkb_context_new(XKB_CONTEXT_NO_ENVIRONMENT_NAMES);
    const xkb_rule_names names{"evdev", "pc105", layouts.c_str(), variants.c_str(), ""};
    xkb_keymap* const keymap = xkb_keymap_new_from_names(context, &names, XKB_KEYMAP_COMPILE_NO_FLAGS);
    if (keymap == nullptr) {
        throw std::runtime_error("no keymap for " + layouts);
    }
    char* const text = xkb_keymap_get_as_string(keymap, XKB_KEYMAP_FORMAT_TEXT_V1);
    std::string result(text);
    std::free(text);
    xkb_keymap_unref(keymap);
    xkb_context_unref(context);
    return result;
}

struct NPTestCompositor::Requests {
    static NPTestCompositor& of(wl_resource* resource)
    {
        return *static_cast<NPTestCompositor*>(wl_resource_get_user_data(resource));
    }

    static void bind(wl_client* client, void* data, std::uint32_t version, std::uint32_t name)
    {
        const NPTestCompositor& compositor = *static_cast<NPTestCompositor*>(data);
        wl_resource* const bound = wl_resource_create(client, &wl_seat_interface, static_cast<int>(version), name);
        wl_resource_set_implementation(bound, &seat, data, nullptr);
        wl_seat_send_capabilities(bound, compositor._seat->hasKeyboard ? WL_SEAT_CAPABILITY_KEYBOARD
                                                                       : WL_SEAT_CAPABILITY_POINTER);
    }

    static void getKeyboard(wl_client* client, wl_resource* from, std::uint32_t name)
    {
        NPTestCompositor& compositor = of(from);
        if (!compositor._seat->sendsKeymap) {
            ::shutdown(wl_client_get_fd(client), SHUT_RDWR);
            return;
        }
        wl_resource* const made =
            wl_resource_create(client, &wl_keyboard_interface, wl_resource_get_version(from), name);
        wl_resource_set_implementation(made, &keyboard, &compositor,
                                       [](wl_resource* gone) { std::erase(of(gone)._keyboards, gone); });
        compositor._keyboards.push_back(made);
        compositor._sendKeymap(made);
    }

    static void getPointer(wl_client*, wl_resource*, std::uint32_t) {}
    static void getTouch(wl_client*, wl_resource*, std::uint32_t) {}
    static void release(wl_client*, wl_resource* resource) { wl_resource_destroy(resource); }

    static int performTasks(int wakeUp, std::uint32_t, void* data)
    {
        NPTestCompositor& compositor = *static_cast<NPTestCompositor*>(data);
        eventfd_t ignored = 0;
        ::eventfd_read(wakeUp, &ignored);
        const std::lock_guard lock(compositor._mutex);
        for (std::packaged_task<void()>& task : std::exchange(compositor._tasks, {})) {
            task();
        }
        return 0;
    }

    static constexpr struct wl_seat_interface seat{getPointer, getKeyboard, getTouch, release};
    static constexpr struct wl_keyboard_interface keyboard{release};
};

NPTestCompositor::NPTestCompositor(std::optional<NPTestSeat> seat)
    : _seat(std::move(seat)), _display(wl_display_create()), _wakeUp(::eventfd(0, EFD_CLOEXEC))
{
    if (wl_display_add_socket_fd(_display, NPTestListener(displayName()).release()) != 0) {
        throw std::runtime_error("no compositor");
    }
    if (_seat) {
        wl_global_create(_display, &wl_seat_interface, 5, this, &Requests::bind);
    }
    wl_event_loop_add_fd(wl_display_get_event_loop(_display), _wakeUp, WL_EVENT_READABLE, &Requests::performTasks,
                         this);
    _thread = std::thread([this] { wl_display_run(_display); });
}

NPTestCompositor::~NPTestCompositor()
{
    _perform([this] { wl_display_terminate(_display); });
    _thread.join();
    wl_display_destroy_clients(_display);
    wl_display_destroy(_display);
    ::close(_wakeUp);
}

void NPTestCompositor::_perform(std::function<void()> task)
{
    std::packaged_task<void()> packaged([this, task = std::move(task)] {
        task();
        wl_display_flush_clients(_display);
    });
    const std::future<void> done = packaged.get_future();
    {
        const std::lock_guard lock(_mutex);
        _tasks.push_back(std::move(packaged));
    }
    ::eventfd_write(_wakeUp, 1);
    done.wait();
}

void NPTestCompositor::_sendKeymap(wl_resource* keyboard) const
{
    const std::string& text = _seat->keymap;
    const NPFileDescriptor file(::memfd_create("keymap", MFD_CLOEXEC));
    if (::write(file.get(), text.c_str(), text.size() + 1) != static_cast<ssize_t>(text.size() + 1)) {
        throw std::runtime_error("no room for a keymap");
    }
    wl_keyboard_send_keymap(keyboard, _seat->format, file.get(),
                            _seat->size.value_or(static_cast<std::uint32_t>(text.size() + 1)));
}

void NPTestCompositor::replaceKeymap(const std::string& keymap)
{
    _perform([this, &keymap] {
        _seat->keymap = keymap;
        for (wl_resource* const keyboard : _keyboards) {
            _sendKeymap(keyboard);
        }
    });
}

void NPTestCompositor::selectGroup(std::uint32_t group)
{
    _perform([this, group] {
        for (wl_resource* const keyboard : _keyboards) {
            wl_keyboard_send_modifiers(keyboard, 0, 0, 0, 0, group);
        }
    });
}
