// Another program, run by a test.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

class NPTestProcess {
public:
    // Found in PATH. What it writes, errors included, is for output(). It ends at the latest with the thread
    // that has started it. Throws when it cannot be started.
    explicit NPTestProcess(const std::vector<std::string>& arguments);
    ~NPTestProcess(); // kills it
    NPTestProcess(const NPTestProcess&) = delete;
    NPTestProcess& operator=(const NPTestProcess&) = delete;

    // What it has written so far, after waiting until that has the text in it. Throws when it does not come.
    const std::string& outputUntil(std::string_view text);

    // All that it writes. Throws when it does not end.
    const std::string& outputUntilEnd();

    void signal(int number);
    void kill(); // and wait for its end

private:
    bool _readUntil(std::chrono::steady_clock::time_point end);

    pid_t _process = -1;
    int _descriptor = -1;
    std::string _output;
};

// Runs a program to its end and gives what it wrote.
std::string NPTestOutputOf(const std::vector<std::string>& arguments);
