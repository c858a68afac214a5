// One connection to an X server, with waits that end also when the server does not answer.
#pragma once

#include <xcb/xcb.h>
#include <xcb/xcbext.h>

#include <chrono>
#include <cstdlib>
#include <expected>
#include <memory>
#include <string>
#include <string_view>

struct NPFreeX11 {
    void operator()(void* memory) const { std::free(memory); }
};

// A reply, an error or an event, as the client library hands it out.
template<typename Content>
using NPContentX11 = std::unique_ptr<Content, NPFreeX11>;

class NPConnectionX11 {
public:
    // How long a server may take to answer before it counts as not responding.
    static constexpr std::chrono::milliseconds patience{2000};

    // Connects to the display of that name, or to the one in DISPLAY when it is empty. The error is one line
    // for people. Has the process ignore SIGPIPE where nobody has decided about it: a server that goes away
    // shall be an error of the connection, not the end of the program.
    static std::expected<NPConnectionX11, std::string> open(const std::string& displayName);

    xcb_connection_t* handle() const { return _handle.get(); }
    xcb_window_t root() const { return _root; }
    int screen() const { return _screen; } // the number of the screen whose root it is
    const std::string& name() const { return _name; } // of the display, for messages
    int descriptor() const { return xcb_get_file_descriptor(handle()); }

    // The server has gone, or has thrown the program out. Nothing can be done on the connection any more.
    bool isLost() const { return xcb_connection_has_error(handle()) != 0; }

    // Whether a table can be written without waiting for the server to read: true until it lags about a
    // quarter of the socket's buffer behind. True on a lost connection.
    bool hasRoom() const;

    // Waits for room. False when the server does not respond.
    bool waitForRoom() const;

    // The answer to a request; none for an error, for a lost connection, and when the server does not
    // respond. Once it has not responded, later calls wait no more while isResponding() is false. Requests
    // may be sent together and their replies collected afterwards, in order.
    template<typename Reply>
    NPContentX11<Reply> reply(unsigned int sequence)
    {
        return NPContentX11<Reply>(static_cast<Reply*>(_waitForReply(sequence)));
    }

    // Whether every wait so far, or since the server last sent something, has had an answer. While it is
    // false, nothing is to be asked: the questions would only pile up.
    bool isResponding();

    // How many waits have had no answer, so that one can tell afterwards whether one of several had none.
    unsigned int unansweredCount() const { return _unansweredCount; }

    // Drops what the server has said without being asked, for users who want none of it: some is sent to everybody.
    void dropEvents();

    // To be called when something has come from the server.
    void noticeActivity() { _isResponding = true; }

    // Waits until the server has executed every request so far. False when it does not respond or has gone.
    bool synchronize();

    // The number of a name in the server, made if need be: the sequence for atomReply().
    unsigned int requestAtom(std::string_view name) const;
    xcb_atom_t atomReply(unsigned int sequence); // 0 on failure

private:
    struct Disconnect {
        void operator()(xcb_connection_t* handle) const { xcb_disconnect(handle); }
    };

    void* _waitForReply(unsigned int sequence);

    std::unique_ptr<xcb_connection_t, Disconnect> _handle;
    xcb_window_t _root = 0;
    int _screen = 0;
    std::string _name;
    bool _isResponding = true;
    unsigned int _unansweredCount = 0;
};
