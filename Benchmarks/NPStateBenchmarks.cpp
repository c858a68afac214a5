// Catching up with missed events, and saving, with many groups and displays.
#include "NPBenchmarkEngine.h"
#include "NPLimit.h"

#include "Foundation/QXPropertyList.h"

namespace {

constexpr double catchUpLimit = 20e-3;
constexpr double day = 86400.0;

// Each time the machine has slept through a day, and every group has missed its events.
void CatchUp(benchmark::State& state)
{
    const auto groups = static_cast<std::size_t>(state.range(0));
    const auto displays = static_cast<std::size_t>(state.range(1));
    NPBenchmarkEngine engine(groups, displays);
    NPScreenManager& screens = engine.screens();
    screens.setScreenManagementEnabled(true);
    for ([[maybe_unused]] const auto iteration : state) {
        state.PauseTiming();
        engine.platform.clock.sleep(day);
        engine.platform.log.clear();
        state.ResumeTiming();
        screens.fastForwardAndUpdateEffectToDate(engine.platform.clock.now(), NPTransitionKind::none);
    }
    if (groups == 1000 && displays == 10) {
        NPSetLimit(state, catchUpLimit);
    }
}
BENCHMARK(CatchUp)
    ->Name("catch-up")
    ->ArgNames({"groups", "displays"})
    ->ArgsProduct({{1, 10, 100, 1000}, {1, 4, 10}});

// An edit of one group, as a slider makes many of: it saves them all.
void SaveAfterEdit(benchmark::State& state)
{
    NPBenchmarkEngine engine(static_cast<std::size_t>(state.range(0)), 1);
    NPEffectGroup& group = *engine.effects().groups().back();
    float level = -0.5F;
    for ([[maybe_unused]] const auto iteration : state) {
        level = level < -0.1F ? level + 0.0001F : -0.5F;
        group.setFloat(level, "DimLevel");
        engine.platform.log.clear();
    }
}
BENCHMARK(SaveAfterEdit)->Name("saving after an edit")->ArgName("groups")->Arg(1)->Arg(10)->Arg(100)->Arg(1000);

// What goes to the disk some moments later.
void SettingsFile(benchmark::State& state)
{
    QXArray groups;
    for (std::size_t i = 0; i < static_cast<std::size_t>(state.range(0)); ++i) {
        groups.emplace_back(NPBenchmarkGroup(i, 1));
    }
    const QXValue settings(QXDictionary{{std::string(NPEffectGroupsKey), std::move(groups)}});
    for ([[maybe_unused]] const auto iteration : state) {
        benchmark::DoNotOptimize(QXPropertyListBinaryData(settings));
    }
}
BENCHMARK(SettingsFile)->Name("settings file, made")->ArgName("groups")->Arg(1)->Arg(10)->Arg(100)->Arg(1000);

void SettingsFileRead(benchmark::State& state)
{
    QXArray groups;
    for (std::size_t i = 0; i < static_cast<std::size_t>(state.range(0)); ++i) {
        groups.emplace_back(NPBenchmarkGroup(i, 1));
    }
    const QXData data = QXPropertyListBinaryData(QXValue(std::move(groups))).value();
    for ([[maybe_unused]] const auto iteration : state) {
        benchmark::DoNotOptimize(QXPropertyListFromData(data));
    }
}
BENCHMARK(SettingsFileRead)->Name("settings file, read")->ArgName("groups")->Arg(1)->Arg(10)->Arg(100)->Arg(1000);

} // namespace
