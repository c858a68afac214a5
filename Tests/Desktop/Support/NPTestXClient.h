// Another program on an X server: a window of its own with the keyboard focus, which sees the keys that
// nobody has grabbed; and grabs that it takes before the program under test does.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <string>

class NPTestXClient {
public:
    // Connects, shows the window and waits until it has the focus. Throws when it cannot.
    explicit NPTestXClient(const std::string& displayName);

    // What keys it has seen since the last question: "+40-40" is a press and a release of key code 40.
    std::string takeKeys();

    // Grabs a key code with exactly these modifiers on the root window. Throws when it is taken.
    void grab(xcb_keycode_t keyCode, std::uint16_t modifiers);
    void ungrab(xcb_keycode_t keyCode, std::uint16_t modifiers);

    // Keys of the keyboard go down and come up, as if somebody pressed them.
    void press(xcb_keycode_t keyCode) { _fakeKey(XCB_KEY_PRESS, keyCode); }
    void release(xcb_keycode_t keyCode) { _fakeKey(XCB_KEY_RELEASE, keyCode); }

    // Switches to another of the keyboard's layouts, counted from 0.
    void lockLayout(std::uint8_t layout);

    void synchronize(); // waits until the server has done everything so far

private:
    struct Disconnect {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };

    void _fakeKey(std::uint8_t type, xcb_keycode_t keyCode);

    std::unique_ptr<xcb_connection_t, Disconnect> _connection;
    xcb_window_t _root = 0;
    xcb_window_t _window = 0;
};
