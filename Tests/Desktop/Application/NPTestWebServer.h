// A web server on this machine, for one test. Each path gives what the test has set for it; others give 404.
#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

class NPTestWebServer {
public:
    NPTestWebServer();
    ~NPTestWebServer();
    NPTestWebServer(const NPTestWebServer&) = delete;
    NPTestWebServer& operator=(const NPTestWebServer&) = delete;

    std::string url(const std::string& path) const { return "http://127.0.0.1:" + std::to_string(_port) + path; }

    void serve(const std::string& path, const std::string& body);
    void redirect(const std::string& path, const std::string& target);
    void neverAnswer(const std::string& path);
    void neverEnd(const std::string& path); // bytes without end, as fast as they are taken

    int requestCount(const std::string& path) const;

    // Nobody listens any more.
    void close();

private:
    void _accept();
    void _answer(int connection);
    std::string _answerTo(const std::string& path);

    int _listener = -1;
    std::uint16_t _port = 0;
    mutable std::mutex _mutex; // guards what follows
    std::map<std::string, std::string> _answers;
    std::map<std::string, int> _requests;
    std::vector<int> _connections;
    bool _isClosing = false;
    std::list<std::thread> _threads; // of the connections; used by the accepting one
    std::thread _accepting;
};
