#include "Desktop/Support/NPTestXServer.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <thread>
#include <utility>

namespace {

constexpr int displayNumberDescriptor = 3;
constexpr int startTimeoutMilliseconds = 20000;

// One screen of the dummy driver, with room for several outputs beside each other.
constexpr const char* xorgConfiguration = R"(
Section "Device"
    Identifier "card"
    Driver "dummy"
    VideoRam 256000
EndSection
Section "Screen"
    Identifier "screen"
    Device "card"
    DefaultDepth 24
    SubSection "Display"
        Depth 24
        Virtual 8192 4096
    EndSubSection
EndSection
)";

[[noreturn]] void execute(const std::vector<std::string>& command, int displayNumber, const std::string& log)
{
    prctl(PR_SET_PDEATHSIG, SIGTERM); // also when the test is killed
    if (displayNumber != displayNumberDescriptor) {
        dup2(displayNumber, displayNumberDescriptor);
    } else {
        fcntl(displayNumber, F_SETFD, 0);
    }
    const int output = open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    std::vector<char*> arguments;
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    execvp(arguments.front(), arguments.data());
    _exit(127);
}

// The number that the server writes once it listens; empty when it does not.
std::string readDisplayNumber(int descriptor)
{
    std::string number;
    pollfd item{descriptor, POLLIN, 0};
    char character = 0;
    while (poll(&item, 1, startTimeoutMilliseconds) == 1 && read(descriptor, &character, 1) == 1) {
        if (character == '\n') {
            return number;
        }
        number += character;
    }
    return {};
}

} // namespace

NPTestXServer NPTestXServer::xvfb(const std::vector<std::string>& options)
{
    NPTestXServer server;
    std::vector<std::string> command = {"Xvfb",        "-displayfd", "3",   "-screen", "0",
                                        "1280x720x24", "-nolisten",  "tcp", "-noreset"};
    command.insert(command.end(), options.begin(), options.end());
    server._start(command);
    return server;
}

NPTestXServer NPTestXServer::xorg()
{
    NPTestXServer server;
    const std::string folder = server._folder->path().string();
    std::ofstream(folder + "/xorg.conf") << xorgConfiguration;
    server._start({"/usr/lib/xorg/Xorg", "-displayfd", "3", "-config", folder + "/xorg.conf", "-noreset",
                   "-novtswitch", "-sharevts", "-nolisten", "tcp", "-logfile", folder + "/Xorg.log"});
    return server;
}

NPTestXServer NPTestXServer::xvnc()
{
    NPTestXServer server;
    server._start({"Xvnc", "-displayfd", "3", "-geometry", "1280x720", "-SecurityTypes", "None", "-rfbport", "-1",
                   "-rfbunixpath", server.rfbSocket(), "-noreset", "-nolisten", "tcp", "-AcceptSetDesktopSize=1"});
    return server;
}

void NPTestXServer::_start(std::vector<std::string> command)
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    const std::string log = (_folder->path() / "server.log").string();
    _process = fork();
    if (_process == 0) {
        execute(command, ends[1], log);
    }
    close(ends[1]);
    const std::string number = readDisplayNumber(ends[0]);
    close(ends[0]);
    if (_process < 0 || number.empty()) {
        throw std::runtime_error(command.front() + " did not start: " + NPTestOutputOf("cat '" + log + "'"));
    }
    _displayName = ":" + number;
}

NPTestXServer::~NPTestXServer()
{
    if (_folder) { // not moved away
        kill();
    }
}

std::string NPTestXServer::rfbSocket() const
{
    return (_folder->path() / "rfb").string();
}

void NPTestXServer::suspend() const
{
    if (_process > 0) { // 0 and below stand for many processes
        ::kill(_process, SIGSTOP);
        waitpid(_process, nullptr, WUNTRACED);
    }
}

void NPTestXServer::resume() const
{
    if (_process > 0) {
        ::kill(_process, SIGCONT);
    }
}

void NPTestXServer::kill()
{
    if (const pid_t process = std::exchange(_process, 0); process > 0) {
        ::kill(process, SIGCONT);
        ::kill(process, SIGTERM); // it removes its socket and its lock
        // Xorg deadlocks now and then on its way out.
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        while (waitpid(process, nullptr, WNOHANG) == 0) {
            if (std::chrono::steady_clock::now() > end) {
                ::kill(process, SIGKILL);
                waitpid(process, nullptr, 0);
                return;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
}

void NPTestXServer::xrandr(const std::string& arguments) const
{
    NPTestOutputOf("DISPLAY=" + _displayName + " xrandr " + arguments);
}

void NPTestXServer::switchOn(int count) const
{
    std::string arguments;
    for (int i = 1; i < count; ++i) {
        const std::string name = "DUMMY" + std::to_string(i);
        xrandr("--addmode " + name + " 640x480");
        arguments += " --output " + name + " --mode 640x480 --right-of DUMMY" + std::to_string(i - 1);
    }
    xrandr(arguments);
    xrandr("--query"); // the driver says that they are connected when it is asked next
}

std::string NPTestOutputOf(const std::string& shellCommand)
{
    std::FILE* const stream = popen((shellCommand + " 2>&1").c_str(), "r");
    if (stream == nullptr) {
        throw std::runtime_error("cannot run " + shellCommand);
    }
    std::string output;
    std::array<char, 4096> buffer{};
    while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), stream)) {
        output.append(buffer.data(), count);
    }
    if (pclose(stream) != 0) {
        throw std::runtime_error(shellCommand + " failed: " + output);
    }
    return output;
}
