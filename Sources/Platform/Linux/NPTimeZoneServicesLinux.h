// The system's time zone on Linux, and when somebody changes it.
//
// The zone is that of the C library: the one that TZ in the environment names, and otherwise the one that
// /etc/localtime is or links to. TZ never changes while a program runs. The file is watched: when it is
// replaced, or what it links to is, the C library reads it again and the change is announced. While there is
// no such file, the zone stays as it was.
#pragma once

#include "Foundation/QXNotificationCenter.h"
#include "Platform/Linux/NPFileDescriptor.h"
#include "Platform/Linux/NPMainLoopLinux.h"
#include "Platform/Linux/NPSystemTimeZoneLinux.h"
#include "Platform/NPTimeZoneServices.h"

#include <functional>
#include <string>

class NPTimeZoneServicesLinux final : public NPTimeZoneServices {
public:
    // The file that the system's zone is read from; empty when TZ decides.
    static std::string systemZoneFile();

    // Watches the file, if any. `readZoneAgain` makes the C library read it; tests give their own for a file
    // of theirs. Loop and centre must outlive the object.
    NPTimeZoneServicesLinux(NPMainLoopLinux& loop, QXNotificationCenter& notifications,
                            std::string zoneFile = systemZoneFile(), std::function<void()> readZoneAgain = {});
    NPTimeZoneServicesLinux(const NPTimeZoneServicesLinux&) = delete;
    NPTimeZoneServicesLinux& operator=(const NPTimeZoneServicesLinux&) = delete;

    const QXTimeZone& systemTimeZone() const override { return _zone; }

private:
    void _watchTarget();
    void _foldersChanged();

    NPSystemTimeZoneLinux _zone;
    QXNotificationCenter& _notifications;
    const std::string _zoneFile;
    const std::function<void()> _readZoneAgain;
    std::string _identity; // of the file that was read last
    NPFileDescriptor _inotify;
    int _entryWatch = -1;  // inotify's numbers for the file's folder …
    int _targetWatch = -1; // … and for the folder of what it links to
    NPWatch _watch;        // last: it goes before the descriptor
};
