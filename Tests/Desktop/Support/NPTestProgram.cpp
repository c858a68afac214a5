#include "Desktop/Support/NPTestProgram.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>
#include <thread>
#include <utility>

namespace {

void redirect(const std::string& path, int descriptor)
{
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ::dup2(file, descriptor);
    ::close(file);
}

} // namespace

NPTestProgram::NPTestProgram(const std::vector<std::string>& arguments)
{
    std::vector<std::string> words = arguments;
    std::vector<char*> pointers;
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    const std::string output = _folder->path() / "output";
    const std::string errors = _folder->path() / "errors";
    _process = ::fork();
    if (_process < 0) {
        throw std::runtime_error("no second process");
    }
    if (_process == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        redirect(output, STDOUT_FILENO);
        redirect(errors, STDERR_FILENO);
        ::execv(pointers[0], pointers.data());
        ::_exit(127);
    }
}

NPTestProgram::~NPTestProgram()
{
    if (_process > 0) {
        ::kill(_process, SIGKILL);
        ::waitpid(_process, nullptr, 0);
    }
}

NPTestProgram::NPTestProgram(NPTestProgram&& other) noexcept
    : _folder(std::move(other._folder)), _process(std::exchange(other._process, 0))
{
}

void NPTestProgram::signal(int number) const
{
    ::kill(_process, number);
}

int NPTestProgram::wait()
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    int status = 0;
    while (::waitpid(_process, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > end) {
            throw std::runtime_error("the program does not end");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    _process = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

std::string NPTestProgram::output() const
{
    return contentOf(*_folder / "output");
}

std::string NPTestProgram::errors() const
{
    return contentOf(*_folder / "errors");
}

bool NPTestEventually(const std::function<bool()>& condition, std::chrono::seconds patience)
{
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}
