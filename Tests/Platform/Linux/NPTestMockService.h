// A service on a test's bus that does and announces what the test wants: python-dbusmock.
#pragma once

#include "Platform/Linux/NPTestProcess.h"

#include <memory>
#include <string>
#include <vector>

class NPTestMockService {
public:
    // The login manager or a screen saver of GNOME, by the mock's templates.
    static NPTestMockService loginManager();
    static NPTestMockService gnomeScreenSaver();

    // One of these names, with nothing to call yet.
    static NPTestMockService empty(const std::string& name, const std::string& path);

    // Runs Python statements in which `mock` is the service's object, to be told what to do, and at(path) another
    // object of it. Throws when they fail.
    void tell(const std::string& statements) const;

    void kill() { _process->kill(); }

private:
    NPTestMockService(const std::vector<std::string>& arguments, std::string bus, std::string name,
                      std::string path);

    std::string _bus; // "SystemBus" or "SessionBus"
    std::string _name;
    std::string _path;
    std::unique_ptr<NPTestProcess> _process;
};
