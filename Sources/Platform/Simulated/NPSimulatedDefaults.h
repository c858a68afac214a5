// A user-defaults store in memory.
#pragma once

#include "Foundation/QXNotificationCenter.h"
#include "Platform/NPUserDefaults.h"
#include "Platform/Simulated/NPActionLog.h"

// Every real change is one line of the action log: "defaults set KEY" or "defaults remove KEY". So is writing them,
// "defaults synchronize", and each default: "defaults register KEY".
class NPSimulatedDefaults final : public NPUserDefaults {
public:
    NPSimulatedDefaults(NPActionLog& log, QXNotificationCenter& notifications)
        : _log(log), _notifications(notifications)
    {
    }

    std::optional<QXValue> objectForKey(std::string_view key) const override;
    void setObject(QXValue value, std::string_view key) override;
    void removeObjectForKey(std::string_view key) override;
    void registerDefaults(const QXDictionary& defaults) override;
    bool synchronize() override
    {
        _log.add("defaults synchronize");
        return true;
    }

    // What is stored, without the registered defaults.
    const QXDictionary& stored() const { return _stored; }

private:
    NPActionLog& _log;
    QXNotificationCenter& _notifications;
    QXDictionary _stored;
    QXDictionary _registered;
};
