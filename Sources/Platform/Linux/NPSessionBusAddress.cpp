#include "Platform/Linux/NPSessionBusAddress.h"

#include "Platform/Linux/NPFileDescriptor.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <system_error>
#include <vector>

namespace {

constexpr int patienceMilliseconds = 2000;

// What a client says first, with no mechanism named: every bus answers that with the list of its mechanisms.
constexpr char greeting[] = "\0AUTH\r\n";

std::string_view environmentValue(const char* name)
{
    const char* const value = std::getenv(name);
    return value == nullptr ? std::string_view() : value;
}

bool isPlainInAddress(char character)
{
    return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'Z')
           || (character >= 'a' && character <= 'z') || std::string_view("-_/.\\*").contains(character);
}

std::string escapedForAddress(std::string_view text)
{
    constexpr char digits[] = "0123456789abcdef";
    std::string escaped;
    for (const char character : text) {
        if (isPlainInAddress(character)) {
            escaped += character;
        } else {
            const auto byte = static_cast<unsigned char>(character);
            escaped += {'%', digits[byte / 16], digits[byte % 16]};
        }
    }
    return escaped;
}

int hexadecimalDigit(char character)
{
    const std::size_t position = std::string_view("0123456789abcdef0123456789ABCDEF").find(character);
    return position == std::string_view::npos ? -1 : static_cast<int>(position % 16);
}

std::string unescapedFromAddress(std::string_view text)
{
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const int high = text[i] == '%' && i + 2 < text.size() ? hexadecimalDigit(text[i + 1]) : -1;
        const int low = high >= 0 ? hexadecimalDigit(text[i + 2]) : -1;
        if (low >= 0) {
            plain += static_cast<char>(high * 16 + low);
            i += 2;
        } else {
            plain += text[i];
        }
    }
    return plain;
}

std::vector<std::string_view> split(std::string_view text, char separator)
{
    std::vector<std::string_view> parts;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(separator), text.size());
        parts.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return parts;
}

// The name of the socket as the kernel takes it, from "unix:path=…" or "unix:abstract=…". None when the
// address is of another kind.
std::optional<std::string> socketName(std::string_view address)
{
    constexpr std::string_view scheme = "unix:";
    if (!address.starts_with(scheme)) {
        return std::nullopt;
    }
    for (const std::string_view parameter : split(address.substr(scheme.size()), ',')) {
        if (parameter.starts_with("path=")) {
            return unescapedFromAddress(parameter.substr(5));
        }
        if (parameter.starts_with("abstract=")) {
            return '\0' + unescapedFromAddress(parameter.substr(9));
        }
    }
    return std::nullopt;
}

// None when there is no socket.
std::optional<std::string> addressOfSocket(const std::string& path)
{
    struct stat information{};
    if (::stat(path.c_str(), &information) != 0 || !S_ISSOCK(information.st_mode)) {
        return std::nullopt;
    }
    return "unix:path=" + escapedForAddress(path);
}

std::error_code lastError()
{
    return {errno, std::generic_category()};
}

std::error_code greetBus(const std::string& name)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (name.size() >= sizeof(address.sun_path)) {
        return std::make_error_code(std::errc::filename_too_long);
    }
    std::memcpy(address.sun_path, name.data(), name.size());
    // A path ends with its zero byte, an abstract name with its length.
    const std::size_t length = offsetof(sockaddr_un, sun_path) + name.size() + (name.starts_with('\0') ? 0 : 1);

    const NPFileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket
        || ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), static_cast<socklen_t>(length))
               != 0
        || ::send(socket.get(), greeting, sizeof(greeting) - 1, MSG_NOSIGNAL) < 0) {
        return lastError();
    }
    pollfd answer{socket.get(), POLLIN, 0};
    if (::poll(&answer, 1, patienceMilliseconds) <= 0) {
        return std::make_error_code(std::errc::timed_out);
    }
    char first = 0;
    return ::recv(socket.get(), &first, 1, 0) == 1 ? std::error_code()
                                                   : std::make_error_code(std::errc::connection_reset);
}

} // namespace

std::optional<std::string> NPSessionBusAddress()
{
    if (const std::string_view address = environmentValue("DBUS_SESSION_BUS_ADDRESS"); !address.empty()) {
        return std::string(address);
    }
    const std::string_view folder = environmentValue("XDG_RUNTIME_DIR");
    return folder.empty() ? std::nullopt : addressOfSocket(std::string(folder) + "/bus");
}

std::optional<std::string> NPSystemBusAddress()
{
    if (const std::string_view address = environmentValue("DBUS_SYSTEM_BUS_ADDRESS"); !address.empty()) {
        return std::string(address);
    }
    return addressOfSocket("/var/run/dbus/system_bus_socket"); // fixed by the D-Bus specification
}

// An address may list several buses; the first that works is used.
std::expected<void, std::string> NPCheckBusIsAlive(const std::string& address, const std::string& name)
{
    std::error_code error = std::make_error_code(std::errc::address_not_available);
    for (const std::string_view one : split(address, ';')) {
        const std::optional<std::string> socket = socketName(one);
        error = socket ? greetBus(*socket) : std::error_code();
        if (!error) {
            return {};
        }
    }
    return std::unexpected(name + " cannot be reached: " + error.message());
}
