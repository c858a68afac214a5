// When the next event is: asked for every group when timers are armed, and for every group and display when
// missed events are caught up with.
#include "NPBenchmarkEngine.h"
#include "NPLimit.h"

#include <numeric>

namespace {

constexpr double sunLimit = 3e-6;
constexpr double day = 86400.0;

using SunSearch = std::optional<QXDate> (NPSunriseSunsetCalculator::*)(QXDate) const;

// Through a year, at a different time of day each time.
void searchSun(benchmark::State& state, SunSearch search, double latitude)
{
    const NPBenchmarkEngine engine(1, 1);
    const std::shared_ptr<NPSunriseSunsetCalculator> sun = sharedCalculator();
    sun->setLatitude(latitude, 13.405, false);
    double step = 0.0;
    for ([[maybe_unused]] const auto iteration : state) {
        benchmark::DoNotOptimize(((*sun).*search)(QXDate{800000000.0 + step}));
        step = step < 365.0 * day ? step + 1.37 * day : step - 365.0 * day;
    }
    NPSetLimit(state, sunLimit);
}

void NextSunrise(benchmark::State& state)
{
    searchSun(state, &NPSunriseSunsetCalculator::nextSunriseAfterDate, 52.52);
}
BENCHMARK(NextSunrise)->Name("sun: next sunrise");

void PreviousSunset(benchmark::State& state)
{
    searchSun(state, &NPSunriseSunsetCalculator::previousSunsetBeforeDate, 52.52);
}
BENCHMARK(PreviousSunset)->Name("sun: previous sunset");

void NextSunriseFarNorth(benchmark::State& state)
{
    searchSun(state, &NPSunriseSunsetCalculator::nextSunriseAfterDate, 80.0);
}
BENCHMARK(NextSunriseFarNorth)->Name("sun: next sunrise, mostly polar day or night");

using GroupDate = std::optional<QXDate> (NPEffectGroup::*)(QXDate) const;

void askGroup(benchmark::State& state, NPEffectTimerKind kind, GroupDate ask)
{
    NPBenchmarkEngine engine(1, 1);
    NPEffectGroup& group = *engine.effects().groups().front();
    group.setActivationTimerKind(kind);
    double step = 0.0;
    for ([[maybe_unused]] const auto iteration : state) {
        benchmark::DoNotOptimize((group.*ask)(QXDate{800000000.0 + step}));
        step = step < 365.0 * day ? step + 1.37 * day : step - 365.0 * day;
    }
}

void NextTimeOfDay(benchmark::State& state)
{
    askGroup(state, NPEffectTimerKind::NPEffectTimerKindTime, &NPEffectGroup::upcommingActivationDateAfterDate);
}
BENCHMARK(NextTimeOfDay)->Name("date: next time of day");

void PreviousTimeOfDay(benchmark::State& state)
{
    askGroup(state, NPEffectTimerKind::NPEffectTimerKindTime, &NPEffectGroup::pastActivationDateBeforeDate);
}
BENCHMARK(PreviousTimeOfDay)->Name("date: previous time of day");

void NextGroupSunset(benchmark::State& state)
{
    askGroup(state, NPEffectTimerKind::NPEffectTimerKindSunset, &NPEffectGroup::upcommingActivationDateAfterDate);
}
BENCHMARK(NextGroupSunset)->Name("date: next sunset of a group");

} // namespace
