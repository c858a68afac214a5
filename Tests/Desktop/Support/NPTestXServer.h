// Real X servers for tests, each with a display number and a folder of its own. A server that cannot be
// started throws, which fails the test.
#pragma once

#include "Platform/Linux/NPTemporaryFolder.h"

#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

class NPTestXServer {
public:
    // One output with a gamma table.
    static NPTestXServer xvfb(const std::vector<std::string>& options = {});

    // Sixteen outputs DUMMY0 … DUMMY15, the first of which is driven.
    static NPTestXServer xorg();

    // One output for each screen of a layout that an RFB client chooses (NPTestRFBClient), with true
    // connecting and disconnecting.
    static NPTestXServer xvnc();

    ~NPTestXServer();
    NPTestXServer(NPTestXServer&&) = default;
    NPTestXServer& operator=(NPTestXServer&&) = delete;

    const std::string& displayName() const { return _displayName; }
    pid_t process() const { return _process; }
    std::string rfbSocket() const; // Xvnc's

    void suspend() const; // it answers nothing until resume()
    void resume() const;
    void kill(); // it is gone when the call returns

    // Runs xrandr with these arguments on the server. Throws when it fails.
    void xrandr(const std::string& arguments) const;

    // Xorg's: has the first `count` outputs driven, in a row; the first is 1024 × 768, the others 640 × 480.
    void switchOn(int count) const;

private:
    NPTestXServer() = default;
    void _start(std::vector<std::string> command);

    std::unique_ptr<NPTemporaryFolder> _folder = std::make_unique<NPTemporaryFolder>();
    std::string _displayName;
    pid_t _process = 0;
};

// What a program writes to its standard output. Throws when it cannot be run or fails.
std::string NPTestOutputOf(const std::string& shellCommand);
