// What programs tell a desktop by messages to the root window: windows that are to come to the front, and starts that
// are over.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class NPTestRootMessages {
public:
    // Listens from now on. Throws when it cannot.
    explicit NPTestRootMessages(const std::string& displayName);

    // The moments (of the X server's clock) for which windows have asked to be activated, so far.
    const std::vector<std::uint32_t>& activations();

    // The messages about starts, so far, put together from their pieces.
    const std::vector<std::string>& startups();

private:
    void _takeEvents();
    xcb_atom_t _atom(const std::string& name) const;

    std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> _connection;
    xcb_atom_t _activation;
    xcb_atom_t _begin;
    xcb_atom_t _rest;
    std::vector<std::uint32_t> _activations;
    std::vector<std::string> _startups;
};
