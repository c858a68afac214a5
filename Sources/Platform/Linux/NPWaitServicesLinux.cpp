#include "Platform/Linux/NPWaitServicesLinux.h"

#include <chrono>

namespace {

class Sleeper final : public NPSleeper {
public:
    void sleepForTimeInterval(double seconds) override
    {
        std::unique_lock lock(_mutex);
        _change.wait_for(lock, std::chrono::duration<double>(seconds), [this] { return _isAwake; });
    }

    void wake() override
    {
        const std::lock_guard lock(_mutex);
        _isAwake = true;
        _change.notify_all();
    }

private:
    std::mutex _mutex;
    std::condition_variable _change;
    bool _isAwake = false;
};

} // namespace

std::unique_ptr<NPSleeper> NPWaitServicesLinux::makeSleeper()
{
    return std::make_unique<Sleeper>();
}

void NPWaitServicesLinux::waitOnMain(std::condition_variable& signal, std::unique_lock<std::mutex>& lock,
                                     const std::function<bool()>& condition)
{
    signal.wait(lock, condition);
}
