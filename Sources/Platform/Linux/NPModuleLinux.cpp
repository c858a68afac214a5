#include "Platform/Linux/NPModuleLinux.h"

#include <dlfcn.h>
#include <limits.h>
#include <unistd.h>

#include <array>
#include <string_view>

std::vector<std::string> NPModuleFolders()
{
    std::array<char, PATH_MAX> path;
    const ssize_t length = ::readlink("/proc/self/exe", path.data(), path.size());
    const std::string_view program(path.data(), length < 0 ? 0 : static_cast<std::size_t>(length));
    const std::string folder(program.substr(0, program.find_last_of('/') + 1)); // empty when the kernel is silent
    return {folder, folder + "../lib/nightpane/"};
}

std::expected<void*, std::string> NPLoadModule(const std::vector<std::string>& folders, const char* fileName,
                                               const char* functionName)
{
    for (const std::string& folder : folders) {
        const std::string path = folder + '/' + fileName;
        if (::access(path.c_str(), F_OK) != 0) {
            continue;
        }
        void* const module = ::dlopen(path.c_str(), RTLD_LAZY | RTLD_LOCAL | RTLD_NODELETE);
        void* const function = module != nullptr ? ::dlsym(module, functionName) : nullptr;
        if (function == nullptr) {
            return std::unexpected(::dlerror());
        }
        return function;
    }
    return std::unexpected(std::string(fileName) + " is missing");
}
