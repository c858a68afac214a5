// What the tests of the screens share.
#pragma once

#include "Foundation/QXString.h"
#include "Screens/NPScreenManager.h"
#include "Support/GammaTables.h"
#include "Support/NPEngineTest.h"

// Settings of a group that scales every sample to 1 + level, with further settings.
inline QXDictionary dimming(std::string_view identifier, float level, const QXDictionary& further = {})
{
    QXDictionary settings{
        {"NPEffectIdentifier", identifier}, {"NPEffectName", identifier}, {"Dim", true}, {"DimLevel", level}};
    settings.insert(further.begin(), further.end());
    return settings;
}

// Settings of timers: "10:00" or "" for none; whole hours and minutes.
inline QXDictionary timed(std::string_view activation, std::string_view deactivation, QXDictionary further = {})
{
    const auto number = [](std::string_view text) { return QXValue(*QXParseDouble(text)); };
    if (!activation.empty()) {
        further.insert_or_assign("NPTimerActivationKind", 1);
        further.insert_or_assign("NPTimerActivationHour", number(activation.substr(0, 2)));
        further.insert_or_assign("NPTimerActivationMinute", number(activation.substr(3)));
    }
    if (!deactivation.empty()) {
        further.insert_or_assign("NPTimerDeactivationKind", 1);
        further.insert_or_assign("NPTimerDeactivationHour", number(deactivation.substr(0, 2)));
        further.insert_or_assign("NPTimerDeactivationMinute", number(deactivation.substr(3)));
    }
    return further;
}

// Settings that keep a group to some screens.
inline QXDictionary onScreens(QXArray screens, QXDictionary further = {})
{
    further.insert_or_assign("AffectedScreenSet", std::move(screens));
    return further;
}

inline QXDictionary clearingOthers(QXDictionary further)
{
    further.insert_or_assign("NPClearEffectOnOtherScreens", true);
    return further;
}

class NPScreensTest : public NPEngineTest {
protected:
    using NPEngineTest::NPEngineTest;

    void plug(NPDisplayID identifier) { platform.displays.plug({.identifier = identifier}); }

    const QXGammaTable& shown(NPDisplayID identifier) { return platform.displays.display(identifier)->table; }

    // The brightest sample: what a dimming group scales.
    float white(NPDisplayID identifier) { return shown(identifier).redTable[255]; }

    static NPScreenManager& manager() { return *sharedScreenManager(); }

    // What the manager holds for a display; nullptr when it holds nothing.
    static std::shared_ptr<NPScreenController> controllerOf(NPDisplayID identifier)
    {
        const auto& controllers = manager().screenControllers();
        for (std::size_t i = 0; controllers && i < controllers->size(); ++i) {
            if ((*controllers)[i]->screenID() == identifier) {
                return (*controllers)[i];
            }
        }
        return nullptr;
    }

    static QXDictionary stateEntry(std::string_view group, bool active, QXDate date)
    {
        return {{"GroupIdentifier", group}, {"Active", active}, {"Date", date}};
    }
    void storeState(QXDictionary state) { platform.defaults.setObject(std::move(state), NPScreenStateKey); }

    // "1:G+ 2:H- AllScreens:G+": what is stored, + for active.
    std::string state() const
    {
        std::string text;
        const auto stored = platform.defaults.dictionaryForKey(NPScreenStateKey).value_or(QXDictionary());
        for (const auto& [key, entry] : stored) {
            const QXDictionary& fields = *entry.dictionary();
            text += (text.empty() ? "" : " ") + key + ':' + *fields.at("GroupIdentifier").string();
            text += *fields.at("Active").boolean() ? '+' : '-';
        }
        return text;
    }

    // Of the entry under that key.
    QXDate stateDate(const std::string& key) const
    {
        const auto stored = platform.defaults.dictionaryForKey(NPScreenStateKey);
        return stored->at(key).dictionary()->at("Date").date().value();
    }

    // The lines of the log that are writes to that display.
    int writesTo(NPDisplayID identifier) const
    {
        const std::string begin = "write " + std::to_string(identifier) + ' ';
        return static_cast<int>(std::ranges::count_if(
            platform.log.lines(), [&](const std::string& line) { return line.starts_with(begin); }));
    }
};
