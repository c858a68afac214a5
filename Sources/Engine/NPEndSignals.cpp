#include "Engine/NPEndSignals.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>

namespace {

constexpr std::array endSignals = {SIGTERM, SIGINT, SIGHUP};

std::atomic<int> caughtDescriptor = -1; // a handler has no other way to know it

void noteSignal(int)
{
    const int formerError = errno;
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(caughtDescriptor, &one, sizeof one);
    errno = formerError;
}

void setHandler(int signal, void (*handler)(int))
{
    struct sigaction action{};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    ::sigaction(signal, &action, nullptr);
}

bool isIgnored(int signal)
{
    struct sigaction action{};
    return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

} // namespace

NPEndSignals::NPEndSignals() : _descriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    caughtDescriptor = _descriptor.get();
    for (const int signal : endSignals) {
        if (signal != SIGHUP || !isIgnored(SIGHUP)) {
            setHandler(signal, noteSignal);
        }
    }
    setHandler(SIGPIPE, SIG_IGN); // a reader of the output that goes away ends nothing
}

NPEndSignals::~NPEndSignals()
{
    for (const int signal : endSignals) {
        setHandler(signal, SIG_IGN);
    }
    caughtDescriptor = -1;
}

NPWatch NPEndSignals::watch(NPMainLoopLinux& loop, std::function<void()> end) const
{
    return loop.watchFileDescriptor(_descriptor.get(), EPOLLIN,
                                    [descriptor = _descriptor.get(), end = std::move(end)](std::uint32_t) {
                                        std::uint64_t count = 0;
                                        if (::read(descriptor, &count, sizeof count) > 0) {
                                            end();
                                        }
                                    });
}
