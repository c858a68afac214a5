// What a custom colour profile costs.
#include "NPLimit.h"

#include "Platform/Simulated/NPSimulatedPlatform.h"
#include "Platform/Simulated/NPSimulatedProfiles.h"
#include "Screens/NPProfileManager.h"

namespace {

constexpr double buildLimit = 50e-6;
constexpr double readLimit = 1e-3;
constexpr double handOverLimit = 0.2e-3;
constexpr std::size_t usualSize = 20'000;
constexpr std::size_t largeSize = 1'000'000;

// A profile of that size with ten tags besides the gamma table.
QXData profileOfSize(std::size_t size)
{
    QXData empty(132);
    empty[3] = 132;
    const QXTagSignature signature = QXMakeTagSignature("acsp");
    for (std::size_t i = 0; i < 4; ++i) {
        empty[36 + i] = static_cast<std::uint8_t>(signature >> (24 - 8 * i));
    }
    QXColorProfile profile = QXColorProfile::profileWithData(std::move(empty)).value();
    for (std::uint32_t i = 0; i < 10; ++i) {
        profile.setTag(QXMakeTagSignature("tag0") + i, QXData(size / 10));
    }
    return profile.copyData().value();
}

void BuildProfile(benchmark::State& state)
{
    const QXColorProfile own =
        QXColorProfile::profileWithData(profileOfSize(usualSize), "file:///own.icc").value();
    const QXGammaTable table = QXGammaTableIdentity();
    for ([[maybe_unused]] const auto iteration : state) {
        QXColorProfile profile = own;
        QXColorProfileSetDescription(profile, "Nightpane");
        QXColorProfileSetBaseURL(profile, QXColorProfileCopyBaseURL(own));
        QXColorProfileSetBaseGammaTable(profile, table);
        QXColorProfileSetGammaTable(profile, table);
        benchmark::DoNotOptimize(profile.copyData());
    }
    NPSetLimit(state, buildLimit);
}
BENCHMARK(BuildProfile)->Name("profile: build and serialise 20 kB");

void ReadProfile(benchmark::State& state)
{
    const QXData file = profileOfSize(largeSize);
    for ([[maybe_unused]] const auto iteration : state) {
        const auto profile = QXColorProfile::profileWithData(file);
        QXGammaTable table = QXColorProfileGetGammaTable(*profile);
        benchmark::DoNotOptimize(table);
    }
    NPSetLimit(state, readLimit);
}
BENCHMARK(ReadProfile)->Name("profile: read 1 MB");

// The main thread's part: the mark, the write, and what comes back of it.
void HandOver(benchmark::State& state)
{
    NPSimulatedPlatform platform;
    NPSimulatedProfiles profiles(platform.log);
    NPProfileManager manager({profiles, profiles, platform.clock, platform.clock});
    manager.setApplyEnabled(true);
    const NPDisplayProfile own = NPDisplayProfileFromColorProfile(
        QXColorProfile::profileWithData(profileOfSize(usualSize), "file:///own.icc").value());
    const QXGammaTable table = QXGammaTableIdentity();
    for ([[maybe_unused]] const auto iteration : state) {
        manager.waitProfileURLForScreen(1);
        manager.writeProfile(1, own, table, [&](std::optional<std::string> location) {
            manager.setProfileURL(std::move(location), 1);
        });
        platform.clock.advance(0.0); // the completions of earlier writes
    }
    manager.removeProfileFolder();
    platform.clock.advance(0.0);
    NPSetLimit(state, handOverLimit);
}
BENCHMARK(HandOver)->Name("profile: hand-over, main thread");

} // namespace
