#include "Desktop/Support/NPTestRFBClient.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>
#include <string_view>

namespace {

void append16(std::vector<std::uint8_t>& bytes, std::uint32_t number)
{
    bytes.push_back(static_cast<std::uint8_t>(number >> 8));
    bytes.push_back(static_cast<std::uint8_t>(number));
}

void append32(std::vector<std::uint8_t>& bytes, std::uint32_t number)
{
    append16(bytes, number >> 16);
    append16(bytes, number & 0xFFFF);
}

} // namespace

NPTestRFBClient::NPTestRFBClient(const std::string& socketPath) : _descriptor(socket(AF_UNIX, SOCK_STREAM, 0))
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socketPath.copy(address.sun_path, sizeof address.sun_path - 1);
    if (connect(_descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        throw std::runtime_error("cannot connect to " + socketPath);
    }
    const std::string_view version = "RFB 003.008\n";
    _receive(version.size());
    _send({version.begin(), version.end()});
    _receive(_receive(1)[0]); // the kinds of security
    _send({1});               // none
    _receive(4);              // accepted
    _send({1});               // shared
    const std::vector<std::uint8_t> begin = _receive(24);
    _receive(static_cast<std::size_t>(begin[22]) << 8 | begin[23]); // the desktop's name

    std::vector<std::uint8_t> encodings = {2, 0};
    append16(encodings, 2);
    append32(encodings, 0);                               // raw
    append32(encodings, static_cast<std::uint32_t>(-308)); // extended desktop size
    _send(encodings);
}

NPTestRFBClient::~NPTestRFBClient()
{
    close(_descriptor);
}

void NPTestRFBClient::setScreens(const std::vector<Screen>& screens)
{
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    for (const Screen& screen : screens) {
        width = std::max<std::uint32_t>(width, screen.x + screen.width);
        height = std::max<std::uint32_t>(height, screen.y + screen.height);
    }
    std::vector<std::uint8_t> bytes = {251, 0};
    append16(bytes, width);
    append16(bytes, height);
    bytes.push_back(static_cast<std::uint8_t>(screens.size()));
    bytes.push_back(0);
    for (const Screen& screen : screens) {
        append32(bytes, screen.identifier);
        append16(bytes, screen.x);
        append16(bytes, screen.y);
        append16(bytes, screen.width);
        append16(bytes, screen.height);
        append32(bytes, 0);
    }
    _send(bytes);
}

void NPTestRFBClient::_send(const std::vector<std::uint8_t>& bytes)
{
    if (::send(_descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(bytes.size())) {
        throw std::runtime_error("the RFB server does not take messages");
    }
}

std::vector<std::uint8_t> NPTestRFBClient::_receive(std::size_t count)
{
    std::vector<std::uint8_t> bytes(count);
    if (count > 0 && recv(_descriptor, bytes.data(), count, MSG_WAITALL) != static_cast<ssize_t>(count)) {
        throw std::runtime_error("the RFB server sends nothing");
    }
    return bytes;
}
