// When an engine puts custom colour profiles into use: after the first table is on the screen, and only where the
// settings want them. Until it is known what the colour service says, none is applied: it would be applied twice.
#pragma once

#include "Engine/NPSession.h"

class NPEngineProfiles {
public:
    // Holds what is to be applied back. The session outlives the object.
    explicit NPEngineProfiles(NPSession& session);

    // To be called when the screens show what they should. Also when profiles are not wanted now, but later.
    void start();

    // Lets what has been held back be applied.
    void release();

private:
    void _startIfWanted();

    NPSession& _session;
    bool _isHeldBack = true;
    QXNotificationObserver _observer;
};
