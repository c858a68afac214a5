// The part of a desktop behind the real desktop portal that has the global shortcuts: grants what it is asked
// for, or what the test says instead, and has the user press it when the test says so. Serves the session bus
// from a thread of its own.
#pragma once

#include "Platform/Linux/NPTestSessionBus.h"

#include <sdbus-c++/sdbus-c++.h>

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

class NPTestPortalBackEnd {
public:
    static constexpr const char* busName = "org.freedesktop.impl.portal.desktop.nightpanetest";

    NPTestPortalBackEnd();
    ~NPTestPortalBackEnd();
    NPTestPortalBackEnd(const NPTestPortalBackEnd&) = delete;
    NPTestPortalBackEnd& operator=(const NPTestPortalBackEnd&) = delete;

    // Has the bus start the real portal for whoever calls it, on a desktop that says it has this back end alone,
    // or none at all. Returns the words that start it.
    static std::vector<std::string> addPortal(NPTestSessionBus& bus, bool isThereABackEnd);

    // For the questions to come: 0 grants, 1 is the user who cancels, 2 any other failure.
    void setResponse(std::uint32_t response);
    void withhold(const std::string& name); // grants all but this one

    // In the latest session.
    void activate(const std::string& name, std::uint64_t milliseconds);
    void deactivate(const std::string& name, std::uint64_t milliseconds);
    void changeTrigger(const std::string& name, const std::string& trigger);
    void endSession();

    // What was asked for, a line a question: "A=Night:CTRL+ALT+d B=Day:CTRL+f ".
    std::vector<std::string> questions() const;
    std::size_t sessionCount() const; // open ones

private:
    using Details = std::map<std::string, sdbus::Variant>;
    using Shortcuts = std::vector<sdbus::Struct<std::string, Details>>;
    using Answer = std::tuple<std::uint32_t, Details>;

    Answer _createSession(const sdbus::ObjectPath& session);
    Answer _bindShortcuts(const Shortcuts& shortcuts);
    template<class... Arguments> void _emit(const std::string& signal, const Arguments&... arguments);

    const std::unique_ptr<sdbus::IConnection> _connection;
    mutable std::mutex _mutex;
    std::uint32_t _response = 0;
    std::set<std::string> _withheld;
    std::vector<std::string> _questions;
    std::string _latestSession; // empty when it has ended
    std::map<std::string, std::unique_ptr<sdbus::IObject>> _sessions;
    std::unique_ptr<sdbus::IObject> _object;
    std::thread _thread;
};
