// A connection to a bus that follows services on it: whether they are there, what they announce, and questions to
// them whose answers nobody waits for.
//
// What a handler throws goes no further: a message that is not as it should be is passed over. Not to be destroyed
// by a handler.
#pragma once

#include "Platform/Linux/DBus/NPServingDBus.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

class NPServicesDBus {
public:
    // Throws sdbus::Error when there is no connecting. When the bus goes, the host's log gets the line, and `lost` is
    // called after the handlers that follow services.
    NPServicesDBus(const NPControlModuleHost& host, const std::string& address, NPMainLoopLinux& loop,
                   std::string lossLine, std::function<void()> lost);
    NPServicesDBus(const NPServicesDBus&) = delete;
    NPServicesDBus& operator=(const NPServicesDBus&) = delete;

    // Called with the connection that owns the service's name, and with none ("") when nobody does: once for now,
    // when the bus has said it, and for every change. Also with none when the bus goes.
    using OwnerHandler = std::function<void(const std::string& owner)>;
    void follow(const std::string& name, OwnerHandler handler);

    // Called with each message that the match rule is for, until the slot goes, which must be before the object.
    [[nodiscard]] sdbus::Slot match(const std::string& rule, std::function<void(sdbus::Message&)> handler);

    // Where a question goes.
    struct Target {
        std::string owner;
        std::string path;
        std::string interface;
        std::string method;
    };
    // The error is nullptr when the answer is one. No call at all: the answer never came.
    using AnswerHandler = std::function<void(sdbus::MethodReply& answer, const sdbus::Error* error)>;

    template<class... Arguments>
    void ask(const Target& target, AnswerHandler handler, const Arguments&... arguments)
    {
        sdbus::IProxy& proxy = _proxyFor(target);
        sdbus::MethodCall question = proxy.createMethodCall(target.interface, target.method);
        ((void)(question << arguments), ...);
        proxy.callMethod(question, _guarded(std::move(handler)));
    }

    void log(const std::string& line) const { _host.log(line); }
    bool isLost() const { return _isLost; } // the bus has gone

private:
    sdbus::IProxy& _proxyFor(const Target& target);
    static AnswerHandler _guarded(AnswerHandler handler);
    void _ownerDidChange(const std::string& name, const std::string& former, const std::string& owner);
    void _busDidGo();

    const NPControlModuleHost& _host;
    const std::shared_ptr<sdbus::IConnection> _connection;
    std::vector<sdbus::Slot> _slots;
    std::map<std::string, OwnerHandler> _ownerHandlers;
    std::map<std::pair<std::string, std::string>, std::unique_ptr<sdbus::IProxy>> _proxies; // by owner and path
    bool _isLost = false;
    std::shared_ptr<NPServingDBus> _serving;
};
