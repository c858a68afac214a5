// What a display costs in each step of a fade.
#include "NPBenchmarkEngine.h"
#include "NPLimit.h"

#include "Effects/NPEffectGroup.h"
#include "ScreenGamma/QXGammaTable.h"

namespace {

constexpr double pipelineLimit = 3e-6;

QXDictionary allFiveEffects()
{
    return {{"InvertScreen", true},
            {"Overexposure", true},
            {"Dim", true},
            {"DimLevel", -0.3},
            {"ColorFilter", true},
            {"ColorFilterHue", 40.0},
            {"ColorFilterVividness", 0.5},
            {"HDTVLuminance", true}};
}

void TablePipeline(benchmark::State& state)
{
    const NPBenchmarkEngine engine(1, 1);
    const NPEffectGroup group(NPEffectEnvironment::current(), allFiveEffects(), true);
    const QXGammaTable base = QXGammaTableIdentity();
    QXGammaTable shownBefore = base;
    QXGammaTableMixWithValue(shownBefore, 0.0F, 0.4F);
    float fraction = 0.0F;
    for ([[maybe_unused]] const auto iteration : state) {
        QXGammaTable table = base;
        group.applyEffectOnGammaCurve(table);
        QXGammaTableMixWithTable(shownBefore, table, fraction);
        QXGammaTableClamp(table);
        benchmark::DoNotOptimize(table);
        fraction = fraction < 1.0F ? fraction + 1.0F / 256.0F : 0.0F;
    }
    NPSetLimit(state, pipelineLimit);
}
BENCHMARK(TablePipeline)->Name("table: copy, five effects, blend, clamp");

void Blend(benchmark::State& state)
{
    const QXGammaTable source = QXGammaTableIdentity();
    QXGammaTable table = source;
    for ([[maybe_unused]] const auto iteration : state) {
        QXGammaTableMixWithTable(source, table, 0.5F);
        benchmark::DoNotOptimize(table);
    }
}
BENCHMARK(Blend)->Name("table: blend");

// A step of all displays at once, with the writes, which cost nothing here.
void FadeStep(benchmark::State& state)
{
    NPBenchmarkEngine engine(1, static_cast<std::size_t>(state.range(0)));
    NPScreenManager& screens = engine.screens();
    screens.setScreenManagementEnabled(true);
    const std::shared_ptr<NPEffectGroup> group = engine.effects().groups().front();
    group->setManualTransitionDuration(1e9); // still fading when the measurement ends
    screens.activateEffectGroup(group, NPTransitionKind::manual, engine.platform.clock.now());
    engine.platform.log.clear();
    for ([[maybe_unused]] const auto iteration : state) {
        screens.updateEffect();
        engine.platform.log.clear();
    }
}
BENCHMARK(FadeStep)->Name("step of a fade")->ArgName("displays")->Arg(1)->Arg(4)->Arg(10);

} // namespace
