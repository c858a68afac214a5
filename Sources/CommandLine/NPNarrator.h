// Tells what happens to each display, a line an event, on standard output.
#pragma once

#include "Effects/NPEffectTimer.h"
#include "Screens/NPScreenManager.h"

#include <map>
#include <memory>
#include <string>

class NPNarrator : public std::enable_shared_from_this<NPNarrator> {
public:
    // Holds the references for its lifetime. Make it with std::make_shared: its timer holds it weakly.
    NPNarrator(const NPPlatform& platform, NPScreenManager& screenManager);
    ~NPNarrator();

    void start();

private:
    struct Told {
        std::string name;  // of the display, also when it has gone
        std::string state; // what was said last of it
        std::string white;
    };

    void _stateDidChange();
    void _displayDidChange(NPDisplayID display, std::uint32_t flags);
    void _restTimerFired(NPEffectTimer& timer);
    std::string _stateOfScreen(NPDisplayID screen) const;
    std::string _whiteOfScreen(NPDisplayID screen);
    std::optional<QXDate> _endOfFades() const;
    void _tellRestingTables();
    void _say(NPDisplayID screen, const std::string& what);

    NPPlatform _platform;
    NPScreenManager& _screenManager;
    QXNotificationObserver _observer;
    NPDisplaySubscription _displaySubscription;
    std::map<NPDisplayID, Told> _told;
    std::shared_ptr<NPEffectTimer> _restTimer;
};
