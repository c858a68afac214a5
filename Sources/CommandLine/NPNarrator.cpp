#include "CommandLine/NPNarrator.h"

#include "CommandLine/NPOutput.h"
#include "CommandLine/NPTextOutput.h"
#include "Foundation/QXWeakTarget.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr char ownTable[] = "its own table";

// The table rests after the step at the end of its fade, which may be late by half a step.
constexpr double afterTheLastStep = 0.05;

std::string percent(float sample)
{
    return std::to_string(std::lround(static_cast<double>(sample) * 100.0));
}

} // namespace

NPNarrator::NPNarrator(const NPPlatform& platform, NPScreenManager& screenManager)
    : _platform(platform), _screenManager(screenManager)
{
}

NPNarrator::~NPNarrator()
{
    if (_restTimer) {
        _restTimer->invalidate();
    }
}

void NPNarrator::start()
{
    _platform.notifications.addObserver(_observer, std::string(NPScreenManagerEffectStateDidChange), nullptr,
                                        [this](const QXNotification&) { _stateDidChange(); });
    _displaySubscription = _platform.displays.registerReconfigurationCallback(
        [this](NPDisplayID display, std::uint32_t flags) { _displayDidChange(display, flags); });
    const auto online = _platform.displays.onlineDisplayList(NPDisplayListCapacity).value_or(NPDisplayList());
    for (const NPDisplayID screen : online) {
        // Known from the start, not newly connected. Numbers are told only of what an effect has changed.
        _told.emplace(screen, Told{_platform.displays.displayName(screen), "",
                                   _stateOfScreen(screen) == ownTable ? _whiteOfScreen(screen) : ""});
    }
    _stateDidChange();
}

void NPNarrator::_stateDidChange()
{
    const auto online = _platform.displays.onlineDisplayList(NPDisplayListCapacity).value_or(NPDisplayList());
    for (const NPDisplayID screen : online) {
        const std::string state = _stateOfScreen(screen);
        const bool isNew = !_told.contains(screen);
        if (_told[screen].state != state) {
            _told[screen].state = state;
            _say(screen, (isNew ? "connected; " : "") + state);
        }
    }
    if (_restTimer) {
        _restTimer->invalidate();
        _restTimer.reset();
    }
    const std::optional<QXDate> end = _endOfFades();
    const QXDate now = _platform.clock.now();
    if (end && *end > now) {
        _restTimer = NPEffectTimer::scheduledEffectTimerWithTimeInterval(
            _platform.timers, end->timeIntervalSince(now) + afterTheLastStep,
            weakTarget(weak_from_this(), &NPNarrator::_restTimerFired), {}, false, afterTheLastStep);
    } else {
        _tellRestingTables();
    }
}

void NPNarrator::_displayDidChange(NPDisplayID display, std::uint32_t flags)
{
    if ((flags & NPDisplayChangeRemove) != 0) {
        _say(display, "disconnected");
        _told.erase(display);
    } else if ((flags & NPDisplayChangeAdd) != 0) {
        _stateDidChange(); // also while Nightpane is off and nobody else announces anything
    }
}

void NPNarrator::_restTimerFired(NPEffectTimer&)
{
    _tellRestingTables();
}

// The names come from the recorded state, so they are told while the switch is off as well.
std::string NPNarrator::_stateOfScreen(NPDisplayID screen) const
{
    if (!_screenManager.screenControllers()) {
        return "its own table (Nightpane is off)";
    }
    const auto& controllers = *_screenManager.screenControllers();
    const auto found = std::ranges::find(controllers, screen, &NPScreenController::screenID);
    if (found == controllers.end() || !(*found)->isActive() || !(*found)->effect()) {
        return ownTable;
    }
    return '"' + NPPrintable((*found)->effect()->name()) + "\" is on";
}

std::optional<QXDate> NPNarrator::_endOfFades() const
{
    std::optional<QXDate> end;
    const auto controllers = _screenManager.screenControllers();
    for (const auto& controller : controllers.value_or(NPScreenManager::ControllerList())) {
        const std::optional<QXDate> target = controller->targetDate();
        if (target && (!end || *target > *end)) {
            end = target;
        }
    }
    return end;
}

std::string NPNarrator::_whiteOfScreen(NPDisplayID screen)
{
    QXGammaTable table;
    if (!_platform.displays.getDisplayTransferTable(screen, table) || table.sampleCount == 0) {
        return "its table cannot be read";
    }
    const std::size_t last = table.sampleCount - 1;
    const auto level = [](const QXGammaTable::Channel& channel, std::size_t i) { return percent(channel[i]); };
    return "black is now " + level(table.redTable, 0) + '/' + level(table.greenTable, 0) + '/'
           + level(table.blueTable, 0) + ", white " + level(table.redTable, last) + '/'
           + level(table.greenTable, last) + '/' + level(table.blueTable, last) + " % of red/green/blue";
}

void NPNarrator::_tellRestingTables()
{
    const auto online = _platform.displays.onlineDisplayList(NPDisplayListCapacity).value_or(NPDisplayList());
    for (const NPDisplayID screen : online) {
        const std::string white = _whiteOfScreen(screen);
        if (_told[screen].white != white) {
            _told[screen].white = white;
            _say(screen, white);
        }
    }
}

void NPNarrator::_say(NPDisplayID screen, const std::string& what)
{
    std::string& name = _told[screen].name;
    if (const std::string current = _platform.displays.displayName(screen); !current.empty()) {
        name = current;
    }
    const std::string line = NPLocalTimeText(_platform.clock.now(), _platform.timeZones.systemTimeZone()) + "  "
                             + (name.empty() ? std::to_string(screen) : NPPrintable(name)) + ": " + what;
    NPPrintEvent(line);
}
