#include "Desktop/Support/NPTestRandR.h"

#include <cstdlib>
#include <stdexcept>

namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

template<typename Reply>
std::unique_ptr<Reply, Free> needed(Reply* reply, const char* what)
{
    if (reply == nullptr) {
        throw std::runtime_error(std::string("no reply to ") + what);
    }
    return std::unique_ptr<Reply, Free>(reply);
}

} // namespace

NPTestRandR::NPTestRandR(const std::string& displayName) : _connection(xcb_connect(displayName.c_str(), nullptr))
{
    if (xcb_connection_has_error(_connection.get()) != 0) {
        throw std::runtime_error("cannot connect to " + displayName);
    }
    _root = xcb_setup_roots_iterator(xcb_get_setup(_connection.get())).data->root;
    needed(xcb_randr_query_version_reply(_connection.get(), xcb_randr_query_version(_connection.get(), 1, 4),
                                         nullptr),
           "QueryVersion");
}

std::vector<NPTestRandR::Output> NPTestRandR::outputs() const
{
    xcb_connection_t* const c = _connection.get();
    const auto resources = needed(
        xcb_randr_get_screen_resources_current_reply(c, xcb_randr_get_screen_resources_current(c, _root), nullptr),
        "GetScreenResourcesCurrent");
    std::vector<Output> outputs;
    for (int i = 0; i < resources->num_outputs; ++i) {
        const xcb_randr_output_t identifier = xcb_randr_get_screen_resources_current_outputs(resources.get())[i];
        const auto info =
            needed(xcb_randr_get_output_info_reply(
                       c, xcb_randr_get_output_info(c, identifier, resources->config_timestamp), nullptr),
                   "GetOutputInfo");
        const auto* const name = reinterpret_cast<const char*>(xcb_randr_get_output_info_name(info.get()));
        outputs.push_back({identifier, std::string(name, info->name_len), info->connection == 0, info->crtc});
    }
    return outputs;
}

NPTestRandR::Output NPTestRandR::output(const std::string& name) const
{
    for (const Output& output : outputs()) {
        if (output.name == name) {
            return output;
        }
    }
    throw std::runtime_error("no output " + name);
}

std::vector<xcb_randr_crtc_t> NPTestRandR::crtcs() const
{
    xcb_connection_t* const c = _connection.get();
    const auto resources = needed(
        xcb_randr_get_screen_resources_current_reply(c, xcb_randr_get_screen_resources_current(c, _root), nullptr),
        "GetScreenResourcesCurrent");
    const auto* const first = xcb_randr_get_screen_resources_current_crtcs(resources.get());
    return {first, first + resources->num_crtcs};
}

NPTestGamma NPTestRandR::gamma(xcb_randr_crtc_t crtc) const
{
    xcb_connection_t* const c = _connection.get();
    const auto reply =
        needed(xcb_randr_get_crtc_gamma_reply(c, xcb_randr_get_crtc_gamma(c, crtc), nullptr), "GetCrtcGamma");
    const auto channel = [&](const std::uint16_t* first) {
        return std::vector<std::uint16_t>(first, first + reply->size);
    };
    return {channel(xcb_randr_get_crtc_gamma_red(reply.get())),
            channel(xcb_randr_get_crtc_gamma_green(reply.get())),
            channel(xcb_randr_get_crtc_gamma_blue(reply.get()))};
}

void NPTestRandR::setGamma(xcb_randr_crtc_t crtc, const NPTestGamma& gamma) const
{
    _check(xcb_randr_set_crtc_gamma_checked(_connection.get(), crtc, static_cast<std::uint16_t>(gamma[0].size()),
                                            gamma[0].data(), gamma[1].data(), gamma[2].data()),
           "SetCrtcGamma");
}

void NPTestRandR::moveTo(const std::string& outputName, std::int16_t x) const
{
    xcb_connection_t* const c = _connection.get();
    const Output moved = output(outputName);
    const auto info =
        needed(xcb_randr_get_crtc_info_reply(c, xcb_randr_get_crtc_info(c, moved.crtc, XCB_CURRENT_TIME), nullptr),
               "GetCrtcInfo");
    const auto set =
        needed(xcb_randr_set_crtc_config_reply(c,
                                               xcb_randr_set_crtc_config(c, moved.crtc, XCB_CURRENT_TIME,
                                                                         info->timestamp, x, info->y, info->mode,
                                                                         info->rotation, 1, &moved.identifier),
                                               nullptr),
               "SetCrtcConfig");
    if (set->status != XCB_RANDR_SET_CONFIG_SUCCESS) {
        throw std::runtime_error("SetCrtcConfig failed, status " + std::to_string(set->status));
    }
}

void NPTestRandR::grabServer() const
{
    _check(xcb_grab_server_checked(_connection.get()), "GrabServer");
}

void NPTestRandR::ungrabServer() const
{
    _check(xcb_ungrab_server_checked(_connection.get()), "UngrabServer");
}

void NPTestRandR::setOutputProperty(const std::string& outputName, const std::string& property,
                                    const std::vector<std::uint8_t>& value) const
{
    _check(xcb_randr_change_output_property_checked(_connection.get(), output(outputName).identifier,
                                                    _atom(property), XCB_ATOM_INTEGER, 8, XCB_PROP_MODE_REPLACE,
                                                    static_cast<std::uint32_t>(value.size()), value.data()),
           "ChangeOutputProperty");
}

std::optional<std::vector<std::uint16_t>> NPTestRandR::rootProperty(const std::string& name) const
{
    xcb_connection_t* const c = _connection.get();
    const auto reply =
        needed(xcb_get_property_reply(
                   c, xcb_get_property(c, 0, _root, _atom(name), XCB_ATOM_CARDINAL, 0, 1U << 20), nullptr),
               "GetProperty");
    if (reply->format != 16) {
        return std::nullopt;
    }
    const auto* const first = static_cast<const std::uint16_t*>(xcb_get_property_value(reply.get()));
    return std::vector<std::uint16_t>(first, first + reply->value_len);
}

void NPTestRandR::setRootProperty(const std::string& name, const std::vector<std::uint16_t>& items) const
{
    _check(xcb_change_property_checked(_connection.get(), XCB_PROP_MODE_REPLACE, _root, _atom(name),
                                       XCB_ATOM_CARDINAL, 16, static_cast<std::uint32_t>(items.size()),
                                       items.data()),
           "ChangeProperty");
}

std::optional<std::vector<std::uint8_t>> NPTestRandR::bytes(const std::string& outputName,
                                                            const std::string& property) const
{
    xcb_connection_t* const c = _connection.get();
    const std::uint8_t* first = nullptr;
    if (outputName.empty()) {
        const auto reply = needed(
            xcb_get_property_reply(c, xcb_get_property(c, 0, _root, _atom(property), 0, 0, 1U << 20), nullptr),
            "GetProperty");
        first = static_cast<const std::uint8_t*>(xcb_get_property_value(reply.get()));
        return reply->format == 8 ? std::optional(std::vector<std::uint8_t>(first, first + reply->value_len))
                                  : std::nullopt;
    }
    const auto request =
        xcb_randr_get_output_property(c, output(outputName).identifier, _atom(property), 0, 0, 1U << 20, 0, 0);
    const auto reply = needed(xcb_randr_get_output_property_reply(c, request, nullptr), "GetOutputProperty");
    first = xcb_randr_get_output_property_data(reply.get());
    return reply->format == 8 ? std::optional(std::vector<std::uint8_t>(first, first + reply->num_items))
                              : std::nullopt;
}

void NPTestRandR::setRootBytes(const std::string& property, const std::vector<std::uint8_t>& bytes) const
{
    _check(xcb_change_property_checked(_connection.get(), XCB_PROP_MODE_REPLACE, _root, _atom(property),
                                       XCB_ATOM_CARDINAL, 8, static_cast<std::uint32_t>(bytes.size()),
                                       bytes.data()),
           "ChangeProperty");
}

std::vector<std::string> NPTestRandR::rootPropertyNames(const std::string& prefix) const
{
    xcb_connection_t* const c = _connection.get();
    const auto list =
        needed(xcb_list_properties_reply(c, xcb_list_properties(c, _root), nullptr), "ListProperties");
    std::vector<std::string> names;
    for (int i = 0; i < list->atoms_len; ++i) {
        const auto atom = needed(
            xcb_get_atom_name_reply(c, xcb_get_atom_name(c, xcb_list_properties_atoms(list.get())[i]), nullptr),
            "GetAtomName");
        std::string name(xcb_get_atom_name_name(atom.get()), atom->name_len);
        if (name.starts_with(prefix)) {
            names.push_back(std::move(name));
        }
    }
    return names;
}

xcb_atom_t NPTestRandR::_atom(const std::string& name) const
{
    xcb_connection_t* const c = _connection.get();
    return needed(xcb_intern_atom_reply(
                      c, xcb_intern_atom(c, 0, static_cast<std::uint16_t>(name.size()), name.data()), nullptr),
                  "InternAtom")
        ->atom;
}

void NPTestRandR::_check(xcb_void_cookie_t cookie, const char* what) const
{
    if (const std::unique_ptr<xcb_generic_error_t, Free> error{xcb_request_check(_connection.get(), cookie)}) {
        throw std::runtime_error(std::string(what) + " failed, error " + std::to_string(error->error_code));
    }
}

NPTestGamma NPTestIdentityGamma(std::size_t size)
{
    NPTestGamma gamma;
    for (auto& channel : gamma) {
        for (std::size_t i = 0; i < size; ++i) {
            channel.push_back(static_cast<std::uint16_t>((i * 65535 * 2 + size - 1) / ((size - 1) * 2)));
        }
    }
    return gamma;
}

NPTestGamma NPTestSeededGamma(std::uint32_t seed, std::size_t size)
{
    NPTestGamma gamma;
    std::uint32_t state = seed * 2654435761U + 1;
    for (auto& channel : gamma) {
        for (std::size_t i = 0; i < size; ++i) {
            state = state * 1664525U + 1013904223U;
            channel.push_back(static_cast<std::uint16_t>(state >> 16));
        }
    }
    return gamma;
}
