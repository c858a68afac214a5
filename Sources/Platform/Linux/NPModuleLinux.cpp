#include "Platform/Linux/NPModuleLinux.h"

#include "Platform/Linux/NPResourcesLinux.h"

#include <dlfcn.h>
#include <unistd.h>

std::vector<std::string> NPModuleFolders()
{
    const std::string folder = NPProgramFolder();
    return {folder, folder + NP_MODULE_PATH};
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
