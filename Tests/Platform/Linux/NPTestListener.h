// A socket at a path that takes connections, and says nothing to them.
#pragma once

#include "Platform/Linux/NPFileDescriptor.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>

class NPTestListener {
public:
    explicit NPTestListener(const std::string& path)
    {
        _address.sun_family = AF_UNIX;
        if (path.size() >= sizeof _address.sun_path) {
            throw std::runtime_error("too long a path: " + path);
        }
        std::ranges::copy(path, _address.sun_path);
        if (::bind(_file.get(), reinterpret_cast<const sockaddr*>(&_address), sizeof _address) != 0
            || ::listen(_file.get(), 1) != 0) {
            throw std::runtime_error("no socket at " + path);
        }
    }

    int release() { return _file.release(); } // the caller closes it

    // The next connection, once there is one.
    NPFileDescriptor accept() const { return NPFileDescriptor(::accept(_file.get(), nullptr, nullptr)); }

    // Connects as a program would; none when too many wait already.
    NPFileDescriptor connect() const
    {
        NPFileDescriptor file(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        return ::connect(file.get(), reinterpret_cast<const sockaddr*>(&_address), sizeof _address) == 0
                   ? std::move(file)
                   : NPFileDescriptor();
    }

private:
    sockaddr_un _address{};
    NPFileDescriptor _file{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
};
