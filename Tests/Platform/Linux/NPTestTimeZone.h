// Makes the C library work in a zone, until the test ends.
#pragma once

#include <stdlib.h>
#include <time.h>

#include <optional>
#include <string>

class NPTestTimeZone {
public:
    explicit NPTestTimeZone(const std::string& zone)
    {
        if (const char* former = getenv("TZ")) {
            _former = former;
        }
        set(zone);
    }
    ~NPTestTimeZone()
    {
        if (_former) {
            setenv("TZ", _former->c_str(), 1);
        } else {
            unsetenv("TZ");
        }
        tzset();
    }
    NPTestTimeZone(const NPTestTimeZone&) = delete;
    NPTestTimeZone& operator=(const NPTestTimeZone&) = delete;

    static void set(const std::string& zone)
    {
        setenv("TZ", "UTC0", 1); // the C library reads nothing again for the same text
        tzset();
        setenv("TZ", zone.c_str(), 1);
        tzset();
    }

private:
    std::optional<std::string> _former;
};
