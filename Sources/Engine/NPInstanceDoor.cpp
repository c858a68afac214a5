#include "Engine/NPInstanceDoor.h"

#include "Engine/NPInstanceFolder.h"

#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <optional>
#include <span>
#include <string_view>

namespace {

constexpr std::size_t mostBytes = 16'384; // of a request
constexpr std::size_t mostVisitors = 16;
constexpr int secondsOfPatience = 10;
constexpr char separator = '\0'; // no path has it

struct Address {
    sockaddr_un name{};
    socklen_t size = sizeof(sockaddr_un);
};

std::optional<std::string> doorPath()
{
    const std::optional<std::string> folder = NPInstanceFolder();
    return folder ? std::optional(*folder + "/nightpane.socket") : std::nullopt;
}

// None when the path is too long for a socket.
std::optional<Address> addressOf(const std::string& path)
{
    Address address;
    address.name.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.name.sun_path) {
        return std::nullopt;
    }
    path.copy(std::data(address.name.sun_path), path.size());
    return address;
}

const sockaddr* plain(const Address& address)
{
    return reinterpret_cast<const sockaddr*>(&address.name); // as the call wants it
}

std::unexpected<std::string> errnoError(const std::string& what)
{
    return std::unexpected(what + ": " + std::strerror(errno));
}

// Everything, or as much as the other side takes.
void sendAll(int descriptor, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t sent = ::send(descriptor, text.data(), text.size(), MSG_NOSIGNAL);
        if (sent <= 0) {
            return;
        }
        text.remove_prefix(static_cast<std::size_t>(sent));
    }
}

bool connectSoon(int descriptor, const Address& address)
{
    constexpr int attempts = 40;
    constexpr timespec pause{0, 50'000'000};
    for (int attempt = 1; ::connect(descriptor, plain(address), address.size) != 0; ++attempt) {
        if (attempt == attempts || (errno != ENOENT && errno != ECONNREFUSED)) {
            return false;
        }
        ::nanosleep(&pause, nullptr);
    }
    return true;
}

// An older program sends no token.
std::optional<NPInstanceRequest> requestFromText(std::string_view text)
{
    constexpr std::size_t fewestPieces = 2;
    std::array<std::string, 3> pieces;
    for (std::size_t index = 0; index < pieces.size(); ++index) {
        const std::size_t end = text.find(separator);
        if (end == std::string_view::npos) {
            if (index < fewestPieces) {
                return std::nullopt;
            }
            break;
        }
        pieces[index] = text.substr(0, end);
        text.remove_prefix(end + 1);
    }
    return NPInstanceRequest{pieces[0], pieces[1], pieces[2]};
}

} // namespace

NPInstanceDoor::NPInstanceDoor(NPMainLoopLinux& loop, Handler handler, std::string path, NPFileDescriptor socket)
    : _loop(loop), _handler(std::move(handler)), _path(std::move(path)), _socket(std::move(socket)),
      _watch(loop.watchFileDescriptor(_socket.get(), EPOLLIN, [this](std::uint32_t) { _letIn(); }))
{
}

NPInstanceDoor::~NPInstanceDoor()
{
    ::unlink(_path.c_str());
}

std::expected<std::unique_ptr<NPInstanceDoor>, std::string> NPInstanceDoor::open(NPMainLoopLinux& loop,
                                                                                 Handler handler)
{
    const std::optional<std::string> path = doorPath();
    const std::optional<Address> address = path ? addressOf(*path) : std::nullopt;
    if (!address) {
        return std::unexpected("there is no folder for a socket by which a second start finds this one");
    }
    NPFileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    ::unlink(path->c_str());
    const mode_t formerMask = ::umask(0077);
    const bool isBound = socket && ::bind(socket.get(), plain(*address), address->size) == 0;
    ::umask(formerMask);
    if (!isBound || ::listen(socket.get(), static_cast<int>(mostVisitors)) != 0) {
        return errnoError("cannot listen at " + *path);
    }
    return std::unique_ptr<NPInstanceDoor>(new NPInstanceDoor(loop, std::move(handler), *path, std::move(socket)));
}

void NPInstanceDoor::_letIn()
{
    NPFileDescriptor socket(::accept4(_socket.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!socket || _visitors.size() >= mostVisitors) {
        return;
    }
    const int descriptor = socket.get();
    NPWatch watch =
        _loop.watchFileDescriptor(descriptor, EPOLLIN, [this, descriptor](std::uint32_t) { _read(descriptor); });
    _visitors.emplace(descriptor, Visitor{std::move(socket), {}, std::move(watch)});
}

void NPInstanceDoor::_read(int descriptor)
{
    Visitor& visitor = _visitors.at(descriptor);
    std::array<char, 4096> buffer;
    const ssize_t count = ::recv(descriptor, buffer.data(), buffer.size(), 0);
    if (count > 0 && visitor.received.size() < mostBytes) {
        visitor.received.append(buffer.data(), static_cast<std::size_t>(count));
    } else if (count == 0) {
        _answer(descriptor);
    } else if (count > 0 || errno != EAGAIN) {
        const auto gone = _visitors.extract(descriptor); // too talkative, or lost
    }
}

// The handler may take long, and serve others meanwhile: an alert, for example.
void NPInstanceDoor::_answer(int descriptor)
{
    auto visitor = _visitors.extract(descriptor);
    visitor.mapped().watch.reset(); // it has said all, and would be ready for as long as the handler takes
    const std::optional<NPInstanceRequest> request = requestFromText(visitor.mapped().received);
    const NPInstanceAnswer answer = request ? _handler(*request) : std::unexpected("malformed request");
    sendAll(descriptor, answer ? "ok" : answer.error());
}

NPInstanceAnswer NPInstanceDoor::ask(const NPInstanceRequest& request)
{
    const std::optional<std::string> path = doorPath();
    const std::optional<Address> address = path ? addressOf(*path) : std::nullopt;
    const NPFileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const timeval patience{secondsOfPatience, 0};
    ::setsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    ::setsockopt(socket.get(), SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    if (!address || !connectSoon(socket.get(), *address)) {
        return errnoError("it cannot be reached");
    }
    for (const std::string& piece : {request.word, request.argument, request.token}) {
        sendAll(socket.get(), piece + separator);
    }
    ::shutdown(socket.get(), SHUT_WR);
    std::string answer;
    std::array<char, 4096> buffer;
    for (;;) {
        const ssize_t count = ::recv(socket.get(), buffer.data(), buffer.size(), 0);
        if (count <= 0) {
            break;
        }
        answer.append(buffer.data(), static_cast<std::size_t>(count));
    }
    if (answer.empty()) {
        return std::unexpected("it does not answer");
    }
    return answer == "ok" ? NPInstanceAnswer() : std::unexpected(answer);
}
