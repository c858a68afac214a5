// What the user calls an effect: a named bundle of the five effect kinds with their parameters, a hot key,
// an activation and a deactivation timer, two fade durations and the screens it acts on.
//
// All of it lives in one flat settings dictionary, which is what the defaults store keeps and what an effect
// file holds. Getters never fail: a missing or wrongly typed value reads as a neutral value or the stated
// default. Keys that nobody here knows are kept. Each real change of a setting posts
// NPEffectGroupDidChangeNotification with the group as object, so a setter of two keys posts twice.
//
// Held by shared ownership: a pending timer of a removed group may still use it. Main thread only.
#pragma once

#include "Effects/NPEffectInfoSource.h"
#include "Effects/NPEffectKinds.h"
#include "Foundation/QXCalendar.h"
#include "Foundation/QXNotificationCenter.h"
#include "HotKey/JXHotKey.h"
#include "Platform/NPClock.h"
#include "Platform/NPDisplayServices.h"

#include <array>
#include <memory>

class NPSunriseSunsetCalculator;

inline constexpr std::string_view NPEffectGroupDidChangeNotification = "NPEffectGroupDidChangeNotification";

inline constexpr std::string_view NPSaveFormatKey = "NPSaveFormat";
inline constexpr std::string_view NPEffectIdentifierKey = "NPEffectIdentifier";
inline constexpr std::string_view NPEffectNameKey = "NPEffectName";
inline constexpr std::string_view NPUseHotKeyKey = "UseHotKey";
inline constexpr std::string_view NPHotKeyCodeKey = "HotKeyCode";
inline constexpr std::string_view NPHotKeyModifiersKey = "HotKeyModifiers";
inline constexpr std::string_view NPTimerActivationKindKey = "NPTimerActivationKind";
inline constexpr std::string_view NPTimerActivationHourKey = "NPTimerActivationHour";
inline constexpr std::string_view NPTimerActivationMinuteKey = "NPTimerActivationMinute";
inline constexpr std::string_view NPTimerDeactivationKindKey = "NPTimerDeactivationKind";
inline constexpr std::string_view NPTimerDeactivationHourKey = "NPTimerDeactivationHour";
inline constexpr std::string_view NPTimerDeactivationMinuteKey = "NPTimerDeactivationMinute";
inline constexpr std::string_view NPManualTransitionDurationKey = "NPManualTransitionDuration";
inline constexpr std::string_view NPTimerTransitionDurationKey = "NPTimerTransitionDuration";
inline constexpr std::string_view NPClearEffectOnOtherScreensKey = "NPClearEffectOnOtherScreens";
inline constexpr std::string_view NPAffectedScreenSetKey = "AffectedScreenSet";

// Reserved: written by nobody and not looked at. A timer is switched off by its kind.
inline constexpr std::string_view NPTimerActivationEnabledKey = "NPTimerActivationEnabled";
inline constexpr std::string_view NPTimerDeactivationEnabledKey = "NPTimerDeactivationEnabled";

// The file name extension and media type of effect files: XML property lists of one settings dictionary.
inline constexpr std::string_view NPEffectFileExtension = "nightpane-effect";
inline constexpr std::string_view NPEffectFileType = "org.nightpane.effect";

enum class NPEffectTimerKind : std::int32_t {
    NPEffectTimerKindNone = 0,
    NPEffectTimerKindTime = 1,
    NPEffectTimerKindSunrise = 2,
    NPEffectTimerKindSunset = 3,
};

// What a group needs around it. All of it outlives every group.
struct NPEffectEnvironment {
    QXNotificationCenter& notifications;
    const QXTimeZone& timeZone;
    const NPClock& clock;
    const NPSunriseSunsetCalculator& calculator;

    static NPEffectEnvironment current(); // of the shared scope
};

class NPEffectGroup final : public NPEffectInfoSource {
public:
    // With the given settings. Importing (an effect file, a copy) gives it a new identifier; otherwise a
    // stored identifier is kept. Neither announces anything.
    NPEffectGroup(const NPEffectEnvironment& environment, QXDictionary settings, bool isImporting);
    explicit NPEffectGroup(const NPEffectEnvironment& environment); // empty, with a new identifier

    // The settings as they are now.
    QXValue dictionary() const { return _infoSource; }
    const std::string& identifier() const { return _identifier; }

    NPInvertEffect& invertEffect() { return _invertEffect; }
    NPDimEffect& dimEffect() { return _dimEffect; }
    NPColorFilterEffect& colorFilterEffect() { return _colorFilterEffect; }
    NPHideStripesEffect& overexposureEffect() { return _overexposureEffect; }
    NPHDTVLuminanceEffect& hdtvLuminanceEffect() { return _hdtvLuminanceEffect; }
    const NPInvertEffect& invertEffect() const { return _invertEffect; }
    const NPDimEffect& dimEffect() const { return _dimEffect; }
    const NPColorFilterEffect& colorFilterEffect() const { return _colorFilterEffect; }
    const NPHideStripesEffect& overexposureEffect() const { return _overexposureEffect; }
    const NPHDTVLuminanceEffect& hdtvLuminanceEffect() const { return _hdtvLuminanceEffect; }
    const std::array<NPEffect*, 5>& orderedEffects() const { return _orderedEffects; }

    bool boolForKey(std::string_view key) const override;
    std::int64_t integerForKey(std::string_view key) const override;
    std::int64_t integerForKey(std::string_view key, std::int64_t defaultValue) const;
    float floatForKey(std::string_view key) const override;
    std::optional<QXValue> objectForKey(std::string_view key) const override;
    std::optional<QXArray> arrayForKey(std::string_view key) const override;
    std::optional<std::string> stringForKey(std::string_view key) const override;
    void setBool(bool value, std::string_view key) override;
    void setInteger(std::int64_t value, std::string_view key) override;
    void setFloat(float value, std::string_view key) override;
    void setObject(QXValue value, std::string_view key) override;
    void removeObjectForKey(std::string_view key) override;

    std::string name() const; // the localized "New Effect" when it has none
    void setName(std::string_view name);

    // Stored for whoever shows it; a hot key is in use when there is one.
    bool hotKeyEnabled() const { return boolForKey(NPUseHotKeyKey); }
    void setHotKeyEnabled(bool enabled) { setBool(enabled, NPUseHotKeyKey); }
    std::optional<JXHotKey> hotKey() const; // none when key code and modifiers are both 0
    void setHotKey(std::optional<JXHotKey> hotKey);

    // Hour and minute on the wall clock of the system's time zone; the other fields mean nothing. A stored
    // value outside 0..23 or 0..59 reads as the default (22:00 and 07:00).
    QXDateComponents activationTime() const;
    QXDateComponents deactivationTime() const;
    void setActivationTime(const QXDateComponents& time);
    void setDeactivationTime(const QXDateComponents& time);
    NPEffectTimerKind activationTimerKind() const;
    NPEffectTimerKind deactivationTimerKind() const;
    void setActivationTimerKind(NPEffectTimerKind kind);
    void setDeactivationTimerKind(NPEffectTimerKind kind);

    // Seconds, stored in single precision; 0.5 and 2.0 while nothing at all is stored.
    double manualTransitionDuration() const;
    double timerTransitionDuration() const;
    void setManualTransitionDuration(double seconds);
    void setTimerTransitionDuration(double seconds);

    // The displays the group acts on, ascending by number; empty means all. A set that holds anything but
    // numbers is discarded whole.
    NPDisplayList affectedScreenSet() const;
    void setAffectedScreenSet(QXArray screens);
    bool affectsScreen(NPDisplayID screen) const; // in the set, or the set is empty
    bool clearEffectOnOtherScreens() const { return boolForKey(NPClearEffectOnOtherScreensKey); }
    void setClearEffectOnOtherScreens(bool clear) { setBool(clear, NPClearEffectOnOtherScreensKey); }

    bool hasEffectSelected() const;

    // Applies the selected effects, in their order, in place.
    void applyEffectOnGammaCurve(QXGammaTable& table) const;

    // The group's next event strictly after, or last strictly before, a date; none when its timer is off or
    // the sun does not cross the horizon.
    std::optional<QXDate> upcommingActivationDateAfterDate(QXDate date) const;
    std::optional<QXDate> upcommingDeactivationDateAfterDate(QXDate date) const;
    std::optional<QXDate> pastActivationDateBeforeDate(QXDate date) const;
    std::optional<QXDate> pastDeactivationDateBeforeDate(QXDate date) const;

    // Turns the present sunrise or sunset times into times of day. A kind without a date changes nothing.
    void autoAdjustForSunriseSunset();

    // The next (previous) time that the wall clock shows these hours and minutes. Stops the program when
    // the calendar has no such time within a day ("[nextDate isGreaterThan:currentDate]",
    // "[previousDate isLessThan:currentDate]").
    QXDate _nextDateWithCompoments(const QXDateComponents& components, QXDate afterDate) const;
    QXDate _previousDateWithCompoments(const QXDateComponents& components, QXDate beforeDate) const;

private:
    const QXDictionary& _settings() const { return *_infoSource.dictionary(); }
    void _store(QXValue value, std::string_view key);
    void _valueDidChange();
    NPEffectTimerKind _timerKindForKey(std::string_view key) const;
    QXDateComponents _timeForKeys(std::string_view hourKey, int defaultHour, std::string_view minuteKey) const;
    void _setTime(const QXDateComponents& time, std::string_view hourKey, std::string_view minuteKey);
    std::optional<QXDate> _nextDate(NPEffectTimerKind kind, const QXDateComponents& time, QXDate after) const;
    std::optional<QXDate> _previousDate(NPEffectTimerKind kind, const QXDateComponents& time, QXDate before) const;

    NPEffectEnvironment _environment;
    QXValue _infoSource; // always a dictionary
    std::string _identifier;
    NPInvertEffect _invertEffect{this};
    NPHideStripesEffect _overexposureEffect{this};
    NPDimEffect _dimEffect{this};
    NPColorFilterEffect _colorFilterEffect{this};
    NPHDTVLuminanceEffect _hdtvLuminanceEffect{this};
    std::array<NPEffect*, 5> _orderedEffects{&_invertEffect, &_overexposureEffect, &_dimEffect,
                                             &_colorFilterEffect, &_hdtvLuminanceEffect};
};
