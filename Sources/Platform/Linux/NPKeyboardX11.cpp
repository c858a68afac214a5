#include "Platform/Linux/NPKeyboardX11.h"

#include "Platform/Linux/NPXkbX11.h"
#include "Platform/NPHotKeyServices.h"
#include "Platform/NPKeyCodes.h"

#include <algorithm>
#include <initializer_list>
#include <span>

namespace {

constexpr xcb_keysym_t numLockKeysym = 0xFF7F;
constexpr xcb_keysym_t leftAltKeysym = 0xFFE9;
constexpr xcb_keysym_t rightAltKeysym = 0xFFEA;
constexpr xcb_keysym_t leftSuperKeysym = 0xFFEB;
constexpr xcb_keysym_t rightSuperKeysym = 0xFFEC;

std::map<std::uint16_t, xcb_keycode_t> keyCodes(const std::map<std::string, xcb_keycode_t>& names)
{
    std::map<std::uint16_t, xcb_keycode_t> codes;
    for (const NPKey& key : NPKeyTable()) {
        const auto named = names.find(std::string(key.xkbName));
        if (named != names.end()) {
            codes.emplace(key.virtualCode, named->second);
        } else if (const auto code = NPXKeyCodeFromLinuxCode(key.linuxCode); code && names.empty()) {
            codes.emplace(key.virtualCode, *code);
        }
    }
    return codes;
}

// Which keysyms the key of a code has, in all its groups and levels.
class Keysyms {
public:
    Keysyms(const xcb_get_keyboard_mapping_reply_t& reply, xcb_keycode_t first)
        : _keysyms(xcb_get_keyboard_mapping_keysyms(&reply),
                   static_cast<std::size_t>(xcb_get_keyboard_mapping_keysyms_length(&reply))),
          _perKey(reply.keysyms_per_keycode), _first(first)
    {
    }

    bool hasAny(xcb_keycode_t keyCode, std::initializer_list<xcb_keysym_t> wanted) const
    {
        const std::size_t start = static_cast<std::size_t>(keyCode - _first) * _perKey;
        if (keyCode < _first || start + _perKey > _keysyms.size()) {
            return false;
        }
        return std::ranges::find_first_of(_keysyms.subspan(start, _perKey), wanted)
               != _keysyms.subspan(start, _perKey).end();
    }

private:
    std::span<const xcb_keysym_t> _keysyms;
    std::size_t _perKey;
    xcb_keycode_t _first;
};

// The first modifier that a key with one of the keysyms sets; 0 for none.
NPModifiersX11 modifierWith(const xcb_get_modifier_mapping_reply_t& mapping, const Keysyms& keysyms,
                            std::initializer_list<xcb_keysym_t> wanted)
{
    constexpr std::size_t modifierCount = 8;
    const std::span<const xcb_keycode_t> keyCodes(
        xcb_get_modifier_mapping_keycodes(&mapping),
        static_cast<std::size_t>(xcb_get_modifier_mapping_keycodes_length(&mapping)));
    const std::size_t perModifier = mapping.keycodes_per_modifier;
    for (std::size_t modifier = 0; modifier < modifierCount; ++modifier) {
        for (const xcb_keycode_t keyCode : keyCodes.subspan(modifier * perModifier, perModifier)) {
            if (keysyms.hasAny(keyCode, wanted)) {
                return static_cast<NPModifiersX11>(1U << modifier);
            }
        }
    }
    return 0;
}

} // namespace

std::optional<NPKeyboardX11> NPKeyboardX11::read(NPConnectionX11& connection)
{
    xcb_connection_t* const handle = connection.handle();
    const xcb_setup_t& setup = *xcb_get_setup(handle);
    const auto count = static_cast<std::uint8_t>(setup.max_keycode - setup.min_keycode + 1);
    const unsigned int names = NPXkbX11::requestKeyNames(connection);
    const auto modifiers = xcb_get_modifier_mapping(handle);
    const auto keysyms = xcb_get_keyboard_mapping(handle, setup.min_keycode, count);
    const auto namesReply = NPXkbX11::keyNames(connection, names);
    const auto modifiersReply = connection.reply<xcb_get_modifier_mapping_reply_t>(modifiers.sequence);
    const auto keysymsReply = connection.reply<xcb_get_keyboard_mapping_reply_t>(keysyms.sequence);
    if (!modifiersReply || !keysymsReply) {
        return std::nullopt;
    }
    NPKeyboardX11 keyboard;
    keyboard._keyCodes = keyCodes(namesReply);
    const Keysyms table(*keysymsReply, setup.min_keycode);
    keyboard._alt = modifierWith(*modifiersReply, table, {leftAltKeysym, rightAltKeysym});
    keyboard._super = modifierWith(*modifiersReply, table, {leftSuperKeysym, rightSuperKeysym});
    keyboard._numLock = modifierWith(*modifiersReply, table, {numLockKeysym});
    return keyboard;
}

std::optional<xcb_keycode_t> NPKeyboardX11::keyCode(std::uint16_t virtualCode) const
{
    const auto found = _keyCodes.find(virtualCode);
    return found == _keyCodes.end() ? std::nullopt : std::optional(found->second);
}

std::optional<NPModifiersX11> NPKeyboardX11::modifiers(std::uint32_t modifierMask) const
{
    const std::pair<std::uint32_t, NPModifiersX11> pairs[] = {{NPHotKeyShiftMask, XCB_MOD_MASK_SHIFT},
                                                              {NPHotKeyControlMask, XCB_MOD_MASK_CONTROL},
                                                              {NPHotKeyOptionMask, _alt},
                                                              {NPHotKeyCommandMask, _super}};
    NPModifiersX11 modifiers = 0;
    for (const auto& [mask, modifier] : pairs) {
        if ((modifierMask & mask) != 0) {
            if (modifier == 0) {
                return std::nullopt;
            }
            modifiers |= modifier;
        }
    }
    return modifiers;
}

std::uint64_t NPKeyboardX11::modifierFlags(NPModifiersX11 modifiers) const
{
    const std::pair<NPModifiersX11, std::uint64_t> pairs[] = {{XCB_MOD_MASK_SHIFT, NPShiftFlag},
                                                              {XCB_MOD_MASK_LOCK, NPCapsLockFlag},
                                                              {XCB_MOD_MASK_CONTROL, NPControlFlag},
                                                              {_alt, NPOptionFlag},
                                                              {_super, NPCommandFlag}};
    std::uint64_t flags = 0;
    for (const auto& [modifier, flag] : pairs) {
        flags |= (modifiers & modifier) != 0 ? flag : 0U;
    }
    return flags;
}
