// The colour service of a desktop, for one test: a system bus with the real colord, and the real xiccd, which
// tells it of the displays of the X server in DISPLAY and loads what it says they use.
#pragma once

#include "Platform/Linux/NPTemporaryFolder.h"
#include "Platform/Linux/NPTestProcess.h"
#include "Platform/Linux/NPTestSessionBus.h"

#include <optional>
#include <string>
#include <vector>

class NPTestColorService {
public:
    // Makes the bus; the environment names it meanwhile. Everybody may use the service, or nobody.
    explicit NPTestColorService(bool isPermitted = true);

    // Returns when the service knows the displays on these connectors.
    void start(const std::vector<std::string>& connectors);
    void freeze() { _colord->signal(SIGSTOP); } // until the end
    void end() { _colord->kill(); }
    void freezeBus() { _bus->signal(SIGSTOP); } // until the end
    void restartBus(); // the service and xiccd do not come back by themselves

    // As another program: has the display on the connector use the profile in the file.
    void use(const std::string& connector, const std::string& file) const;

    // The objects of the display's profiles, separated by spaces, the one in use first, by the last part of
    // their names.
    std::string profiles(const std::string& connector) const;

    // The file of the one in use; empty when there is none.
    std::string fileInUse(const std::string& connector) const;

private:
    std::string _device(const std::string& connector) const;
    void _startBus();

    NPTemporaryFolder _folder;
    std::optional<NPTestProcess> _bus;
    NPTestVariable _address;
    NPTestVariable _data;
    std::optional<NPTestProcess> _colord;
    std::optional<NPTestProcess> _xiccd;
};
