// What the desktop tests share: the adapter on a server, a loop to turn, and a second process that does the
// same and can be killed.
#pragma once

#include "Desktop/Support/NPTestRandR.h"
#include "Desktop/Support/NPTestXServer.h"
#include "Platform/Linux/NPDisplayServicesX11.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>

// Opens the adapter; throws when it refuses.
std::unique_ptr<NPDisplayServicesX11> NPTestOpen(const NPTestXServer& server, NPMainLoopLinux& loop,
                                                 NPDisplayGuard* guard = nullptr);

// The display of an output that has no EDID, which is called by its connector's name; throws when there is none.
NPDisplayID NPTestDisplay(const NPDisplayServices& displays, const std::string& name);

// Turns the loop until the condition holds. False when it does not within twenty seconds.
bool NPTestTurnUntil(NPMainLoopLinux& loop, const std::function<bool()>& condition);

// Waits without a loop, looking every 0.2 ms. False when the condition does not hold within twenty seconds.
bool NPTestWaitUntil(const std::function<bool()>& condition);

double NPTestMillisecondsSince(std::chrono::steady_clock::time_point start);

// The table that an effect makes of a display's own table in these tests: half as bright.
QXGammaTable NPTestHalf(QXGammaTable table);

// The record as the server holds it with a table of 256 samples, each rounded to the nearest integer.
NPTestGamma NPTestGammaOf(const QXGammaTable& table);

// The same as the record should read; sampleCount 256.
QXGammaTable NPTestRecordOf(const NPTestGamma& gamma);

// A second process of the program.
class NPTestEngine {
public:
    // Forks, runs `work` there, and returns when it has called its argument. It goes on until it is killed or
    // its work returns.
    using Ready = std::function<void()>;
    explicit NPTestEngine(const std::function<void(const Ready& ready)>& work);
    ~NPTestEngine(); // kills it
    NPTestEngine(const NPTestEngine&) = delete;
    NPTestEngine& operator=(const NPTestEngine&) = delete;

    void kill(); // SIGKILL; it is gone when the call returns
    int wait();  // for its end: the exit status, or minus the signal

private:
    int _process = 0;
};

// Has a second process open the server, show half of every display's own table and wait to be killed. With a
// guard of its own when asked for.
void NPTestShowHalfUntilKilled(const std::string& displayName, bool isGuarded, const NPTestEngine::Ready& ready);
