// What the program and its D-Bus module (nightpane-dbus.so) know of each other. The two are built and
// installed together.
#pragma once

#include "Platform/Linux/NPControlBus.h"

#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// What the module asks of the program that has loaded it, so that it brings no second main loop or log.
struct NPControlModuleHost {
    NPWatch (*watchFileDescriptor)(NPMainLoopLinux& loop, int descriptor, std::uint32_t events,
                                   std::function<void(std::uint32_t ready)> handler);
    NPWatch (*watchBeforeWaiting)(NPMainLoopLinux& loop, std::function<void()> handler);
    void (*log)(std::string_view line);
};

// This program's own.
extern const NPControlModuleHost NPThisModuleHost;

// The module's file.
inline constexpr const char* NPBusModuleFile = "nightpane-dbus.so";

using NPControlBusResult = std::expected<std::shared_ptr<NPControlBus>, std::string>;

// The module's one entry point: connects to the bus at the address. The host outlives everything. Nothing is
// thrown, by this or by what it gives.
using NPControlModuleEntry = void (*)(const NPControlModuleHost& host, const std::string& address,
                                      NPControlBusResult& result);
inline constexpr const char* NPControlModuleEntryName = "NPOpenControlBus";

// Loads the module from the first of the folders that has it, for the rest of the program's life, and
// connects. NPControlBus::open() looks in NPModuleFolders().
NPControlBusResult NPOpenControlBusFromFolders(const std::vector<std::string>& folders,
                                               const std::string& address);
