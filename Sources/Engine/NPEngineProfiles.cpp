#include "Engine/NPEngineProfiles.h"

#include "Screens/NPProfileManager.h"
#include "Screens/NPScreenManager.h"

#include <utility>

NPEngineProfiles::NPEngineProfiles(NPSession& session) : _session(session)
{
    sharedProfileManager()->beginUpdate();
}

void NPEngineProfiles::start()
{
    _session.platform().notifications.addObserver(_observer, std::string(NPUserDefaultsDidChangeNotification),
                                                  nullptr, [this](const QXNotification&) { _startIfWanted(); });
    _startIfWanted();
}

void NPEngineProfiles::_startIfWanted()
{
    if (_isHeldBack && sharedScreenManager()->colorProfileManagementEnabled()) {
        _session.startColorProfiles([this] { release(); });
    }
}

void NPEngineProfiles::release()
{
    if (std::exchange(_isHeldBack, false)) {
        sharedProfileManager()->endUpdate();
    }
}
