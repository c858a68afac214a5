// The user-defaults store: the application's settings, by key.
//
// Getters never fail: what is missing or of another kind reads as the neutral value (false, 0, 0.0, none).
// Setting and removing take effect in memory at once and reach the disk by themselves soon after; storing a
// value equal to the stored one does nothing. Every real change, also one that another process made, posts
// NPUserDefaultsDidChangeNotification on the default notification centre with the store as object, before
// the setter returns. Main thread only.
#pragma once

#include "Foundation/QXValue.h"

#include <optional>
#include <string>
#include <string_view>

inline constexpr std::string_view NPUserDefaultsDidChangeNotification = "NPUserDefaultsDidChangeNotification";

class NPUserDefaults {
public:
    virtual ~NPUserDefaults() = default;

    // The stored value, else the registered default, else none.
    virtual std::optional<QXValue> objectForKey(std::string_view key) const = 0;
    virtual void setObject(QXValue value, std::string_view key) = 0;
    virtual void removeObjectForKey(std::string_view key) = 0;

    // Values for keys that nothing is stored under. They are not saved and announce nothing.
    virtual void registerDefaults(const QXDictionary& defaults) = 0;

    // Writes what has not reached the disk yet. False when that failed; one line in the log says why, and
    // the changes are kept for the next attempt.
    virtual bool synchronize() = 0;

    bool boolForKey(std::string_view key) const;
    std::int64_t integerForKey(std::string_view key) const;
    double doubleForKey(std::string_view key) const;
    std::optional<QXArray> arrayForKey(std::string_view key) const;
    std::optional<QXDictionary> dictionaryForKey(std::string_view key) const;
};
