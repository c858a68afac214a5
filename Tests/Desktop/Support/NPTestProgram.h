// A program that a test runs as a user would, with its output and errors apart.
#pragma once

#include "Platform/Linux/NPTemporaryFolder.h"

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class NPTestProgram {
public:
    // Starts it with the test's environment, found by its path. It gets SIGKILL when the test's thread ends.
    explicit NPTestProgram(const std::vector<std::string>& arguments);
    ~NPTestProgram(); // kills it
    NPTestProgram(NPTestProgram&& other) noexcept;
    NPTestProgram& operator=(NPTestProgram&&) = delete;

    pid_t process() const { return _process; }
    void signal(int number) const;

    // Waits for its end; the exit status, or minus the signal. Throws after 30 seconds.
    int wait();

    std::string output() const; // so far
    std::string errors() const;

private:
    std::unique_ptr<NPTemporaryFolder> _folder = std::make_unique<NPTemporaryFolder>();
    pid_t _process = 0;
};

// Whether the condition comes true within twenty seconds, or within the patience.
bool NPTestEventually(const std::function<bool()>& condition,
                      std::chrono::seconds patience = std::chrono::seconds(20));
