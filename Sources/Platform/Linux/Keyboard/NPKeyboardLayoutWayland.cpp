#include "Platform/Linux/Keyboard/NPKeyboardLayoutWayland.h"

#include <poll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

constexpr std::chrono::milliseconds patience(1000);

// From version 3 on a keyboard can be given back. Later versions have nothing for us.
constexpr std::uint32_t seatVersion = 3;

// A keymap of four layouts has some 100 kB.
constexpr std::uint32_t longestKeymap = 4U << 20U;

constexpr const char* notResponding = "the Wayland compositor does not respond";

std::optional<sockaddr_un> addressOf(const std::string& displayName)
{
    std::string path = displayName;
    if (!path.starts_with('/')) {
        const char* const folder = std::getenv("XDG_RUNTIME_DIR");
        if (folder == nullptr) {
            return std::nullopt;
        }
        path = std::string(folder) + '/' + displayName;
    }
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        return std::nullopt;
    }
    std::ranges::copy(path, address.sun_path);
    return address;
}

// Not by the library, which would wait without end for a compositor that accepts nobody.
std::expected<NPFileDescriptor, std::string> connectTo(const std::string& displayName)
{
    const std::optional<sockaddr_un> address = addressOf(displayName);
    NPFileDescriptor file(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!address || !file) {
        return std::unexpected("");
    }
    if (::connect(file.get(), reinterpret_cast<const sockaddr*>(&*address), sizeof *address) != 0) {
        return std::unexpected(errno == EAGAIN ? notResponding : "");
    }
    return file;
}

// The text of a keymap, for as long as the object lives.
class MappedKeymap {
public:
    MappedKeymap(const NPFileDescriptor& file, std::uint32_t size) : _size(size)
    {
        struct stat status{};
        // Reading beyond the file's end would end the program.
        if (size == 0 || size > longestKeymap || ::fstat(file.get(), &status) != 0 || status.st_size < size) {
            return;
        }
        // Compositors may give a file to all that only they can write, which cannot be shared.
        _start = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.get(), 0);
    }
    ~MappedKeymap()
    {
        if (_start != MAP_FAILED) {
            ::munmap(_start, _size);
        }
    }
    MappedKeymap(const MappedKeymap&) = delete;
    MappedKeymap& operator=(const MappedKeymap&) = delete;

    // Empty when it cannot be read.
    std::string_view text() const
    {
        if (_start == MAP_FAILED) {
            return {};
        }
        const char* const characters = static_cast<const char*>(_start);
        return {characters, ::strnlen(characters, _size)}; // a zero byte ends it
    }

private:
    void* _start = MAP_FAILED;
    std::size_t _size;
};

} // namespace

// The library's callbacks. It ends the program at an event without one, so that each has one.
struct NPKeyboardLayoutWayland::Listeners {
    static NPKeyboardLayoutWayland& of(void* data) { return *static_cast<NPKeyboardLayoutWayland*>(data); }

    static void global(void* data, wl_registry* registry, std::uint32_t name, const char* interface,
                       std::uint32_t version)
    {
        if (std::string_view(interface) != wl_seat_interface.name) {
            return;
        }
        auto* const bound = static_cast<wl_seat*>(
            wl_registry_bind(registry, name, &wl_seat_interface, std::min(version, seatVersion)));
        if (bound != nullptr) {
            of(data)._seats.emplace_back(bound);
            wl_seat_add_listener(bound, &seatListener, data);
        }
    }

    static void capabilities(void* data, wl_seat* seat, std::uint32_t capabilities)
    {
        of(data)._seatHasKeyboard(seat, (capabilities & WL_SEAT_CAPABILITY_KEYBOARD) != 0);
    }

    static void keymap(void* data, wl_keyboard*, std::uint32_t format, std::int32_t file, std::uint32_t size)
    {
        of(data)._takeKeymap(format, NPFileDescriptor(file), size);
    }

    static void modifiers(void* data, wl_keyboard*, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t,
                          std::uint32_t group)
    {
        of(data)._layout = group;
        if (of(data)._keymap) {
            of(data)._keymap->selectLayout(group);
        }
    }

    static void done(void* data, wl_callback*, std::uint32_t) { of(data)._answer.reset(); }

    static void globalRemove(void*, wl_registry*, std::uint32_t) {}
    static void name(void*, wl_seat*, const char*) {}
    static void enter(void*, wl_keyboard*, std::uint32_t, wl_surface*, wl_array*) {}
    static void leave(void*, wl_keyboard*, std::uint32_t, wl_surface*) {}
    static void key(void*, wl_keyboard*, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t) {}
    static void repeatInfo(void*, wl_keyboard*, std::int32_t, std::int32_t) {}

    static constexpr wl_registry_listener registryListener{global, globalRemove};
    static constexpr wl_callback_listener answerListener{done};
    static constexpr wl_seat_listener seatListener{capabilities, name};
    static constexpr wl_keyboard_listener keyboardListener{keymap, enter, leave, key, modifiers, repeatInfo};
};

void NPKeyboardLayoutWayland::Release::operator()(wl_keyboard* keyboard) const
{
    if (wl_keyboard_get_version(keyboard) >= WL_KEYBOARD_RELEASE_SINCE_VERSION) {
        wl_keyboard_release(keyboard);
    } else {
        wl_keyboard_destroy(keyboard);
    }
}

NPKeyboardLayoutWayland::Result NPKeyboardLayoutWayland::open(const std::string& displayName)
{
    auto file = connectTo(displayName);
    if (!file) {
        return std::unexpected(file.error());
    }
    // What is wrong is said in one line of ours; the library would add some for its own developers.
    wl_log_set_handler_client([](const char*, va_list) {});
    std::unique_ptr<NPKeyboardLayoutWayland> layout(new NPKeyboardLayoutWayland());
    const std::string problem = layout->_begin(wl_display_connect_to_fd(file->release()));
    if (!problem.empty() || !layout->_keymap) {
        return std::unexpected(problem);
    }
    return layout;
}

// What is wrong; empty when nothing is, be there a keyboard or not.
std::string NPKeyboardLayoutWayland::_begin(wl_display* display)
{
    _display.reset(display);
    _context.reset(xkb_context_new(XKB_CONTEXT_NO_DEFAULT_INCLUDES));
    _registry.reset(_display ? wl_display_get_registry(display) : nullptr);
    if (!_context || !_registry) {
        return "not enough memory";
    }
    xkb_context_set_log_fn(_context.get(), [](xkb_context*, xkb_log_level, const char*, va_list) {});
    wl_registry_add_listener(_registry.get(), &Listeners::registryListener, this);
    const Time end = std::chrono::steady_clock::now() + patience;
    // The seats come with the first answer, their keyboards with the second, and a keyboard's map with the third.
    for (int answer = 1; answer <= 3; ++answer) {
        if (!_awaitAnswers(end)) {
            return wl_display_get_error(display) == 0 ? notResponding
                                                      : "the connection to the Wayland compositor is lost";
        }
    }
    return _isKeymapBad ? "the Wayland compositor's keymap cannot be used" : "";
}

// Everything that has been asked is answered when the last question is. False when it is not in time or the
// connection is lost.
bool NPKeyboardLayoutWayland::_awaitAnswers(Time end)
{
    _answer.reset(wl_display_sync(_display.get()));
    if (_answer) {
        wl_callback_add_listener(_answer.get(), &Listeners::answerListener, this);
    }
    while (_answer && wl_display_get_error(_display.get()) == 0) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            return false;
        }
        _readEvents(static_cast<int>(left.count()));
    }
    return wl_display_get_error(_display.get()) == 0;
}

// Waits for events for as long, and handles them.
void NPKeyboardLayoutWayland::_readEvents(int milliseconds) const
{
    wl_display* const display = _display.get();
    while (wl_display_prepare_read(display) != 0) { // some are read already
        if (wl_display_dispatch_pending(display) < 0) {
            return;
        }
    }
    wl_display_flush(display);
    pollfd descriptor{wl_display_get_fd(display), POLLIN, 0};
    if (::poll(&descriptor, 1, milliseconds) > 0) {
        wl_display_read_events(display);
    } else {
        wl_display_cancel_read(display);
    }
    wl_display_dispatch_pending(display);
}

void NPKeyboardLayoutWayland::_seatHasKeyboard(wl_seat* seat, bool hasKeyboard)
{
    if (hasKeyboard && !_keyboard) {
        _keyboard.reset(wl_seat_get_keyboard(seat));
        _keyboardSeat = seat;
        if (_keyboard) {
            wl_keyboard_add_listener(_keyboard.get(), &Listeners::keyboardListener, this);
        }
    } else if (!hasKeyboard && seat == _keyboardSeat) {
        _keyboard.reset();
        _keyboardSeat = nullptr;
    }
}

void NPKeyboardLayoutWayland::_takeKeymap(std::uint32_t format, const NPFileDescriptor& file, std::uint32_t size)
{
    const MappedKeymap mapped(file, size);
    const std::string_view text = format == WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1 ? mapped.text() : std::string_view();
    std::optional<NPKeymap> keymap;
    if (!text.empty()) {
        keymap = NPKeymap::withKeymap(xkb_keymap_new_from_buffer(_context.get(), text.data(), text.size(),
                                                                 XKB_KEYMAP_FORMAT_TEXT_V1,
                                                                 XKB_KEYMAP_COMPILE_NO_FLAGS),
                                      _layout);
    }
    _isKeymapBad = !keymap;
    if (keymap) {
        _keymap = std::move(keymap);
    }
}

std::string NPKeyboardLayoutWayland::charactersForKeyCode(std::uint16_t keyCode) const
{
    if (wl_display_get_error(_display.get()) == 0) {
        _readEvents(0);
    }
    return _keymap->charactersForKeyCode(keyCode);
}
