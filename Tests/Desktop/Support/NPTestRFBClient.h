// The least of an RFB (VNC) client that Xvnc lets choose its screens.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

class NPTestRFBClient {
public:
    explicit NPTestRFBClient(const std::string& socketPath); // connects; throws on failure
    ~NPTestRFBClient();
    NPTestRFBClient(const NPTestRFBClient&) = delete;
    NPTestRFBClient& operator=(const NPTestRFBClient&) = delete;

    struct Screen {
        std::uint32_t identifier = 0;
        std::uint16_t x = 0;
        std::uint16_t y = 0;
        std::uint16_t width = 0;
        std::uint16_t height = 0;
    };

    // Returns when the server has been asked; what becomes of it is seen over X.
    void setScreens(const std::vector<Screen>& screens);

private:
    void _send(const std::vector<std::uint8_t>& bytes);
    std::vector<std::uint8_t> _receive(std::size_t count);

    int _descriptor = -1;
};
