#include "Desktop/Application/NPTestWebServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace {

const std::string silence = "silence";
const std::string noEnd = "no end";

std::string response(const std::string& status, const std::string& headers, const std::string& body)
{
    return "HTTP/1.1 " + status + "\r\nConnection: close\r\nContent-Length: " + std::to_string(body.size())
           + "\r\n" + headers + "\r\n" + body;
}

// False once the other side has gone.
bool send(int connection, const std::string& bytes)
{
    for (std::size_t sent = 0; sent < bytes.size();) {
        const ssize_t count = ::send(connection, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count <= 0) {
            return false;
        }
        sent += static_cast<std::size_t>(count);
    }
    return true;
}

// The head of a request; empty when there is none.
std::string requestFrom(int connection)
{
    std::string request;
    std::array<char, 4096> bytes;
    while (request.find("\r\n\r\n") == std::string::npos) {
        const ssize_t count = ::recv(connection, bytes.data(), bytes.size(), 0);
        if (count <= 0) {
            return {};
        }
        request.append(bytes.data(), static_cast<std::size_t>(count));
    }
    return request;
}

} // namespace

NPTestWebServer::NPTestWebServer() : _listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const plain = reinterpret_cast<sockaddr*>(&address);
    if (_listener < 0 || ::bind(_listener, plain, size) != 0 || ::listen(_listener, 16) != 0
        || ::getsockname(_listener, plain, &size) != 0) {
        throw std::runtime_error("no web server");
    }
    _port = ntohs(address.sin_port);
    _accepting = std::thread([this] { _accept(); });
}

NPTestWebServer::~NPTestWebServer()
{
    close();
}

void NPTestWebServer::close()
{
    if (_listener < 0) {
        return;
    }
    {
        const std::lock_guard lock(_mutex);
        _isClosing = true;
        for (const int connection : _connections) {
            ::shutdown(connection, SHUT_RDWR);
        }
    }
    ::shutdown(_listener, SHUT_RDWR);
    _accepting.join();
    ::close(_listener);
    _listener = -1;
}

void NPTestWebServer::serve(const std::string& path, const std::string& body)
{
    const std::lock_guard lock(_mutex);
    _answers[path] = response("200 OK", "", body);
}

void NPTestWebServer::redirect(const std::string& path, const std::string& target)
{
    const std::lock_guard lock(_mutex);
    _answers[path] = response("302 Found", "Location: " + target + "\r\n", "");
}

void NPTestWebServer::neverAnswer(const std::string& path)
{
    const std::lock_guard lock(_mutex);
    _answers[path] = silence;
}

void NPTestWebServer::neverEnd(const std::string& path)
{
    const std::lock_guard lock(_mutex);
    _answers[path] = noEnd;
}

int NPTestWebServer::requestCount(const std::string& path) const
{
    const std::lock_guard lock(_mutex);
    const auto found = _requests.find(path);
    return found == _requests.end() ? 0 : found->second;
}

void NPTestWebServer::_accept()
{
    for (;;) {
        const int connection = ::accept4(_listener, nullptr, nullptr, SOCK_CLOEXEC);
        const std::lock_guard lock(_mutex);
        if (connection < 0 || _isClosing) {
            ::close(connection);
            break;
        }
        _connections.push_back(connection);
        _threads.emplace_back([this, connection] { _answer(connection); });
    }
    for (std::thread& thread : _threads) {
        thread.join();
    }
    for (const int connection : _connections) {
        ::close(connection);
    }
}

std::string NPTestWebServer::_answerTo(const std::string& path)
{
    const std::lock_guard lock(_mutex);
    ++_requests[path];
    const auto found = _answers.find(path);
    return found == _answers.end() ? response("404 Not Found", "", "nothing") : found->second;
}

// The connection is closed with the server, so that no number of it is used again meanwhile.
void NPTestWebServer::_answer(int connection)
{
    const std::string request = requestFrom(connection);
    const std::size_t begin = request.find(' ') + 1;
    const std::string answer = _answerTo(request.substr(begin, request.find(' ', begin) - begin));
    if (answer == silence) {
        requestFrom(connection); // until the other side has gone
    } else if (answer == noEnd) {
        const std::string some(std::size_t{1} << 16, ' ');
        for (bool isTaken = send(connection, "HTTP/1.1 200 OK\r\n\r\n"); isTaken;) {
            isTaken = send(connection, some);
        }
    } else {
        send(connection, answer);
    }
    ::shutdown(connection, SHUT_RDWR);
}
