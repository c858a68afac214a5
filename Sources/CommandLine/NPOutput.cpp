#include "CommandLine/NPOutput.h"

#include <poll.h>
#include <unistd.h>

#include <climits>
#include <cstdio>

namespace {

// A descriptor that is ready takes so many bytes at once.
void printWithoutWaiting(int descriptor, std::string line)
{
    line += '\n';
    if (line.size() > PIPE_BUF) {
        line.resize(PIPE_BUF);
        line.back() = '\n';
    }
    pollfd ready{descriptor, POLLOUT, 0};
    if (::poll(&ready, 1, 0) == 1 && (ready.revents & POLLOUT) != 0) {
        [[maybe_unused]] const ssize_t written = ::write(descriptor, line.data(), line.size());
    }
}

} // namespace

void NPPrintError(const std::string& message)
{
    std::fputs(("nightpane-cli: " + message + '\n').c_str(), stderr);
}

void NPPrintEvent(const std::string& line)
{
    printWithoutWaiting(STDOUT_FILENO, line);
}

QXLogRedirection NPPrintLog()
{
    return QXLogRedirection(
        [](std::string_view line) { printWithoutWaiting(STDERR_FILENO, "nightpane-cli: " + std::string(line)); });
}
