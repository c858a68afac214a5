// Work apart from the main thread, begun in the order in which it was queued, on threads that are started when
// they are first needed.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

class NPWorkQueue {
public:
    // At most so many pieces of work run at a time; with 1 each waits for the one before it.
    explicit NPWorkQueue(std::size_t width) : _width(width) {}

    // Waits until all the work is done. No more may be queued by then, except by work.
    ~NPWorkQueue();
    NPWorkQueue(const NPWorkQueue&) = delete;
    NPWorkQueue& operator=(const NPWorkQueue&) = delete;

    void perform(std::function<void()> work); // from any thread
    void waitUntilIdle();                     // until no work is queued or running; not from a piece of work

private:
    void _run();

    const std::size_t _width;
    std::mutex _mutex;
    std::condition_variable _change;
    std::deque<std::function<void()>> _queued;
    std::size_t _running = 0;
    bool _isEnding = false;
    std::vector<std::thread> _threads;
};
