#include "Screens/NPWorkQueue.h"

#include <utility>

NPWorkQueue::~NPWorkQueue()
{
    waitUntilIdle();
    {
        const std::lock_guard lock(_mutex);
        _isEnding = true;
    }
    _change.notify_all();
    for (std::thread& thread : _threads) {
        thread.join();
    }
}

void NPWorkQueue::perform(std::function<void()> work)
{
    {
        const std::lock_guard lock(_mutex);
        _queued.push_back(std::move(work));
        if (_running + _queued.size() > _threads.size() && _threads.size() < _width) {
            _threads.emplace_back([this] { _run(); });
        }
    }
    _change.notify_all();
}

void NPWorkQueue::waitUntilIdle()
{
    std::unique_lock lock(_mutex);
    _change.wait(lock, [this] { return _queued.empty() && _running == 0; });
}

void NPWorkQueue::_run()
{
    std::unique_lock lock(_mutex);
    for (;;) {
        _change.wait(lock, [this] { return _isEnding || !_queued.empty(); });
        if (_queued.empty()) {
            return;
        }
        auto work = std::move(_queued.front());
        _queued.pop_front();
        ++_running;
        lock.unlock();
        work();
        work = nullptr; // what it holds goes before it counts as done
        lock.lock();
        --_running;
        _change.notify_all();
    }
}
