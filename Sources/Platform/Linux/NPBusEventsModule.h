// What the program and its D-Bus module know of each other besides NPControlModule.h: the entry points for what
// services announce. The host outlives everything. Nothing is thrown, by these or by what they give. `lost` is called
// once, when the bus goes; the result is not to be destroyed by it.
#pragma once

#include "Platform/Linux/NPBusEvents.h"
#include "Platform/Linux/NPControlModule.h"

using NPLoginManagerModuleEntry = void (*)(const NPControlModuleHost& host, const std::string& address,
                                           NPMainLoopLinux& loop, NPLoginManagerHandlers handlers,
                                           std::function<void()> lost, NPBusEventsResult& result);
inline constexpr const char* NPLoginManagerModuleEntryName = "NPOpenLoginManager";

using NPScreenSaverModuleEntry = void (*)(const NPControlModuleHost& host, const std::string& address,
                                          NPMainLoopLinux& loop, NPScreenSaverHandler handler,
                                          std::function<void()> lost, NPBusEventsResult& result);
inline constexpr const char* NPScreenSaverModuleEntryName = "NPOpenScreenSavers";
