#include "Platform/Linux/NPXkbX11.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <string_view>

namespace {

xcb_extension_t extension{"XKEYBOARD", 0}; // the client library numbers it

constexpr std::uint16_t coreKeyboard = 0x100;
constexpr std::uint32_t detectableAutoRepeat = 1;

// New keyboard, map, names.
constexpr std::uint16_t keyboardEvents = 0x1 | 0x2 | 0x40;
constexpr std::uint16_t everyMapPart = 0xFF;

constexpr std::uint16_t stateEvent = 0x4;
constexpr std::uint16_t layoutState = 0x10;

constexpr std::uint32_t keyNamesWanted = 0x200;
constexpr std::uint32_t keyAliasesWanted = 0x400;

// As they go over the wire. The client library fills in the first four bytes of each request.
struct Header {
    std::uint8_t major = 0;
    std::uint8_t minor = 0;
    std::uint16_t length = 0;
};

struct UseExtension {
    static constexpr std::uint8_t opcode = 0;
    Header header;
    std::uint16_t major = 1;
    std::uint16_t minor = 0;
};

struct SelectEvents {
    static constexpr std::uint8_t opcode = 1;
    Header header;
    std::uint16_t device = coreKeyboard;
    std::uint16_t affectWhich = keyboardEvents;
    std::uint16_t clear = 0;
    std::uint16_t selectAll = keyboardEvents;
    std::uint16_t affectMap = everyMapPart;
    std::uint16_t map = everyMapPart;
};

// Of the keyboard's state the layout alone: keys and modifiers change it all the time.
struct SelectLayoutEvents {
    static constexpr std::uint8_t opcode = 1;
    Header header;
    std::uint16_t device = coreKeyboard;
    std::uint16_t affectWhich = stateEvent;
    std::uint16_t clear = 0;
    std::uint16_t selectAll = 0;
    std::uint16_t affectMap = 0;
    std::uint16_t map = 0;
    std::uint16_t affectState = layoutState;
    std::uint16_t state = layoutState;
};

struct GetNames {
    static constexpr std::uint8_t opcode = 17;
    Header header;
    std::uint16_t device = coreKeyboard;
    std::uint16_t padding = 0;
    std::uint32_t which = keyNamesWanted | keyAliasesWanted;
};

struct PerClientFlags {
    static constexpr std::uint8_t opcode = 21;
    Header header;
    std::uint16_t device = coreKeyboard;
    std::uint16_t padding = 0;
    std::uint32_t change = detectableAutoRepeat;
    std::uint32_t value = detectableAutoRepeat;
    std::uint32_t controlsToChange = 0;
    std::uint32_t autoControls = 0;
    std::uint32_t autoControlValues = 0;
};

struct ReplyHeader {
    std::uint8_t type;
    std::uint8_t device;
    std::uint16_t sequence;
    std::uint32_t length; // of what follows the first 32 bytes, in units of four
};

struct PerClientFlagsReply {
    ReplyHeader header;
    std::uint32_t supported;
    std::uint32_t value;
};

// The names follow: four bytes a key from the first on, and then eight an alias, the real name before it.
struct GetNamesReply {
    ReplyHeader header;
    std::uint32_t which;
    std::uint8_t minimum;
    std::uint8_t maximum;
    std::uint8_t types;
    std::uint8_t groups;
    std::uint16_t virtualModifiers;
    std::uint8_t firstKey;
    std::uint8_t keys;
    std::uint32_t indicators;
    std::uint8_t radioGroups;
    std::uint8_t keyAliases;
    std::uint16_t levels;
    std::uint32_t padding;
};
static_assert(sizeof(GetNamesReply) == 32);

constexpr std::size_t nameSize = 4;

template<class Request> unsigned int send(const NPConnectionX11& connection, Request request, bool hasReply)
{
    const xcb_protocol_request_t protocol{2, &extension, Request::opcode,
                                          hasReply ? std::uint8_t(0) : std::uint8_t(1)};
    // The client library wants two parts of its own before the first.
    std::array<iovec, 4> parts{};
    parts[2] = {&request, sizeof request};
    return xcb_send_request(connection.handle(), 0, &parts[2], &protocol);
}

std::string nameAt(std::span<const char> bytes)
{
    const auto name = bytes.first(nameSize);
    return {name.begin(), std::ranges::find(name, '\0')};
}

} // namespace

std::expected<NPXkbX11, std::string> NPXkbX11::switchOn(NPConnectionX11& connection)
{
    const xcb_query_extension_reply_t* found = xcb_get_extension_data(connection.handle(), &extension);
    if (found == nullptr || found->present == 0) {
        return std::unexpected("has no XKB extension, which hot keys need");
    }
    const unsigned int use = send(connection, UseExtension(), true);
    const unsigned int flags = send(connection, PerClientFlags(), true);
    send(connection, SelectEvents(), false);
    const auto useReply = connection.reply<ReplyHeader>(use);
    const auto flagsReply = connection.reply<PerClientFlagsReply>(flags);
    if (!useReply || !flagsReply) {
        return std::unexpected("does not respond");
    }
    // Otherwise a held key would look like one that is pressed again and again, and an effect would flicker:
    // then rather no hot keys.
    if ((flagsReply->value & detectableAutoRepeat) == 0) {
        return std::unexpected("cannot tell a held key from repeated presses, which hot keys need");
    }
    return NPXkbX11(found->first_event);
}

void NPXkbX11::announceLayoutChanges(const NPConnectionX11& connection)
{
    send(connection, SelectLayoutEvents(), false);
}

bool NPXkbX11::isKeyboardChange(const xcb_generic_event_t& event) const
{
    const int type = event.response_type & 0x7F; // the top bit only says that another client sent it
    return type == XCB_MAPPING_NOTIFY || type == _firstEvent;
}

unsigned int NPXkbX11::requestKeyNames(const NPConnectionX11& connection)
{
    return send(connection, GetNames(), true);
}

std::map<std::string, xcb_keycode_t> NPXkbX11::keyNames(NPConnectionX11& connection, unsigned int sequence)
{
    std::map<std::string, xcb_keycode_t> names;
    const auto reply = connection.reply<GetNamesReply>(sequence);
    if (!reply || reply->which != (keyNamesWanted | keyAliasesWanted)) {
        return names;
    }
    const std::span<const char> list(reinterpret_cast<const char*>(reply.get() + 1),
                                     std::size_t{reply->header.length} * nameSize);
    const std::size_t keysSize = reply->keys * nameSize;
    const std::size_t aliasesSize = reply->keyAliases * nameSize * 2;
    if (list.size() < keysSize + aliasesSize) {
        return names;
    }
    for (std::size_t i = 0; i < reply->keys; ++i) {
        names.emplace(nameAt(list.subspan(i * nameSize)), static_cast<xcb_keycode_t>(reply->firstKey + i));
    }
    for (std::size_t offset = keysSize; offset < keysSize + aliasesSize; offset += nameSize * 2) {
        if (const auto real = names.find(nameAt(list.subspan(offset))); real != names.end()) {
            names.emplace(nameAt(list.subspan(offset + nameSize)), real->second);
        }
    }
    names.erase(""); // key codes without a key
    return names;
}
