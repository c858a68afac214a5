// The displays' colour profiles on Linux, and how displays are given custom ones.
//
// A display's own profile is the default one that the colour service has for it; else what stands for it in the
// X server, or is made from what it says of its colours (NPDisplayServicesX11). A custom profile is given to the
// colour service where that knows the display, and is put into the X server otherwise.
//
// Until start() the colour service is not asked: what the X server says counts, and what others put there for an
// output is noticed. Without the service everything else works, after one line in the log.
#pragma once

#include "Platform/Linux/NPColorService.h"
#include "Platform/Linux/NPDisplayServicesX11.h"
#include "Platform/Linux/NPModuleLinux.h"
#include "Platform/NPColorProfileServices.h"
#include "Platform/NPCustomProfileServices.h"
#include "Platform/NPMainQueue.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>

class NPColorProfilesLinux final : public NPColorProfileServices,
                                   public NPDeviceProfileServices,
                                   public std::enable_shared_from_this<NPColorProfilesLinux> {
public:
    // Both outlive the object, which is made with std::make_shared. The folders are where the D-Bus module may be.
    NPColorProfilesLinux(NPDisplayServicesX11& displays, NPMainQueue& mainQueue,
                         std::vector<std::string> moduleFolders = NPModuleFolders());

    // Loads the colour service and has every change by others noticed. `ready` is called once, on the main thread,
    // when it is known what the service says, or that there is none. Main thread; a second call does nothing.
    void start(std::function<void()> ready);
    bool isStarted() const { return _isStarted; }

    NPDisplayProfile copyDisplayProfile(NPDisplayID display) override;
    [[nodiscard]] NPDisplaySubscription registerProfileCallback(NPDisplayProfileCallback callback) override;

    // A location that is no custom profile of ours is the display's own: the custom one is taken away then. An X
    // server that stops answering is waited for two seconds, and not again until it answers.
    bool setCustomProfile(NPDisplayID display, const std::optional<std::string>& location) override;

private:
    void _serviceHasNews(const std::vector<std::string>& connectors);
    void _becomeReady();
    void _profileDidChange(NPDisplayID display);
    std::optional<NPProfileAddressX11> _address(NPDisplayID display) const;
    bool _openServer(const std::string& displayName); // with the server's mutex held

    // A connection to the X server apart from the main thread's, for what is done by others.
    struct Server {
        explicit Server(NPConnectionX11 opened) : connection(std::move(opened)), properties(connection) {}

        NPConnectionX11 connection;
        NPProfilePropertiesX11 properties;
    };

    NPDisplayServicesX11& _displays;
    NPMainQueue& _mainQueue;
    const std::vector<std::string> _moduleFolders;
    bool _isStarted = false;
    std::function<void()> _ready;
    NPDisplaySubscription _changesInServer;
    std::vector<std::weak_ptr<NPDisplayProfileCallback>> _callbacks;

    mutable std::mutex _mutex; // guards the addresses
    std::map<NPDisplayID, NPProfileAddressX11> _addresses; // of the displays whose profile has been read
    std::unique_ptr<NPColorService> _service; // set once, by start(); other threads ask after that

    std::mutex _serverMutex;
    std::unique_ptr<Server> _server; // made by start() where it can be
};
