// A session manager (XSMP), as a desktop has one: programs register with it, and it ends the session.
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <thread>

class NPTestSessionManager {
public:
    // Listens from now on, on a thread of its own. Throws when it cannot. One at a time.
    NPTestSessionManager();
    ~NPTestSessionManager();
    NPTestSessionManager(const NPTestSessionManager&) = delete;
    NPTestSessionManager& operator=(const NPTestSessionManager&) = delete;

    // What programs find in SESSION_MANAGER.
    const std::string& address() const { return _address; }

    // Whether a program has registered and done what is asked of it at first.
    bool hasClient() const { return _hasClient; }

    // Asks the program to save what it has to, then to end.
    void endSession() { _isEnding = true; }

    struct State;

private:
    std::string _address;
    std::atomic<bool> _hasClient = false;
    std::atomic<bool> _isEnding = false;
    std::atomic<bool> _isStopping = false;
    std::unique_ptr<State> _state;
    std::thread _thread;
};
