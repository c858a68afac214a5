#include "Platform/Linux/NPKeyGrabsX11.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr const char* serverHasGone = "the X server has gone";

std::string refusal(std::uint8_t error)
{
    return error == XCB_ACCESS ? "another program has it"
                               : "the X server refuses it, error " + std::to_string(error);
}

} // namespace

std::set<NPKeyGrabsX11::Variant> NPKeyGrabsX11::_variants(const NPKeyGrabX11& grab)
{
    std::set<Variant> variants;
    for (const int locks : {0, int{XCB_MOD_MASK_LOCK}, int{grab.numLock}, XCB_MOD_MASK_LOCK | grab.numLock}) {
        variants.emplace(grab.keyCode, static_cast<NPModifiersX11>(grab.modifiers | locks));
    }
    return variants;
}

std::expected<void, std::string> NPKeyGrabsX11::take(const NPKeyGrabX11& grab)
{
    if (_connection.isLost()) {
        return std::unexpected(serverHasGone); // also what was held before
    }
    std::vector<Variant> missing;
    std::ranges::set_difference(_variants(grab), _held, std::back_inserter(missing));
    if (missing.empty()) {
        return {};
    }
    std::expected<void, std::string> grabbed = _grab(missing);
    if (grabbed) {
        _held.insert(missing.begin(), missing.end());
    } else {
        std::ranges::for_each(missing, [this](const Variant& variant) { _ungrab(variant); });
    }
    return grabbed;
}

// Sent together, so that all of them cost one wait. A refusal arrives with the answer to the question after
// them; collecting it asks nothing more.
std::expected<void, std::string> NPKeyGrabsX11::_grab(const std::vector<Variant>& variants)
{
    xcb_connection_t* const handle = _connection.handle();
    std::vector<xcb_void_cookie_t> cookies;
    for (const auto& [keyCode, modifiers] : variants) {
        cookies.push_back(xcb_grab_key_checked(handle, 0, _connection.root(), modifiers, keyCode,
                                               XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    }
    if (!_connection.synchronize()) {
        for (const xcb_void_cookie_t cookie : cookies) {
            xcb_discard_reply(handle, cookie.sequence);
        }
        return std::unexpected(_connection.isLost() ? serverHasGone : "the X server does not respond");
    }
    std::expected<void, std::string> result;
    for (const xcb_void_cookie_t cookie : cookies) {
        if (const NPContentX11<xcb_generic_error_t> error{xcb_request_check(handle, cookie)}) {
            result = std::unexpected(refusal(error->error_code));
        }
    }
    return result;
}

void NPKeyGrabsX11::keepOnly(const std::vector<NPKeyGrabX11>& grabs)
{
    std::set<Variant> needed;
    for (const NPKeyGrabX11& grab : grabs) {
        needed.merge(_variants(grab));
    }
    std::erase_if(_held, [&](const Variant& variant) {
        const bool isLeftOver = !needed.contains(variant);
        if (isLeftOver) {
            _ungrab(variant);
        }
        return isLeftOver;
    });
    xcb_flush(_connection.handle());
}

void NPKeyGrabsX11::_ungrab(const Variant& variant)
{
    xcb_ungrab_key(_connection.handle(), variant.first, _connection.root(), variant.second);
}
