// A session bus for one test: a dbus-daemon of its own, which is what the environment names meanwhile.
#pragma once

#include "Platform/Linux/NPTemporaryFolder.h"
#include "Platform/Linux/NPTestProcess.h"

#include <signal.h>

#include <optional>
#include <string>

// Sets a variable of the environment, or removes it, for as long as it lives.
class NPTestVariable {
public:
    NPTestVariable(const char* name, const std::optional<std::string>& value);
    ~NPTestVariable();
    NPTestVariable(const NPTestVariable&) = delete;
    NPTestVariable& operator=(const NPTestVariable&) = delete;

private:
    void _set(const std::optional<std::string>& value);

    const char* const _name;
    std::optional<std::string> _former;
};

class NPTestSessionBus {
public:
    NPTestSessionBus();

    std::string address() const { return "unix:path=" + (_folder / "bus").string(); }
    const NPTemporaryFolder& folder() const { return _folder; }

    // A service that the bus would start for whoever calls it by that name.
    void addActivatableService(const std::string& name, const std::string& program);

    void end() { _daemon->kill(); }
    void begin(); // another daemon at the same address, for nobody yet
    void freeze() { _daemon->signal(SIGSTOP); } // until the end

private:
    NPTemporaryFolder _folder;
    std::optional<NPTestProcess> _daemon;
    std::optional<NPTestVariable> _variable;
};
