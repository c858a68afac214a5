// A small RandR client for tests, with a connection and code of its own: reads back what the adapter wrote,
// entry by entry, and arranges what the adapter is to find. Everything waits for the server; failures throw.
#pragma once

#include <xcb/randr.h>
#include <xcb/xcb.h>

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// Red, green, blue.
using NPTestGamma = std::array<std::vector<std::uint16_t>, 3>;

class NPTestRandR {
public:
    explicit NPTestRandR(const std::string& displayName);

    struct Output {
        xcb_randr_output_t identifier;
        std::string name;
        bool isConnected;
        xcb_randr_crtc_t crtc;
    };
    std::vector<Output> outputs() const;
    Output output(const std::string& name) const;
    std::vector<xcb_randr_crtc_t> crtcs() const;

    NPTestGamma gamma(xcb_randr_crtc_t crtc) const;
    NPTestGamma gamma(const std::string& outputName) const { return gamma(output(outputName).crtc); }
    void setGamma(xcb_randr_crtc_t crtc, const NPTestGamma& gamma) const;
    void setGamma(const std::string& outputName, const NPTestGamma& gamma) const
    {
        setGamma(output(outputName).crtc, gamma);
    }

    // Moves what an output shows to another place on the X screen, sideways.
    void moveTo(const std::string& outputName, std::int16_t x) const;

    // Between the two no other client is served.
    void grabServer() const;
    void ungrabServer() const;

    // A property of 8-bit items, of an output.
    void setOutputProperty(const std::string& outputName, const std::string& property,
                           const std::vector<std::uint8_t>& value) const;

    // A property of 16-bit items of the type CARDINAL, of the root window; none when it is not there.
    std::optional<std::vector<std::uint16_t>> rootProperty(const std::string& name) const;
    void setRootProperty(const std::string& name, const std::vector<std::uint16_t>& items) const;

    // A property of 8-bit items, of an output or, with the name "", of the root window; none when it is not there.
    std::optional<std::vector<std::uint8_t>> bytes(const std::string& outputName,
                                                   const std::string& property) const;
    void setRootBytes(const std::string& property, const std::vector<std::uint8_t>& bytes) const;

    // The names of the root window's properties that begin so.
    std::vector<std::string> rootPropertyNames(const std::string& prefix) const;

private:
    xcb_atom_t _atom(const std::string& name) const;
    void _check(xcb_void_cookie_t cookie, const char* what) const;

    struct Disconnect {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };
    std::unique_ptr<xcb_connection_t, Disconnect> _connection;
    xcb_window_t _root = 0;
};

// Every channel rises evenly from 0 to 65535.
NPTestGamma NPTestIdentityGamma(std::size_t size = 256);

// A table that looks like no other: 16-bit numbers without any order, the same for the same seed.
NPTestGamma NPTestSeededGamma(std::uint32_t seed, std::size_t size = 256);
