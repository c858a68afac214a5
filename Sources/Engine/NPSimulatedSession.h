// A session on simulated displays and clocks.
#pragma once

#include "Engine/NPSession.h"

// "simulated": two displays, in real time, with settings that end with the process. "simulated:FILE": the
// world of a scenario file (see NPSimulatedScenario), whose settings are written back to it when the session
// closes.
std::expected<std::unique_ptr<NPSession>, std::string> NPOpenSimulatedSession(const std::string& platform);
