// A small second process that gives the displays back when this one cannot any more: after a crash, an abort
// or a SIGKILL.
//
// It is started before anything else and holds the displays' own tables, which it is told before they are
// changed. When this process ends without a goodbye, the kernel closes the channel between the two, and the
// guard writes the tables back over a connection of its own, and the profiles that stood in the server before custom
// ones of ours. It keeps nothing else of this process: no
// terminal, no working folder, no descriptor but standard error. It does not end by the signals that end a
// session or a service; it ends with this process.
//
// The guard may end, or be killed, without harm: this process goes on, and starts another guard.
#pragma once

#include "Platform/Linux/NPDisplayRecoveryX11.h"
#include "Platform/Linux/NPFileDescriptor.h"
#include "Platform/Linux/NPMainLoopLinux.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>

class NPDisplayGuard {
public:
    // To be called first of all in main(). True when this process was started to take a lost guard's place: it
    // has done so until the end, and is to end now. A program that does not call this goes on without a guard
    // when it loses its own.
    static bool runsAsGuard(int argumentCount, const char* const* arguments);

    // Forks: to be called at the very beginning, while there is one thread and nothing in memory that the
    // guard would keep. Opens /dev/null for standard descriptors that are closed. None when there can be no
    // guard; one line in the log says why.
    static std::unique_ptr<NPDisplayGuard> start();

    // Ends the guard's wait. Without a goodbye() it gives the displays back now.
    ~NPDisplayGuard() = default;
    NPDisplayGuard(const NPDisplayGuard&) = delete;
    NPDisplayGuard& operator=(const NPDisplayGuard&) = delete;

    // Has the loop notice at once when the guard is lost; otherwise it is noticed with the next table for it.
    // One line in the log tells of the loss.
    void watchProcess(NPMainLoopLinux& loop);

    // Which X server to go to (empty: the one in DISPLAY), how this process marks its records there, and the
    // window that marks its connection. Once, before holdBaseTable().
    void watchDisplay(const std::string& displayName, std::uint64_t owner, std::uint32_t ownerWindow);

    // A CRTC's own table; replaces an earlier one of the same CRTC.
    void holdBaseTable(std::uint32_t crtc, const NPBaseRecordX11& record);

    // Every display has its own table again: the guard ends without touching them, and is gone when the call
    // returns. To be said only when the server has confirmed that (NPDisplayServices::finishWriting() was
    // true) or has gone itself.
    void goodbye();

    int processIdentifier() const { return _process; }

private:
    NPDisplayGuard(NPFileDescriptor channel, int process) : _channel(std::move(channel)), _process(process) {}

    bool _send(std::uint32_t kind, std::span<const std::uint8_t> content);
    bool _tellDisplay();
    bool _tellBaseTable(std::uint32_t crtc, const NPBaseRecordX11& record);
    void _watchChannel();
    void _channelIsReady();
    void _replace();
    bool _startAnother();

    NPFileDescriptor _channel;
    int _process;
    bool _hasBegun = true; // it is a guard by now, and not still a process that is to become one
    NPDisplayRecoveryX11 _told; // what the guard knows
    NPMainLoopLinux* _loop = nullptr;
    NPWatch _channelWatch;
};
