#include "Platform/Linux/NPScreenSaverX11.h"

#include <array>

namespace {

xcb_extension_t extension{"MIT-SCREEN-SAVER", 0}; // the client library numbers it

constexpr std::uint32_t changesMask = 1; // the saver's beginning and end, not each change of its picture

enum State : std::uint8_t { stateOff = 0, stateOn = 1, stateCycle = 2, stateDisabled = 3 };

// As they go over the wire. The client library fills in the first four bytes of each request.
struct Header {
    std::uint8_t major = 0;
    std::uint8_t minor = 0;
    std::uint16_t length = 0;
};

struct QueryInfo {
    static constexpr std::uint8_t opcode = 1;
    Header header;
    xcb_window_t drawable = 0;
};

struct SelectInput {
    static constexpr std::uint8_t opcode = 2;
    Header header;
    xcb_window_t drawable = 0;
    std::uint32_t mask = changesMask;
};

struct QueryInfoReply {
    std::uint8_t type;
    std::uint8_t state;
    std::uint16_t sequence;
    std::uint32_t length;
    xcb_window_t saver;
    std::uint32_t untilSaver; // milliseconds
    std::uint32_t sinceInput;
    std::uint32_t mask;
    std::uint8_t kind;
    std::array<std::uint8_t, 7> padding;
};
static_assert(sizeof(QueryInfoReply) == 32);

template<class Request> unsigned int send(const NPConnectionX11& connection, Request request, bool hasReply)
{
    const xcb_protocol_request_t protocol{2, &extension, Request::opcode,
                                          hasReply ? std::uint8_t(0) : std::uint8_t(1)};
    // The client library wants two parts of its own before the first.
    std::array<iovec, 4> parts{};
    parts[2] = {&request, sizeof request};
    return xcb_send_request(connection.handle(), 0, &parts[2], &protocol);
}

} // namespace

std::expected<NPScreenSaverX11, std::string> NPScreenSaverX11::switchOn(NPConnectionX11& connection)
{
    const xcb_query_extension_reply_t* found = xcb_get_extension_data(connection.handle(), &extension);
    if (found == nullptr || found->present == 0) {
        return std::unexpected("has no screen-saver extension");
    }
    send(connection, SelectInput{.header = {}, .drawable = connection.root()}, false);
    const auto info = connection.reply<QueryInfoReply>(
        send(connection, QueryInfo{.header = {}, .drawable = connection.root()}, true));
    if (!info) {
        return std::unexpected("does not tell of its screen saver");
    }
    return NPScreenSaverX11(found->first_event, info->state == stateOn);
}

std::optional<bool> NPScreenSaverX11::activeFromEvent(const xcb_generic_event_t& event) const
{
    if ((event.response_type & 0x7F) != _firstEvent) { // the top bit only says that another client sent it
        return std::nullopt;
    }
    const std::uint8_t state = event.pad0;
    return state == stateOn || state == stateCycle;
}
