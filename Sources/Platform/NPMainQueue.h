// The way onto the main thread.
#pragma once

#include <functional>

class NPMainQueue {
public:
    virtual ~NPMainQueue() = default;

    // Runs the work on the main thread, in the order of the calls, after whatever runs there now. From any
    // thread, the main one included. Work that is still queued when the program ends is dropped.
    virtual void performOnMain(std::function<void()> work) = 0;
};
