#include "Platform/Linux/NPFileServicesLinux.h"

#include "Foundation/QXURL.h"
#include "Platform/Linux/NPFileAccess.h"

#include <filesystem>
#include <system_error>

namespace {

bool isAbsolutePath(const char* value)
{
    return value != nullptr && *value == '/';
}

// Without slashes at its end.
std::string urlOfFolder(std::string path)
{
    while (path.ends_with('/')) {
        path.pop_back();
    }
    return QXFileURLFromPath(path);
}

} // namespace

NPFileServicesLinux::NPFileServicesLinux(const char* cacheHome, const char* home)
{
    if (isAbsolutePath(cacheHome)) {
        _cachesFolder = urlOfFolder(cacheHome);
    } else if (isAbsolutePath(home)) {
        _cachesFolder = urlOfFolder(home) + "/.cache";
    }
}

std::expected<void, std::string> NPFileServicesLinux::createFolder(const std::string& url)
{
    const auto path = QXPathFromFileURL(url);
    if (!path) {
        return std::unexpected(std::string("no file URL"));
    }
    std::error_code error;
    std::filesystem::create_directories(*path, error);
    if (error) {
        return std::unexpected(error.message());
    }
    return {};
}

bool NPFileServicesLinux::writeFile(const std::string& url, const QXData& content)
{
    const auto path = QXPathFromFileURL(url);
    return path && NPWriteFile(*path, content);
}

void NPFileServicesLinux::removeFile(const std::string& url)
{
    if (const auto path = QXPathFromFileURL(url)) {
        std::error_code ignored;
        std::filesystem::remove(*path, ignored);
    }
}

void NPFileServicesLinux::removeFolder(const std::string& url)
{
    if (const auto path = QXPathFromFileURL(url)) {
        std::error_code ignored;
        std::filesystem::remove_all(*path, ignored);
    }
}
