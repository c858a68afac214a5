#include "Shell/NPLocalControl.h"

#include "Foundation/QXPropertyList.h"
#include "Foundation/QXString.h"
#include "Screens/NPProfileManager.h"
#include "Shell/NPEffectSettings.h"

#include <algorithm>
#include <cmath>

namespace {

// Far within what the settings file, which will hold the effect among others, can hold.
constexpr QXPropertyListLimits effectFileLimits{.bytes = NPEffectFileSizeLimit, .depth = 32, .nodes = 10000};

std::unexpected<NPControlError> failure(std::string message)
{
    return std::unexpected(NPControlError{false, std::move(message)});
}

std::unexpected<NPControlError> misuse(std::string message)
{
    return std::unexpected(NPControlError{true, std::move(message)});
}

std::string lowercase(std::string text)
{
    std::ranges::transform(text, text.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return text;
}

std::optional<NPTransitionKind> transitionKind(const std::string& fade)
{
    if (fade == "none") {
        return NPTransitionKind::none;
    }
    if (fade == "manual") {
        return NPTransitionKind::manual;
    }
    return fade == "timed" ? std::optional(NPTransitionKind::timed) : std::nullopt;
}

void insertDate(QXDictionary& dictionary, std::string_view key, std::optional<QXDate> date)
{
    if (date) {
        dictionary.emplace(key, QXDateDescription(*date));
    }
}

QXArray samples(const QXGammaTable::Channel& channel, std::uint32_t count)
{
    return QXArray(channel.begin(), channel.begin() + count);
}

} // namespace

NPLocalControl::NPLocalControl(const NPPlatform& platform, NPEffectManager& effectManager,
                               NPScreenManager& screenManager, NPSunriseSunsetCalculator& calculator,
                               NPProcessDescription process, const NPAppController* controller)
    : _platform(platform), _effectManager(effectManager), _screenManager(screenManager), _calculator(calculator),
      _process(std::move(process)), _controller(controller)
{
}

NPControlResult<QXArray> NPLocalControl::effects()
{
    QXArray list;
    for (const Group& group : _effectManager.groups()) {
        list.emplace_back(_effectDescription(*group));
    }
    return list;
}

QXDictionary NPLocalControl::_effectDescription(const NPEffectGroup& group) const
{
    const int state = _screenManager.combinedStateForEffectGroup(group);
    QXDictionary settings;
    for (const auto& [key, text] : NPEffectSettingsOfGroup(group)) {
        settings.emplace(key, text);
    }
    QXDictionary description{{"identifier", group.identifier()},
                             {"name", group.name()},
                             {"state", state == 1   ? "on"
                                       : state == 0 ? "off"
                                                    : "mixed"},
                             {"settings", std::move(settings)}};
    const QXDate now = _platform.clock.now();
    insertDate(description, "nextActivation", group.upcommingActivationDateAfterDate(now));
    insertDate(description, "nextDeactivation", group.upcommingDeactivationDateAfterDate(now));
    if (const std::optional<JXHotKey> hotKey = group.hotKey()) {
        description.emplace("hotKey", _hotKeyDescription(group, *hotKey));
    }
    return description;
}

QXDictionary NPLocalControl::_hotKeyDescription(const NPEffectGroup& group, const JXHotKey& hotKey) const
{
    QXDictionary description{{"keyCode", hotKey.keyCode()}, {"modifierFlags", hotKey.modifierFlags()}};
    const auto insert = [&](std::string_view key, const std::optional<std::string>& text) {
        if (text) {
            description.emplace(key, *text);
        }
    };
    if (_controller) {
        insert("refusal", _controller->hotKeyRefusal(group));
        insert("trigger", _controller->hotKeyTrigger(group));
    }
    return description;
}

NPControlResult<QXArray> NPLocalControl::screens()
{
    const auto online = _platform.displays.onlineDisplayList(NPDisplayListCapacity);
    if (!online) {
        return failure("the list of screens cannot be read");
    }
    QXArray list;
    for (std::size_t i = 0; i < online->size(); ++i) {
        list.emplace_back(_screenDescription((*online)[i], i + 1));
    }
    return list;
}

QXDictionary NPLocalControl::_screenDescription(NPDisplayID screen, std::size_t position) const
{
    QXDictionary description{{"number", static_cast<std::int64_t>(position)},
                             {"identifier", screen},
                             {"name", _platform.displays.displayName(screen)},
                             {"main", screen == _platform.displays.mainDisplay()}};
    const auto entry = NPScreenStateForScreen(_platform.defaults, screen);
    const Group group = entry ? _effectManager.groupWithIdentifier(entry->groupIdentifier) : nullptr;
    description.emplace("active", group && entry->active);
    if (group) {
        description.emplace("effect", group->name());
        description.emplace("effectIdentifier", group->identifier());
        insertDate(description, "since", entry->date);
    }
    return description;
}

NPControlResult<QXDictionary> NPLocalControl::status()
{
    QXDictionary status{{"version", _process.version},
                        {"running", _process.running},
                        {"platform", _process.platform},
                        {"active", _platform.defaults.boolForKey(NPEffectActiveKey)}};
    if (_process.running) {
        status.emplace("process", _process.process);
    }
    return status;
}

// Whoever activates an effect wants to see it, in the fade asked for: so the switch goes on first.
NPControlResult<void> NPLocalControl::activate(const std::string& effect, const std::string& fade)
{
    const NPControlResult<Request> request = _request(effect, fade);
    if (!request) {
        return std::unexpected(request.error());
    }
    if (const NPControlResult<void> switchedOn = setEffectActive(true); !switchedOn) {
        return switchedOn;
    }
    _screenManager.activateEffectGroup(request->group, request->transition, _platform.clock.now());
    return {};
}

NPControlResult<void> NPLocalControl::deactivate(const std::string& effect, const std::string& fade)
{
    const NPControlResult<Request> request = _request(effect, fade);
    if (!request) {
        return std::unexpected(request.error());
    }
    _screenManager.deactivateEffectGroup(request->group, request->transition, _platform.clock.now());
    return {};
}

NPControlResult<void> NPLocalControl::toggle(const std::string& effect, const std::string& fade)
{
    const NPControlResult<Group> group = _group(effect);
    const bool isOn = group && _screenManager.combinedStateForEffectGroup(**group) == 1;
    return isOn ? deactivate(effect, fade) : activate(effect, fade);
}

NPControlResult<NPLocalControl::Request> NPLocalControl::_request(const std::string& effect,
                                                                  const std::string& fade) const
{
    const std::optional<NPTransitionKind> transition = transitionKind(fade);
    if (!transition) {
        return misuse("'" + fade + "' is not a fade; expected none, manual or timed");
    }
    const NPControlResult<Group> group = _group(effect);
    if (!group) {
        return std::unexpected(group.error());
    }
    return Request{*group, *transition};
}

// Where no application controller follows the saved switch, as in a single command, it is followed here.
NPControlResult<void> NPLocalControl::setEffectActive(bool active)
{
    _platform.defaults.setObject(active, NPEffectActiveKey);
    _screenManager.setScreenManagementEnabled(active);
    if (!active) {
        // Also what the screen manager does not know of: displays that are dark now, or that another run has changed.
        _platform.displays.restoreColorSyncSettings();
    }
    return {};
}

NPControlResult<std::string> NPLocalControl::addEffect(const std::string& name, const NPControlSettings& settings)
{
    // Tried on a group outside the list first, so that a wrong setting leaves nothing behind.
    const auto trial = std::make_shared<NPEffectGroup>(NPEffectEnvironment::current(), QXDictionary(), true);
    NPControlSettings all = settings;
    all["name"] = name;
    if (const NPControlResult<void> applied = NPApplyEffectSettings(*trial, all, _onlineDisplays()); !applied) {
        return std::unexpected(applied.error());
    }
    return _effectManager.addGroupWithDictionary(*trial->dictionary().dictionary())->identifier();
}

NPControlResult<void> NPLocalControl::setEffect(const std::string& effect, const NPControlSettings& settings)
{
    const NPControlResult<Group> group = _group(effect);
    if (!group) {
        return std::unexpected(group.error());
    }
    return NPApplyEffectSettings(**group, settings, _onlineDisplays());
}

NPControlResult<void> NPLocalControl::renameEffect(const std::string& effect, const std::string& name)
{
    return setEffect(effect, {{"name", name}});
}

NPControlResult<std::string> NPLocalControl::duplicateEffect(const std::string& effect)
{
    const NPControlResult<std::size_t> index = _indexOfEffect(effect);
    if (!index) {
        return std::unexpected(index.error());
    }
    return _effectManager.duplicateGroupAtIndex(*index)->identifier();
}

NPControlResult<void> NPLocalControl::removeEffect(const std::string& effect)
{
    const NPControlResult<std::size_t> index = _indexOfEffect(effect);
    if (!index) {
        return std::unexpected(index.error());
    }
    if (_effectManager.groups().size() == 1) {
        return failure("the last effect cannot be removed");
    }
    _clearEffectFromScreens(_effectManager.groups()[*index]);
    _effectManager.removeGroupAtIndex(*index);
    return {};
}

// Only where it is on: deactivating an effect of all screens overwrites what is recorded of any other.
void NPLocalControl::_clearEffectFromScreens(const Group& group)
{
    QXArray screens;
    for (const NPDisplayID screen : _onlineDisplays()) {
        const auto entry = NPScreenStateForScreen(_platform.defaults, screen);
        if (entry && entry->active && entry->groupIdentifier == group->identifier()) {
            screens.emplace_back(screen);
        }
    }
    if (!screens.empty()) {
        group->setAffectedScreenSet(std::move(screens));
        _screenManager.deactivateEffectGroup(group, NPTransitionKind::manual, _platform.clock.now());
    }
}

NPControlResult<std::string> NPLocalControl::importEffect(const QXData& file)
{
    const auto settings = QXPropertyListFromData(file, effectFileLimits);
    if (!settings) {
        return failure("not an effect file: " + settings.error());
    }
    if (!settings->dictionary()) {
        return failure("not an effect file: it holds no dictionary of settings");
    }
    return _effectManager.addGroupWithDictionary(NPEffectSettingsWithinRanges(*settings->dictionary()))
        ->identifier();
}

NPControlResult<QXData> NPLocalControl::exportEffect(const std::string& effect)
{
    const NPControlResult<Group> group = _group(effect);
    if (!group) {
        return std::unexpected(group.error());
    }
    std::expected<QXData, std::string> file = QXPropertyListXMLData((*group)->dictionary());
    if (!file) {
        return failure("effect '" + effect + "' cannot be written: " + file.error());
    }
    return std::move(*file);
}

NPControlResult<QXDictionary> NPLocalControl::location()
{
    return QXDictionary{{"latitude", _calculator.latitude()},
                        {"longitude", _calculator.longitude()},
                        {"guessed", _calculator.unknownPosition()}};
}

NPControlResult<void> NPLocalControl::setLocation(double latitude, double longitude)
{
    if (!NPIsPlace(latitude, longitude)) {
        return misuse("a place has a latitude from -90 to 90 and a longitude from -180 to 180");
    }
    _calculator.setLatitude(latitude, longitude, true);
    return {};
}

NPControlResult<QXDictionary> NPLocalControl::table(const std::string& screen)
{
    const NPControlResult<NPDisplayID> display = _screen(screen);
    if (!display) {
        return std::unexpected(display.error());
    }
    QXGammaTable table;
    if (!_platform.displays.getDisplayTransferTable(*display, table)) {
        return failure("the table of screen '" + screen + "' cannot be read");
    }
    return QXDictionary{{"screen", *display},
                        {"samples", table.sampleCount},
                        {"red", samples(table.redTable, table.sampleCount)},
                        {"green", samples(table.greenTable, table.sampleCount)},
                        {"blue", samples(table.blueTable, table.sampleCount)}};
}

NPControlResult<void> NPLocalControl::restore()
{
    const NPControlResult<void> switchedOff = setEffectActive(false);
    _restoreProfiles();
    _platform.displays.restoreColorSyncSettings();
    return switchedOff;
}

// Also of displays that no controller has changed: an earlier run may have left custom profiles behind.
void NPLocalControl::_restoreProfiles()
{
    const std::shared_ptr<NPProfileApplying> profiles = sharedProfileManager();
    profiles->beginUpdate();
    for (const NPDisplayID screen : _onlineDisplays()) {
        profiles->setProfileURL(_platform.profiles.copyDisplayProfile(screen).location, screen);
        profiles->removeProfileFileForScreen(screen);
    }
    profiles->endUpdate();
}

NPControlResult<NPDisplayProfile> NPLocalControl::profile(const std::string& screen)
{
    const NPControlResult<NPDisplayID> display = _screen(screen);
    if (!display) {
        return std::unexpected(display.error());
    }
    NPDisplayProfile profile = _platform.profiles.copyDisplayProfile(*display);
    if (!profile.profile) {
        return failure("screen '" + screen + "' has no colour profile");
    }
    return profile;
}

// By identifier, by name, or by a name that differs in the case of its letters; each only when it is clear
// which one is meant.
NPControlResult<std::size_t> NPLocalControl::_indexOfEffect(const std::string& effect) const
{
    const NPEffectGroupList& groups = _effectManager.groups();
    const auto matches = [&](auto matchesGroup) {
        std::vector<std::size_t> found;
        for (std::size_t i = 0; i < groups.size(); ++i) {
            if (matchesGroup(*groups[i])) {
                found.push_back(i);
            }
        }
        return found;
    };
    std::vector<std::size_t> found =
        matches([&](const NPEffectGroup& group) { return group.identifier() == effect; });
    if (found.empty()) {
        found = matches([&](const NPEffectGroup& group) { return group.name() == effect; });
    }
    if (found.empty()) {
        found = matches([&](const NPEffectGroup& group) { return lowercase(group.name()) == lowercase(effect); });
    }
    if (found.empty()) {
        return failure("there is no effect '" + effect + "'");
    }
    if (found.size() > 1) {
        return failure("several effects are named '" + effect + "'; use an identifier");
    }
    return found.front();
}

NPControlResult<NPLocalControl::Group> NPLocalControl::_group(const std::string& effect) const
{
    const NPControlResult<std::size_t> index = _indexOfEffect(effect);
    if (!index) {
        return std::unexpected(index.error());
    }
    return _effectManager.groups()[*index];
}

NPControlResult<NPDisplayID> NPLocalControl::_screen(const std::string& screen) const
{
    const NPDisplayList online = _onlineDisplays();
    for (std::size_t i = 0; i < online.size(); ++i) {
        if (screen == std::to_string(i + 1) || screen == std::to_string(online[i])
            || screen == _platform.displays.displayName(online[i])) {
            return online[i];
        }
    }
    return failure("there is no screen '" + screen + "'");
}

NPDisplayList NPLocalControl::_onlineDisplays() const
{
    return _platform.displays.onlineDisplayList(NPDisplayListCapacity).value_or(NPDisplayList());
}

QXDictionary NPSunDescription(const NPSunriseSunsetCalculator& calculator, QXDate at)
{
    QXDictionary description{{"latitude", calculator.latitude()},
                             {"longitude", calculator.longitude()},
                             {"guessed", calculator.unknownPosition()}};
    insertDate(description, "at", at);
    insertDate(description, "previousSunrise", calculator.previousSunriseBeforeDate(at));
    insertDate(description, "previousSunset", calculator.previousSunsetBeforeDate(at));
    insertDate(description, "nextSunrise", calculator.nextSunriseAfterDate(at));
    insertDate(description, "nextSunset", calculator.nextSunsetAfterDate(at));
    return description;
}

bool NPIsPlace(double latitude, double longitude)
{
    return std::fabs(latitude) <= 90.0 && std::fabs(longitude) <= 180.0;
}
