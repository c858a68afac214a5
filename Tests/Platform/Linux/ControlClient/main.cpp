// Opens the session bus as every program does, and says what comes of it.

#include "Platform/Linux/NPControlBus.h"

#include <iostream>

int main()
{
    const auto bus = NPControlBus::open();
    if (!bus) {
        std::cout << "error: " << bus.error() << '\n';
        return 1;
    }
    const std::unique_ptr<NPControl> instance = (*bus)->runningInstance();
    if (!instance) {
        std::cout << "nobody runs\n";
        return 0;
    }
    const auto status = instance->status();
    std::cout << (status ? *status->at("version").string() : status.error().message) << " runs\n";
}
