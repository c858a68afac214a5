// Menus with many effects.
#include "NPBenchmarkEngine.h"
#include "NPLimit.h"

#include "Menus/NPEffectListMenuManager.h"

namespace {

constexpr double rebuildLimit = 10e-3;

// As after every change of what the screens show. Every fourth group has a hot key.
void RebuildEffectList(benchmark::State& state)
{
    const auto groups = static_cast<std::size_t>(state.range(0));
    NPBenchmarkEngine engine(groups, 4);
    for (std::size_t i = 0; i < groups; i += 4) {
        const auto key = static_cast<std::uint16_t>(i % 48);
        engine.effects().groups()[i]->setHotKey(JXHotKey(key, NPCommandFlag | NPOptionFlag));
    }
    NPScreenManager& screens = engine.screens();
    screens.setScreenManagementEnabled(true);
    const auto menu = NPMenu::menu();
    const auto list = NPEffectListMenuManager::managerWithMenu(engine.platform.services(), engine.effects(),
                                                               screens, menu, nullptr, 0);
    for ([[maybe_unused]] const auto iteration : state) {
        list->setupEffectsMenu();
    }
    if (groups == 1000) {
        NPSetLimit(state, rebuildLimit);
    }
}
BENCHMARK(RebuildEffectList)
    ->Name("effect list, rebuilt")
    ->ArgName("groups")
    ->Arg(1)
    ->Arg(10)
    ->Arg(100)
    ->Arg(1000);

} // namespace
