#include "Platform/Linux/NPDisplayGuard.h"

#include "Foundation/QXLog.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/epoll.h>
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
#include <string_view>
#include <system_error>
#include <vector>

namespace {

// A message is a header followed by its content. Both ends are the same program in the same memory layout.
enum MessageKind : std::uint32_t { displayMessage = 1, baseTableMessage = 2, goodbyeMessage = 3 };

struct MessageHeader {
    std::uint32_t kind;
    std::uint32_t size; // of the content
};

constexpr const char* guardName = "nightpane-guard";
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
    prctl(PR_SET_NAME, guardName);
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

// Whether main() lets the program become a guard.
bool isProgramPrepared = false;

struct Channel {
    NPFileDescriptor ours;
    NPFileDescriptor guards;
};

std::optional<Channel> makeChannel()
{
    std::array<int, 2> ends{-1, -1};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        return std::nullopt;
    }
    return Channel{NPFileDescriptor(ends[0]), NPFileDescriptor(ends[1])};
}

// The program itself, from its beginning: nothing but that is safe in a child of a process with threads. -1 when it
// cannot be.
pid_t spawnGuard(int channel)
{
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    posix_spawn_file_actions_adddup2(&actions, channel, guardChannel);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDWR, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_RDWR, 0);
    posix_spawn_file_actions_addclosefrom_np(&actions, guardChannel + 1);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
    std::string name = guardName;
    std::array<char*, 2> arguments{name.data(), nullptr};
    pid_t process = -1;
    if (posix_spawn(&process, "/proc/self/exe", &actions, &attributes, arguments.data(), environ) != 0) {
        process = -1;
    }
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return process;
}

void reap(pid_t process)
{
    while (waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
    }
}

// Whether the other end closes within the time; what comes before that is of no interest.
bool waitForEnd(int channel, int milliseconds)
{
    pollfd item{channel, POLLIN, 0};
    while (poll(&item, 1, milliseconds) > 0) {
        char unread = 0;
        if (::recv(channel, &unread, sizeof unread, MSG_DONTWAIT) <= 0) {
            return true;
        }
    }
    return false;
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

bool NPDisplayGuard::runsAsGuard(int argumentCount, const char* const* arguments)
{
    isProgramPrepared = true;
    if (argumentCount != 1 || std::string_view(arguments[0]) != guardName) {
        return false;
    }
    Guard guard;
    guard.leaveSession();
    const char hasBegun = 1;
    if (::send(guardChannel, &hasBegun, sizeof hasBegun, MSG_NOSIGNAL) == sizeof hasBegun) {
        guard.run();
    }
    return true;
}

std::unique_ptr<NPDisplayGuard> NPDisplayGuard::start()
{
    fillStandardDescriptors();
    std::optional<Channel> channel = makeChannel();
    const pid_t process = channel ? fork() : -1;
    if (process < 0) {
        QXLog("There is no guard process, a crash will leave the displays as they are; "
              + std::error_code(errno, std::generic_category()).message());
        return nullptr;
    }
    if (process == 0) {
        keepOwnDescriptorsOnly(channel->guards.get());
        Guard guard;
        guard.leaveSession();
        guard.run();
        _exit(0); // what this process was before is not to be torn down twice
    }
    return std::unique_ptr<NPDisplayGuard>(new NPDisplayGuard(std::move(channel->ours), process));
}

void NPDisplayGuard::watchProcess(NPMainLoopLinux& loop)
{
    _loop = &loop;
    _watchChannel();
}

void NPDisplayGuard::watchDisplay(const std::string& displayName, std::uint64_t owner, std::uint32_t ownerWindow)
{
    _told.displayName = displayName;
    _told.owner = owner;
    _told.ownerWindow = ownerWindow;
    if (!_tellDisplay()) {
        _replace();
    }
}

void NPDisplayGuard::holdBaseTable(std::uint32_t crtc, const NPBaseRecordX11& record)
{
    _told.baseRecords.insert_or_assign(crtc, record);
    if (!_tellBaseTable(crtc, record)) {
        _replace();
    }
}

void NPDisplayGuard::goodbye()
{
    _channelWatch.reset();
    if (!_channel) {
        return;
    }
    // The channel closes as the guard ends: no process is left behind, unless somebody has stopped it.
    if (!_send(goodbyeMessage, {}) || waitForEnd(_channel.get(), goodbyeMilliseconds)) {
        reap(_process);
    }
    _channel.reset();
}

bool NPDisplayGuard::_tellDisplay()
{
    std::vector<std::uint8_t> content;
    append(content, _told.owner);
    append(content, _told.ownerWindow);
    content.insert(content.end(), _told.displayName.begin(), _told.displayName.end());
    return _send(displayMessage, content);
}

bool NPDisplayGuard::_tellBaseTable(std::uint32_t crtc, const NPBaseRecordX11& record)
{
    std::vector<std::uint8_t> content;
    append(content, crtc);
    for (const std::uint16_t item : NPBaseRecordX11Encode(record)) {
        append(content, item);
    }
    return _send(baseTableMessage, content);
}

// False when the guard has gone.
bool NPDisplayGuard::_send(std::uint32_t kind, std::span<const std::uint8_t> content)
{
    if (!_channel) {
        return true; // it was lost before, and nobody took its place
    }
    std::vector<std::uint8_t> message;
    append(message, MessageHeader{kind, static_cast<std::uint32_t>(content.size())});
    message.insert(message.end(), content.begin(), content.end());
    for (std::span<const std::uint8_t> rest = message; !rest.empty();) {
        const ssize_t count = ::send(_channel.get(), rest.data(), rest.size(), MSG_NOSIGNAL);
        if (count >= 0) {
            rest = rest.subspan(static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

void NPDisplayGuard::_watchChannel()
{
    _channelWatch.reset();
    if (_loop != nullptr && _channel) {
        _channelWatch =
            _loop->watchFileDescriptor(_channel.get(), EPOLLIN, [this](std::uint32_t) { _channelIsReady(); });
    }
}

// One byte comes when a process has become a guard. After that there is nothing but the end.
void NPDisplayGuard::_channelIsReady()
{
    char byte = 0;
    const ssize_t count = ::recv(_channel.get(), &byte, sizeof byte, MSG_DONTWAIT);
    if (count > 0) {
        _hasBegun = true;
    } else if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
        _replace();
    }
}

void NPDisplayGuard::_replace()
{
    _channelWatch.reset();
    _channel.reset();
    reap(_process);
    // One that ended before it began would do so again: the program, or a library, is no longer on the disk.
    const bool isReplaced = isProgramPrepared && _hasBegun && _startAnother();
    QXLog(isReplaced ? "The guard process has gone; another one has taken its place"
                     : "The guard process has gone, a crash will leave the displays as they are");
}

bool NPDisplayGuard::_startAnother()
{
    std::optional<Channel> channel = makeChannel();
    _process = channel ? spawnGuard(channel->guards.get()) : -1;
    if (_process < 0) {
        return false;
    }
    _channel = std::move(channel->ours);
    _hasBegun = false;
    bool isTold = _tellDisplay();
    for (const auto& [crtc, record] : _told.baseRecords) {
        isTold = isTold && _tellBaseTable(crtc, record);
    }
    if (!isTold) {
        _channel.reset();
        reap(_process);
    }
    _watchChannel();
    return isTold;
}
