// nightpane-hot-key-bench same|others ROUNDS
//
// Registers 100 hot keys with the X server in DISPLAY, and then again as often as it is told, as the engine does
// after every change of settings: unregisters all and registers all, within a turn of the main loop. "same"
// are the same combinations each time, "others" others. Prints the median of a round's milliseconds.
#include "Foundation/QXSharedScope.h"
#include "HotKey/JXHotKeyCenter.h"
#include "Platform/Linux/NPHotKeyServicesX11.h"
#include "Platform/Simulated/NPSimulatedPlatform.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Combination = std::pair<std::uint16_t, std::uint64_t>;

constexpr std::size_t count = 100;

// With other modifiers for each set.
std::vector<Combination> combinations(std::uint64_t modifiers)
{
    std::vector<Combination> all;
    for (const std::uint64_t further : {std::uint64_t(0), std::uint64_t(NPShiftFlag), std::uint64_t(NPCommandFlag),
                                        NPShiftFlag | NPCommandFlag}) {
        for (const NPKey& key : NPKeyTable()) {
            if (key.word.empty() && all.size() < count && !key.usCharacter.empty() && !key.isOnKeypad) {
                all.emplace_back(key.virtualCode, modifiers | further);
            }
        }
    }
    return all;
}

// False when one is refused.
bool registerAnew(const std::vector<Combination>& combinations, NPMainLoopLinux& loop)
{
    const auto center = sharedHotKeyCenter();
    center->unregisterAllHotKeys();
    bool registered = combinations.size() == count;
    for (const auto& [keyCode, flags] : combinations) {
        registered = registered && center->registerHotKeyWithKeyCode(keyCode, flags, JXHotKeyTask());
    }
    loop.processEvents(0); // gives up what is not used any more
    return registered;
}

} // namespace

int main(int argc, char** argv)
{
    const bool areSame = argc == 3 && std::string_view(argv[1]) == "same";
    if (!areSame && !(argc == 3 && std::string_view(argv[1]) == "others")) {
        std::fputs("usage: nightpane-hot-key-bench same|others ROUNDS\n", stderr);
        return 2;
    }
    NPMainLoopLinux loop;
    const auto hotKeys = NPHotKeyServicesX11::open("", loop);
    if (!hotKeys) {
        std::fprintf(stderr, "nightpane-hot-key-bench: %s\n", hotKeys.error().c_str());
        return 1;
    }
    NPSimulatedPlatform rest;
    const NPPlatform other = rest.services();
    QXSharedScope scope;
    NPInstallPlatform({other.clock, other.timers, other.mainQueue, other.timeZones, other.defaults, other.displays,
                       other.profiles, **hotKeys, other.keyboardLayout, other.notifications,
                       other.workspaceEvents});

    const std::vector<Combination> sets[] = {combinations(NPControlFlag | NPOptionFlag),
                                             combinations(NPControlFlag)};
    std::vector<double> milliseconds;
    for (int round = 0; round <= std::atoi(argv[2]); ++round) {
        const auto start = Clock::now();
        if (!registerAnew(sets[areSame ? 0 : round % 2], loop)) {
            std::fputs("nightpane-hot-key-bench: the server refuses some\n", stderr);
            return 1;
        }
        if (round > 0) { // the first one had nothing to unregister
            milliseconds.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
        }
    }
    std::ranges::nth_element(milliseconds,
                             milliseconds.begin() + static_cast<std::ptrdiff_t>(milliseconds.size() / 2));
    std::printf("%.3f\n", milliseconds.empty() ? 0.0 : milliseconds[milliseconds.size() / 2]);
}
