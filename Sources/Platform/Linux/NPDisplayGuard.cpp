#include "Platform/Linux/NPDisplayGuard.h"

#include "Foundation/QXLog.h"
#include "Platform/Linux/NPDisplayRecoveryX11.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <optional>
#include <system_error>
#include <vector>

namespace {

// A message is a header followed by its content. Both ends are the same program in the same memory layout.
enum MessageKind : std::uint32_t { displayMessage = 1, baseTableMessage = 2, goodbyeMessage = 3 };

struct MessageHeader {
    std::uint32_t kind;
    std::uint32_t size; // of the content
};

constexpr int guardChannel = 3; // the guard's descriptor of the channel
constexpr int recoveryAttempts = 30;
constexpr int goodbyeMilliseconds = 100; // for the guard to end; it takes a fraction of one

template<typename Value>
void append(std::vector<std::uint8_t>& content, const Value& value)
{
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(&value);
    content.insert(content.end(), bytes, bytes + sizeof(Value));
}

template<typename Value>
Value extract(std::span<const std::uint8_t>& content)
{
    Value value{};
    if (content.size() >= sizeof(Value)) {
        std::memcpy(&value, content.data(), sizeof(Value));
        content = content.subspan(sizeof(Value));
    }
    return value;
}

bool readFully(int descriptor, void* memory, std::size_t size)
{
    auto* position = static_cast<std::uint8_t*>(memory);
    while (size > 0) {
        const ssize_t count = ::read(descriptor, position, size);
        if (count > 0) {
            position += count;
            size -= static_cast<std::size_t>(count);
        } else if (count == 0 || errno != EINTR) {
            return false;
        }
    }
    return true;
}

// The guard's own side.
class Guard {
public:
    void leaveSession() const;
    void run();

private:
    bool _takeMessages();
    void _takeDisplay(std::span<const std::uint8_t> content);
    void _takeBaseTable(std::span<const std::uint8_t> content);

    NPDisplayRecoveryX11 _recovery;
};

void Guard::leaveSession() const
{
    prctl(PR_SET_NAME, "nightpane-guard");
    setsid();
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGUSR1, SIGUSR2}) {
        std::signal(number, SIG_IGN);
    }
    if (chdir("/") != 0) {
        return; // it only keeps a folder busy
    }
}

void Guard::run()
{
    if (_takeMessages() || _recovery.baseRecords.empty()) {
        return;
    }
    for (int attempt = 0; attempt < recoveryAttempts && !NPRecoverDisplaysX11(_recovery); ++attempt) {
    }
}

// Until the channel closes. True when there was a goodbye.
bool Guard::_takeMessages()
{
    MessageHeader header{};
    std::vector<std::uint8_t> content;
    while (readFully(guardChannel, &header, sizeof header)) {
        content.resize(header.size);
        if (!readFully(guardChannel, content.data(), content.size())) {
            return false;
        }
        switch (header.kind) {
        case displayMessage:
            _takeDisplay(content);
            break;
        case baseTableMessage:
            _takeBaseTable(content);
            break;
        case goodbyeMessage:
            return true;
        default:
            return false;
        }
    }
    return false;
}

void Guard::_takeDisplay(std::span<const std::uint8_t> content)
{
    _recovery.owner = extract<std::uint64_t>(content);
    _recovery.ownerWindow = extract<std::uint32_t>(content);
    _recovery.displayName.assign(content.begin(), content.end());
}

void Guard::_takeBaseTable(std::span<const std::uint8_t> content)
{
    const auto crtc = extract<std::uint32_t>(content);
    std::vector<std::uint16_t> items(content.size() / sizeof(std::uint16_t));
    std::memcpy(items.data(), content.data(), items.size() * sizeof(std::uint16_t));
    if (const auto record = NPBaseRecordX11Decode(items)) {
        _recovery.baseRecords.insert_or_assign(crtc, *record);
    }
}

// A descriptor of ours must not stand where the log, or anybody else, expects standard error.
void fillStandardDescriptors()
{
    int descriptor = STDIN_FILENO;
    while (descriptor >= 0 && descriptor <= STDERR_FILENO) {
        descriptor = ::open("/dev/null", O_RDWR);
    }
    ::close(descriptor);
}

// Keeps standard error and the channel.
void keepOwnDescriptorsOnly(int channel)
{
    ::dup2(channel, guardChannel);
    if (const int nowhere = ::open("/dev/null", O_RDWR); nowhere >= 0) {
        ::dup2(nowhere, STDIN_FILENO);
        ::dup2(nowhere, STDOUT_FILENO);
    }
    close_range(guardChannel + 1, UINT_MAX, 0);
}

} // namespace

std::unique_ptr<NPDisplayGuard> NPDisplayGuard::start()
{
    fillStandardDescriptors();
    std::array<int, 2> ends{-1, -1};
    const bool isConnected = socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) == 0;
    NPFileDescriptor channel(ends[0]);
    NPFileDescriptor guardEnd(ends[1]);
    const pid_t process = isConnected ? fork() : -1;
    if (process < 0) {
        QXLog("There is no guard process, a crash will leave the displays as they are; "
              + std::error_code(errno, std::generic_category()).message());
        return nullptr;
    }
    if (process == 0) {
        keepOwnDescriptorsOnly(guardEnd.get());
        Guard guard;
        guard.leaveSession();
        guard.run();
        _exit(0); // what this process was before is not to be torn down twice
    }
    return std::unique_ptr<NPDisplayGuard>(new NPDisplayGuard(std::move(channel), process));
}

void NPDisplayGuard::watchDisplay(const std::string& displayName, std::uint64_t owner, std::uint32_t ownerWindow)
{
    std::vector<std::uint8_t> content;
    append(content, owner);
    append(content, ownerWindow);
    content.insert(content.end(), displayName.begin(), displayName.end());
    _send(displayMessage, content);
}

void NPDisplayGuard::holdBaseTable(std::uint32_t crtc, const NPBaseRecordX11& record)
{
    std::vector<std::uint8_t> content;
    append(content, crtc);
    for (const std::uint16_t item : NPBaseRecordX11Encode(record)) {
        append(content, item);
    }
    _send(baseTableMessage, content);
}

void NPDisplayGuard::goodbye()
{
    _send(goodbyeMessage, {});
    if (!_channel) {
        return;
    }
    // The channel closes as the guard ends: no process is left behind, unless somebody has stopped it.
    pollfd item{_channel.get(), POLLIN, 0};
    if (poll(&item, 1, goodbyeMilliseconds) > 0) {
        waitpid(_process, nullptr, 0);
    }
    _channel.reset();
}

void NPDisplayGuard::_send(std::uint32_t kind, std::span<const std::uint8_t> content)
{
    if (!_channel) {
        return;
    }
    std::vector<std::uint8_t> message;
    append(message, MessageHeader{kind, static_cast<std::uint32_t>(content.size())});
    message.insert(message.end(), content.begin(), content.end());
    for (std::span<const std::uint8_t> rest = message; !rest.empty();) {
        const ssize_t count = ::send(_channel.get(), rest.data(), rest.size(), MSG_NOSIGNAL);
        if (count >= 0) {
            rest = rest.subspan(static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            QXLog("The guard process has gone, a crash will leave the displays as they are");
            waitpid(_process, nullptr, WNOHANG);
            _channel.reset();
            return;
        }
    }
}
