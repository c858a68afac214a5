// The door of a running instance with windows: by it, a second start brings the first one's window up, or hands it
// an effect file. A socket beside the instance's lock, open to the user alone; it works without a session bus.
#pragma once

#include "Platform/Linux/NPFileDescriptor.h"
#include "Platform/Linux/NPMainLoopLinux.h"

#include <expected>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

// What is asked: a word ("show", "open", "toggle"), and what it is about.
struct NPInstanceRequest {
    std::string word;
    std::string argument; // the path of a file; empty for most
    std::string token = {}; // what the desktop gave the start that asks
};

// The error is one line for people.
using NPInstanceAnswer = std::expected<void, std::string>;

class NPInstanceDoor {
public:
    using Handler = std::function<NPInstanceAnswer(const NPInstanceRequest& request)>;

    // To be opened by the holder of the lock only: it takes the place of a door that was left behind. The error is
    // one line.
    static std::expected<std::unique_ptr<NPInstanceDoor>, std::string> open(NPMainLoopLinux& loop,
                                                                            Handler handler);

    ~NPInstanceDoor();
    NPInstanceDoor(const NPInstanceDoor&) = delete;
    NPInstanceDoor& operator=(const NPInstanceDoor&) = delete;

    // Asks the running instance, and waits up to ten seconds for its answer; one that has only just started gets two
    // seconds to open its door.
    static NPInstanceAnswer ask(const NPInstanceRequest& request);

private:
    struct Visitor {
        NPFileDescriptor socket;
        std::string received;
        NPWatch watch;
    };

    NPInstanceDoor(NPMainLoopLinux& loop, Handler handler, std::string path, NPFileDescriptor socket);

    void _letIn();
    void _read(int descriptor);
    void _answer(int descriptor);

    NPMainLoopLinux& _loop;
    const Handler _handler;
    const std::string _path;
    const NPFileDescriptor _socket;
    NPWatch _watch;
    std::map<int, Visitor> _visitors; // by descriptor
};
