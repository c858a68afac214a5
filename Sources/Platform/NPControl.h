// What another program can ask of Nightpane: the commands of the command line, and the methods of the D-Bus
// interface. The same operations act in the asking process itself when no instance is running.
//
// An effect is named by its identifier or its name, a screen by its position ("1"), its identifier or its
// name. Failures are one line for people, without the program's name. Results hold booleans, integers,
// reals, texts, arrays and dictionaries; moments are ISO 8601 texts in UTC, and a key that has nothing to
// say is absent.
#pragma once

#include "Foundation/QXValue.h"

#include <cstddef>
#include <expected>
#include <map>
#include <optional>
#include <string>

struct NPControlError {
    bool misuse = false; // the request makes no sense, as opposed to: it could not be done
    std::string message;
};

template<class Value> using NPControlResult = std::expected<Value, NPControlError>;

// Settings of an effect as people write them, for example {"dim", "30%"}; the documentation of the keys is
// with NPEffectSettings.
using NPControlSettings = std::map<std::string, std::string>;

// No effect file is larger, in bytes.
inline constexpr std::size_t NPEffectFileSizeLimit = std::size_t{1} << 20;

class NPControl {
public:
    virtual ~NPControl() = default;

    // An array of dictionaries: "identifier", "name", "state" ("on", "off", "mixed"), "settings" (a
    // dictionary of texts in the form of NPControlSettings), "nextActivation", "nextDeactivation", and "hotKey"
    // when it has one: a dictionary of "keyCode" (virtual), "modifierFlags", "refusal" (why it does not work)
    // and "trigger" (what has to be pressed, in the desktop's words, where the desktop decides it).
    virtual NPControlResult<QXArray> effects() = 0;

    // An array of dictionaries: "number" (from 1), "identifier", "name", "main", "effect" (the name of what
    // is on), "effectIdentifier", "active", "since".
    virtual NPControlResult<QXArray> screens() = 0;

    // "version", "running" (an instance answers), "active" (the global switch), "process", "platform".
    virtual NPControlResult<QXDictionary> status() = 0;

    // The fade is "none", "manual" or "timed". Activating also switches the global switch on.
    virtual NPControlResult<void> activate(const std::string& effect, const std::string& fade) = 0;
    virtual NPControlResult<void> deactivate(const std::string& effect, const std::string& fade) = 0;
    virtual NPControlResult<void> toggle(const std::string& effect, const std::string& fade) = 0;
    virtual NPControlResult<void> setEffectActive(bool active) = 0;

    // New effects are appended; the result is the new effect's identifier.
    virtual NPControlResult<std::string> addEffect(const std::string& name, const NPControlSettings& settings) = 0;
    virtual NPControlResult<void> setEffect(const std::string& effect, const NPControlSettings& settings) = 0;
    virtual NPControlResult<void> renameEffect(const std::string& effect, const std::string& name) = 0;
    virtual NPControlResult<std::string> duplicateEffect(const std::string& effect) = 0;
    virtual NPControlResult<void> removeEffect(const std::string& effect) = 0;

    // An effect file's bytes.
    virtual NPControlResult<std::string> importEffect(const QXData& file) = 0;
    virtual NPControlResult<QXData> exportEffect(const std::string& effect) = 0;

    // "latitude", "longitude" (degrees, north and east positive), "guessed" (from the time zone).
    virtual NPControlResult<QXDictionary> location() = 0;
    virtual NPControlResult<void> setLocation(double latitude, double longitude) = 0;

    // "screen" (identifier), "samples", and "red", "green", "blue": arrays of reals; what the screen shows.
    virtual NPControlResult<QXDictionary> table(const std::string& screen) = 0;

    // Switches off and gives every display its own table back, also those that an earlier run left changed.
    virtual NPControlResult<void> restore() = 0;
};
