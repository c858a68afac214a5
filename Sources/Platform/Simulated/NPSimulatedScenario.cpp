#include "Platform/Simulated/NPSimulatedScenario.h"

#include "Foundation/QXRuleTimeZone.h"

#include <limits>

namespace {

constexpr double fastest = 100000.0;
constexpr double longest = 1e9; // seconds, some thirty years

std::unexpected<std::string> wrong(std::string_view key, std::string_view expected)
{
    return std::unexpected(std::string(key) + ": expected " + std::string(expected));
}

using Read = std::expected<void, std::string>;

// The number under a key, the default when there is none, an error when it is not within the limits.
std::expected<double, std::string> number(const QXDictionary& fields, std::string_view key, double defaultValue,
                                          double least, double most)
{
    const QXValue* value = QXDictionaryValue(fields, key);
    const double result = value ? value->real().value_or(std::numeric_limits<double>::quiet_NaN()) : defaultValue;
    if (!(result >= least && result <= most)) {
        return wrong(key, "another number");
    }
    return result;
}

bool flag(const QXDictionary& fields, std::string_view key)
{
    const QXValue* value = QXDictionaryValue(fields, key);
    return value && value->boolean().value_or(false);
}

std::string text(const QXDictionary& fields, std::string_view key)
{
    const QXValue* value = QXDictionaryValue(fields, key);
    return value && value->string() ? *value->string() : "";
}

Read readTime(const QXDictionary& fields, NPSimulatedScenario& scenario)
{
    if (QXDictionaryValue(fields, "Start")) {
        scenario.start = QXDateFromDescription(text(fields, "Start"));
        if (!scenario.start) {
            return wrong("Start", "a moment such as 2026-06-20T10:00:00Z");
        }
    }
    if (QXDictionaryValue(fields, "TimeZone")) {
        const auto zone = QXRuleTimeZone::timeZoneWithRule(text(fields, "TimeZone"));
        if (!zone) {
            return wrong("TimeZone", "a rule such as CET-1CEST,M3.5.0,M10.5.0/3");
        }
        scenario.timeZone = std::make_shared<QXRuleTimeZone>(*zone);
    }
    const auto speed = number(fields, "Speed", 1.0, 0.001, fastest);
    if (!speed) {
        return std::unexpected(speed.error());
    }
    scenario.speed = *speed;
    if (QXDictionaryValue(fields, "Duration")) {
        const auto duration = number(fields, "Duration", 0.0, 0.0, longest);
        if (!duration) {
            return std::unexpected(duration.error());
        }
        scenario.duration = *duration;
    }
    return {};
}

Read readDisplay(const QXValue& value, NPSimulatedScenario& scenario)
{
    const QXDictionary* fields = value.dictionary();
    if (!fields) {
        return wrong("Displays", "dictionaries");
    }
    const auto identifier = number(*fields, "Identifier", 0.0, 1.0, 4294967295.0);
    const auto sampleCount = number(*fields, "Samples", 256.0, 2.0, 256.0);
    if (!identifier || !sampleCount) {
        return std::unexpected("Displays: " + (identifier ? sampleCount.error() : identifier.error()));
    }
    NPSimulatedDisplay display;
    display.identifier = static_cast<NPDisplayID>(*identifier);
    display.name = text(*fields, "Name");
    display.table = QXGammaTableIdentity(static_cast<std::uint32_t>(*sampleCount));
    display.baseTable = display.table;
    display.readsFail = flag(*fields, "ReadsFail");
    display.writesFail = flag(*fields, "WritesFail");
    scenario.displays.push_back(std::move(display));
    return {};
}

Read readEvent(const QXValue& value, NPSimulatedScenario& scenario)
{
    using Kind = NPSimulatedEvent::Kind;
    static const std::map<std::string, Kind> kinds{
        {"plug", Kind::plug}, {"unplug", Kind::unplug}, {"sleep", Kind::sleep}, {"set clock", Kind::setClock}};
    const QXDictionary* fields = value.dictionary();
    if (!fields) {
        return wrong("Events", "dictionaries");
    }
    const auto kind = kinds.find(text(*fields, "Kind"));
    if (kind == kinds.end()) {
        return wrong("Events: Kind", "plug, unplug, sleep or set clock");
    }
    const auto after = number(*fields, "After", 0.0, 0.0, longest);
    const auto display = number(*fields, "Display", 0.0, 0.0, 4294967295.0);
    const auto seconds = number(*fields, "Seconds", 0.0, kind->second == Kind::sleep ? 0.0 : -longest, longest);
    for (const auto* each : {&after, &display, &seconds}) {
        if (!*each) {
            return std::unexpected("Events: " + each->error());
        }
    }
    scenario.events.push_back({*after, kind->second, static_cast<NPDisplayID>(*display), *seconds});
    return {};
}

Read readArray(const QXDictionary& fields, std::string_view key, NPSimulatedScenario& scenario,
               Read (*readElement)(const QXValue&, NPSimulatedScenario&))
{
    const QXValue* value = QXDictionaryValue(fields, key);
    if (!value) {
        return {};
    }
    if (!value->array()) {
        return wrong(key, "an array");
    }
    for (const QXValue& element : *value->array()) {
        if (Read read = readElement(element, scenario); !read) {
            return read;
        }
    }
    return {};
}

void happen(const NPSimulatedEvent& event, NPSimulatedPlatform& platform)
{
    switch (event.kind) {
    case NPSimulatedEvent::Kind::plug:
        platform.displays.plugAgain(event.display);
        break;
    case NPSimulatedEvent::Kind::unplug:
        platform.displays.unplug(event.display);
        break;
    case NPSimulatedEvent::Kind::sleep:
        platform.clock.sleep(event.seconds);
        break;
    case NPSimulatedEvent::Kind::setClock:
        platform.clock.setWallClock(platform.clock.now().addingTimeInterval(event.seconds));
        break;
    }
}

} // namespace

std::expected<NPSimulatedScenario, std::string> NPSimulatedScenario::fromValue(const QXValue& value)
{
    const QXDictionary* fields = value.dictionary();
    if (!fields) {
        return std::unexpected(std::string("expected a dictionary"));
    }
    NPSimulatedScenario scenario;
    if (const QXValue* defaults = QXDictionaryValue(*fields, "Defaults")) {
        if (!defaults->dictionary()) {
            return wrong("Defaults", "a dictionary");
        }
        scenario.defaults = *defaults->dictionary();
    }
    for (const Read& read : {readTime(*fields, scenario), readArray(*fields, "Displays", scenario, readDisplay),
                             readArray(*fields, "Events", scenario, readEvent)}) {
        if (!read) {
            return std::unexpected(read.error());
        }
    }
    return scenario;
}

NPSimulatedScenario NPSimulatedScenario::standard()
{
    NPSimulatedScenario scenario;
    scenario.displays = {{.identifier = 1, .name = "Left"}, {.identifier = 2, .name = "Right"}};
    scenario.displays.back().bounds.x = scenario.displays.front().bounds.width;
    return scenario;
}

std::vector<std::shared_ptr<NPTimerSource>> NPSimulatedScenario::install(NPSimulatedPlatform& platform) const
{
    platform.timeZones.setSystemTimeZone(timeZone);
    for (const NPSimulatedDisplay& display : displays) {
        platform.displays.plug(display);
    }
    for (const auto& [key, value] : defaults) {
        platform.defaults.setObject(value, key);
    }
    std::vector<std::shared_ptr<NPTimerSource>> timers;
    const QXDate now = platform.clock.now();
    for (const NPSimulatedEvent& event : events) {
        // On the wall clock, so that sleep does not delay what comes after it; once, so never again.
        auto timer = platform.clock.makeWallClockTimer(now.addingTimeInterval(event.after),
                                                       std::numeric_limits<std::uint64_t>::max(), 0);
        timer->setEventHandler([event, &platform, weak = std::weak_ptr(timer)] {
            if (const auto fired = weak.lock()) {
                fired->cancel();
            }
            happen(event, platform);
        });
        timer->resume();
        timers.push_back(timer);
    }
    return timers;
}
