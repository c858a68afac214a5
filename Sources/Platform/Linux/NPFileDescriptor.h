// A file descriptor with an owner, closed when the owner goes.
#pragma once

#include <unistd.h>

#include <utility>

class NPFileDescriptor {
public:
    NPFileDescriptor() = default;
    explicit NPFileDescriptor(int descriptor) : _descriptor(descriptor) {} // takes it over; -1 is none
    NPFileDescriptor(NPFileDescriptor&& other) noexcept : _descriptor(std::exchange(other._descriptor, -1)) {}
    NPFileDescriptor& operator=(NPFileDescriptor&& other) noexcept
    {
        std::swap(_descriptor, other._descriptor); // the former one goes with the temporary
        return *this;
    }
    ~NPFileDescriptor() { reset(); }

    int get() const { return _descriptor; }
    explicit operator bool() const { return _descriptor >= 0; }

    int release() { return std::exchange(_descriptor, -1); } // it is the caller's then

    void reset()
    {
        if (_descriptor >= 0) {
            ::close(release());
        }
    }

private:
    int _descriptor = -1;
};
