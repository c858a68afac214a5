#include "Platform/Linux/NPTestProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace {

constexpr std::chrono::seconds patience{20};

} // namespace

NPTestProcess::NPTestProcess(const std::vector<std::string>& arguments)
{
    std::vector<char*> list;
    for (const std::string& argument : arguments) {
        list.push_back(const_cast<char*>(argument.c_str()));
    }
    list.push_back(nullptr);
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    _descriptor = ends[0];
    _process = ::fork();
    if (_process == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        ::dup2(ends[1], STDOUT_FILENO);
        ::dup2(ends[1], STDERR_FILENO);
        ::execvp(list.front(), list.data());
        ::_exit(127);
    }
    ::close(ends[1]);
    if (_process < 0) {
        throw std::runtime_error("no process");
    }
}

NPTestProcess::~NPTestProcess()
{
    kill();
    ::close(_descriptor);
}

const std::string& NPTestProcess::outputUntil(std::string_view text)
{
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!_output.contains(text)) {
        if (!_readUntil(end)) {
            throw std::runtime_error("no '" + std::string(text) + "' in: " + _output);
        }
    }
    return _output;
}

const std::string& NPTestProcess::outputUntilEnd()
{
    const auto end = std::chrono::steady_clock::now() + patience;
    while (_readUntil(end)) {
    }
    if (std::chrono::steady_clock::now() >= end) {
        throw std::runtime_error("a program does not end; it wrote: " + _output);
    }
    return _output;
}

void NPTestProcess::signal(int number)
{
    if (_process > 0) {
        ::kill(_process, number);
    }
}

void NPTestProcess::kill()
{
    signal(SIGKILL);
    if (_process > 0) {
        ::waitpid(_process, nullptr, 0);
    }
    _process = -1;
}

// False at the end of the output or of the time.
bool NPTestProcess::_readUntil(std::chrono::steady_clock::time_point end)
{
    using std::chrono::milliseconds;
    const auto left = std::chrono::duration_cast<milliseconds>(end - std::chrono::steady_clock::now()).count();
    pollfd readable{_descriptor, POLLIN, 0};
    if (left <= 0 || ::poll(&readable, 1, static_cast<int>(left)) <= 0) {
        return false;
    }
    std::array<char, 4096> bytes;
    const ssize_t count = ::read(_descriptor, bytes.data(), bytes.size());
    _output.append(bytes.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    return count > 0;
}

std::string NPTestOutputOf(const std::vector<std::string>& arguments)
{
    return NPTestProcess(arguments).outputUntilEnd();
}
