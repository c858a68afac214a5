// The signals that tell the engine to end: SIGTERM, SIGINT and SIGHUP. From its making on they no longer end the
// process by themselves, so that none kills a half-started engine, and none is lost before somebody watches.
//
// They are caught rather than blocked: programs that the process starts would inherit a blocked signal, and could not
// be ended by it. One at a time.
#pragma once

#include "Platform/Linux/NPFileDescriptor.h"
#include "Platform/Linux/NPMainLoopLinux.h"

class NPEndSignals {
public:
    // A SIGHUP that is ignored already stays so: whoever started the process wants it to outlive the terminal.
    NPEndSignals();
    ~NPEndSignals(); // they are ignored from then on: the process is about to end
    NPEndSignals(const NPEndSignals&) = delete;
    NPEndSignals& operator=(const NPEndSignals&) = delete;

    // The handler is called once for all that came since.
    [[nodiscard]] NPWatch watch(NPMainLoopLinux& loop, std::function<void()> end) const;

private:
    NPFileDescriptor _descriptor;
};
