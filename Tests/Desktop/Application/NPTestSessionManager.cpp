#include "Desktop/Application/NPTestSessionManager.h"

#include <poll.h>

#include <X11/ICE/ICElib.h>
#include <X11/ICE/ICEutil.h>
#include <X11/SM/SMlib.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <stdexcept>
#include <vector>

struct NPTestSessionManager::State {
    IceListenObj* listeners = nullptr;
    int listenerCount = 0;
    std::vector<IceConn> connections;
    SmsConn client = nullptr;
    bool isDone = false; // with what it was asked last

    void turn();
};

namespace {

using State = NPTestSessionManager::State;

int admit(char*)
{
    return True;
}

int registerClient(SmsConn client, SmPointer, char* formerIdentifier)
{
    std::free(formerIdentifier);
    char* const identifier = SmsGenerateClientID(client);
    SmsRegisterClientReply(client, identifier);
    std::free(identifier);
    SmsSaveYourself(client, SmSaveLocal, False, SmInteractStyleNone, False); // so it is to begin
    return True;
}

void saveDone(SmsConn client, SmPointer data, int)
{
    static_cast<State*>(data)->isDone = true;
    SmsSaveComplete(client);
}

void setProperties(SmsConn, SmPointer, int count, SmProp** properties)
{
    for (int index = 0; index < count; ++index) {
        SmFreeProperty(properties[index]);
    }
    std::free(properties);
}

void deleteProperties(SmsConn, SmPointer, int count, char** names)
{
    for (int index = 0; index < count; ++index) {
        std::free(names[index]);
    }
    std::free(names);
}

void closed(SmsConn, SmPointer data, int count, char** reasons)
{
    static_cast<State*>(data)->client = nullptr;
    SmFreeReasons(count, reasons);
}

int newClient(SmsConn client, SmPointer data, unsigned long* mask, SmsCallbacks* callbacks, char**)
{
    static_cast<State*>(data)->client = client;
    *mask = SmsRegisterClientProcMask | SmsInteractRequestProcMask | SmsInteractDoneProcMask
            | SmsSaveYourselfRequestProcMask | SmsSaveYourselfP2RequestProcMask | SmsSaveYourselfDoneProcMask
            | SmsCloseConnectionProcMask | SmsSetPropertiesProcMask | SmsDeletePropertiesProcMask
            | SmsGetPropertiesProcMask;
    callbacks->register_client = {registerClient, data};
    callbacks->interact_request = {[](SmsConn asking, SmPointer, int) { SmsInteract(asking); }, data};
    callbacks->interact_done = {[](SmsConn, SmPointer, int) {}, data};
    callbacks->save_yourself_request = {[](SmsConn, SmPointer, int, int, int, int, int) {}, data};
    callbacks->save_yourself_phase2_request = {[](SmsConn asking, SmPointer) { SmsSaveYourselfPhase2(asking); },
                                               data};
    callbacks->save_yourself_done = {saveDone, data};
    callbacks->close_connection = {closed, data};
    callbacks->set_properties = {setProperties, data};
    callbacks->delete_properties = {deleteProperties, data};
    callbacks->get_properties = {[](SmsConn asking, SmPointer) { SmsReturnProperties(asking, 0, nullptr); }, data};
    return 1;
}

} // namespace

// Serves what has come, or waits a moment.
void NPTestSessionManager::State::turn()
{
    std::vector<pollfd> items;
    for (int index = 0; index < listenerCount; ++index) {
        items.push_back({IceGetListenConnectionNumber(listeners[index]), POLLIN, 0});
    }
    for (const IceConn connection : connections) {
        items.push_back({IceConnectionNumber(connection), POLLIN, 0});
    }
    constexpr int moment = 10; // milliseconds
    ::poll(items.data(), items.size(), moment);
    const auto served = connections;
    for (std::size_t index = 0; index < served.size(); ++index) {
        if (items[static_cast<std::size_t>(listenerCount) + index].revents != 0
            && IceProcessMessages(served[index], nullptr, nullptr) != IceProcessMessagesSuccess) {
            std::erase(connections, served[index]);
        }
    }
    for (int index = 0; index < listenerCount; ++index) {
        if (items[static_cast<std::size_t>(index)].revents != 0) {
            IceAcceptStatus status{};
            if (const IceConn connection = IceAcceptConnection(listeners[index], &status)) {
                connections.push_back(connection);
            }
        }
    }
}

NPTestSessionManager::NPTestSessionManager() : _state(std::make_unique<State>())
{
    std::array<char, 256> error{};
    static bool isInitialized = false;
    static State* current = nullptr; // the library takes its data once and for all
    current = _state.get();
    const auto forward = [](SmsConn client, SmPointer, unsigned long* mask, SmsCallbacks* callbacks,
                            char** reason) { return newClient(client, current, mask, callbacks, reason); };
    if (!isInitialized
        && SmsInitialize("nightpane-tests", "1", forward, nullptr, admit, error.size(), error.data()) == 0) {
        throw std::runtime_error(error.data());
    }
    isInitialized = true;
    IceSetIOErrorHandler([](IceConn) {}); // a client that ends is no reason to end the tests
    if (IceListenForConnections(&_state->listenerCount, &_state->listeners, error.size(), error.data()) == 0) {
        throw std::runtime_error(error.data());
    }
    for (int index = 0; index < _state->listenerCount; ++index) {
        IceSetHostBasedAuthProc(_state->listeners[index], admit);
    }
    char* const names = IceComposeNetworkIdList(_state->listenerCount, _state->listeners);
    _address = names;
    std::free(names);
    _thread = std::thread([this] {
        bool hasAsked = false;
        while (!_isStopping) {
            _state->turn();
            _hasClient = _state->client != nullptr && (_state->isDone || hasAsked);
            if (_state->client == nullptr) {
                continue;
            }
            if (_isEnding && !hasAsked) {
                hasAsked = true;
                _state->isDone = false;
                SmsSaveYourself(_state->client, SmSaveLocal, True, SmInteractStyleNone, False);
            } else if (hasAsked && _state->isDone) {
                _state->isDone = false;
                SmsDie(_state->client);
            }
        }
    });
}

NPTestSessionManager::~NPTestSessionManager()
{
    _isStopping = true;
    _thread.join();
    IceFreeListenObjs(_state->listenerCount, _state->listeners);
}
