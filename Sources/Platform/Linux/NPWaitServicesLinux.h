// Waiting threads in real time.
#pragma once

#include "Platform/NPWaitServices.h"

class NPWaitServicesLinux final : public NPWaitServices {
public:
    std::unique_ptr<NPSleeper> makeSleeper() override;
    void waitOnMain(std::condition_variable& signal, std::unique_lock<std::mutex>& lock,
                    const std::function<bool()>& condition) override;
};
