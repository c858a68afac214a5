// Lets a test set and hold the kernel's clocks, for this process alone and without touching the machine's.
//
// The kernel's calls that read CLOCK_REALTIME and CLOCK_MONOTONIC and arm timer descriptors are replaced, in
// the whole test program, by ones that this class controls. As with the real wall clock, a jump makes every
// armed descriptor readable that asked to be told (TFD_TIMER_CANCEL_ON_SET). While no NPTestClocks lives,
// everything is as it really is.
#pragma once

class NPTestClocks {
public:
    // Running clocks, or clocks that stand still but for what pass() lets pass.
    enum class Mode { running, held };
    explicit NPTestClocks(Mode mode);
    ~NPTestClocks(); // the real time again
    NPTestClocks(const NPTestClocks&) = delete;
    NPTestClocks& operator=(const NPTestClocks&) = delete;

    // The wall clock jumps: somebody set it, or the machine slept. From any thread.
    void jump(double seconds);

    // Lets time pass on held clocks.
    void pass(double seconds);
};
