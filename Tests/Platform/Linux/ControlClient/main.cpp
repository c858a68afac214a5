// Opens the session bus as every program does, and says what comes of it. With any word it says where the application
// is.

#include "Platform/Linux/NPControlBus.h"
#include "Platform/Linux/NPInstalledApplications.h"

#include <iostream>

int main(int argc, char**)
{
    if (argc > 1) {
        std::cout << NPApplicationPath() << '\n';
        return 0;
    }
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
