#include "Desktop/Support/NPTestEngine.h"

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <stdexcept>
#include <thread>
#include <utility>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds longestWait{20};

} // namespace

std::unique_ptr<NPDisplayServicesX11> NPTestOpen(const NPTestXServer& server, NPMainLoopLinux& loop,
                                                 NPDisplayGuard* guard)
{
    auto displays = NPDisplayServicesX11::open(server.displayName(), loop, guard);
    if (!displays) {
        throw std::runtime_error(displays.error());
    }
    return std::move(*displays);
}

NPDisplayID NPTestDisplay(const NPDisplayServices& displays, const std::string& name)
{
    for (const NPDisplayID display : displays.onlineDisplayList(NPDisplayListCapacity).value_or(NPDisplayList())) {
        if (displays.displayName(display) == name) {
            return display;
        }
    }
    throw std::runtime_error("no display " + name);
}

bool NPTestTurnUntil(NPMainLoopLinux& loop, const std::function<bool()>& condition)
{
    for (const auto end = Clock::now() + longestWait; !condition();) {
        if (Clock::now() > end) {
            return false;
        }
        loop.processEvents(5);
    }
    return true;
}

bool NPTestWaitUntil(const std::function<bool()>& condition)
{
    for (const auto end = Clock::now() + longestWait; !condition();) {
        if (Clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return true;
}

double NPTestMillisecondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

QXGammaTable NPTestHalf(QXGammaTable table)
{
    for (std::size_t i = 0; i < QXGammaTableCapacity; ++i) {
        table.redTable[i] *= 0.5F;
        table.greenTable[i] *= 0.5F;
        table.blueTable[i] *= 0.5F;
    }
    return table;
}

NPTestGamma NPTestGammaOf(const QXGammaTable& table)
{
    const std::array channels{&table.redTable, &table.greenTable, &table.blueTable};
    NPTestGamma gamma;
    for (std::size_t channel = 0; channel < 3; ++channel) {
        for (std::uint32_t i = 0; i < table.sampleCount; ++i) {
            gamma[channel].push_back(static_cast<std::uint16_t>(std::lround((*channels[channel])[i] * 65535.0F)));
        }
    }
    return gamma;
}

QXGammaTable NPTestRecordOf(const NPTestGamma& gamma)
{
    QXGammaTable table;
    table.sampleCount = 256;
    for (std::size_t i = 0; i < 256; ++i) {
        table.redTable[i] = static_cast<float>(gamma[0].at(i)) / 65535.0F;
        table.greenTable[i] = static_cast<float>(gamma[1].at(i)) / 65535.0F;
        table.blueTable[i] = static_cast<float>(gamma[2].at(i)) / 65535.0F;
    }
    return table;
}

NPTestEngine::NPTestEngine(const std::function<void(const Ready& ready)>& work)
{
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) {
        throw std::runtime_error("no pipe");
    }
    _process = fork();
    if (_process == 0) {
        close(ends[0]);
        const auto ready = [&] {
            if (write(ends[1], "+", 1) != 1) {
                _exit(3);
            }
        };
        try {
            work(ready);
        } catch (const std::exception& error) {
            std::fputs(error.what(), stderr);
            _exit(2);
        }
        _exit(0);
    }
    close(ends[1]);
    char character = 0;
    const bool isReady = _process > 0 && read(ends[0], &character, 1) == 1;
    close(ends[0]);
    if (!isReady) {
        throw std::runtime_error("there is no second process, or it has ended early");
    }
}

NPTestEngine::~NPTestEngine()
{
    kill();
}

void NPTestEngine::kill()
{
    if (_process > 0) { // 0 and below stand for many processes
        ::kill(_process, SIGKILL);
        wait();
    }
}

int NPTestEngine::wait()
{
    int status = 0;
    waitpid(std::exchange(_process, 0), &status, 0);
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

void NPTestShowHalfUntilKilled(const std::string& displayName, bool isGuarded, const NPTestEngine::Ready& ready)
{
    const std::unique_ptr<NPDisplayGuard> guard = isGuarded ? NPDisplayGuard::start() : nullptr;
    NPMainLoopLinux loop;
    const auto displays = NPDisplayServicesX11::open(displayName, loop, guard.get());
    if (!displays) {
        throw std::runtime_error(displays.error());
    }
    const NPDisplayList list = (*displays)->onlineDisplayList(NPDisplayListCapacity).value();
    for (const NPDisplayID display : list) {
        const QXGammaTable base = (*displays)->copyDisplayProfile(display).baseTable;
        (*displays)->setDisplayTransferTable(display, NPTestHalf(base));
    }
    (*displays)->finishWriting();
    ready();
    while (true) {
        pause();
    }
}
