// A key combination.
#pragma once

#include <cstdint>

// A plain value: the platform's virtual key code and key-event modifier flags, both stored as given.
struct JXHotKey {
    std::uint16_t keyCode = 0;
    std::uint64_t modifierFlags = 0;

    friend bool operator==(const JXHotKey&, const JXHotKey&) = default;
};
