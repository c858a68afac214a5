#include "NPBenchmarkEngine.h"

#include <memory>

namespace {

// Noon in June: some of the day's events have been, others are to come.
constexpr QXDate start{802180800.0};

} // namespace

QXDictionary NPBenchmarkGroup(std::size_t index, std::size_t displays)
{
    const auto number = static_cast<std::int64_t>(index);
    QXDictionary settings{{std::string(NPEffectIdentifierKey), "group-" + std::to_string(index)},
                          {std::string(NPEffectNameKey), "Effect " + std::to_string(index)},
                          {"Dim", true},
                          {"DimLevel", -0.3},
                          {"ColorFilter", true},
                          {"ColorFilterVividness", 0.5},
                          {std::string(NPTimerActivationKindKey), 1 + number % 3},
                          {std::string(NPTimerActivationHourKey), number % 24},
                          {std::string(NPTimerActivationMinuteKey), number % 60},
                          {std::string(NPTimerDeactivationKindKey), 1 + (number + 1) % 3},
                          {std::string(NPTimerDeactivationHourKey), (number + 9) % 24},
                          {std::string(NPTimerDeactivationMinuteKey), (number + 30) % 60}};
    if (index % 4 == 1) { // one display alone, and clear the others
        settings.emplace(NPAffectedScreenSetKey, QXArray{static_cast<std::int64_t>(1 + index % displays)});
        settings.emplace(NPClearEffectOnOtherScreensKey, index % 8 == 1);
    }
    return settings;
}

NPBenchmarkEngine::NPBenchmarkEngine(std::size_t groups, std::size_t displays) : platform(start)
{
    platform.timeZones.setSystemTimeZone(
        std::make_shared<QXRuleTimeZone>(QXRuleTimeZone::timeZoneWithRule("CET-1CEST,M3.5.0,M10.5.0/3").value()));
    platform.defaults.setObject(52.52, NPLocationLatitudeKey);
    platform.defaults.setObject(13.405, NPLocationLongitudeKey);
    QXArray stored;
    for (std::size_t i = 0; i < groups; ++i) {
        stored.emplace_back(NPBenchmarkGroup(i, displays));
    }
    platform.defaults.setObject(std::move(stored), NPEffectGroupsKey);
    for (std::size_t i = 1; i <= displays; ++i) {
        NPSimulatedDisplay display;
        display.identifier = static_cast<NPDisplayID>(i);
        platform.displays.plug(display);
    }
    NPInstallPlatform(platform.services());
}
