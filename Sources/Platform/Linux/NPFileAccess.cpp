#include "Platform/Linux/NPFileAccess.h"

#include "Platform/Linux/NPFileDescriptor.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

std::unexpected<std::string> lastError()
{
    return std::unexpected(std::string(std::strerror(errno)));
}

// Where a link, or a chain of them, leads; the path itself when it is none or leads nowhere yet.
std::string resolved(const std::string& path)
{
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr), &std::free);
    return real ? std::string(real.get()) : path;
}

std::string folderOf(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) {
        return ".";
    }
    return slash == 0 ? "/" : path.substr(0, slash);
}

bool writeWhole(int file, const QXData& content)
{
    std::size_t written = 0;
    while (written < content.size()) {
        const ssize_t count = ::write(file, content.data() + written, content.size() - written);
        if (count < 0 && errno != EINTR) {
            return false;
        }
        written += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return true;
}

std::expected<void, std::string> writeInto(const std::string& path, const QXData& content)
{
    const NPFileDescriptor file(::open(path.c_str(), O_WRONLY | O_CLOEXEC));
    if (!file || !writeWhole(file.get(), content)) {
        return lastError();
    }
    return {};
}

bool isSpecial(const std::string& path)
{
    struct stat status{};
    return ::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode);
}

mode_t permissionsFor(const std::string& path)
{
    struct stat status{};
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0644;
}

} // namespace

std::expected<QXData, std::string> NPReadFile(const std::string& path, std::size_t limit)
{
    const NPFileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file) {
        return lastError();
    }
    QXData content;
    std::array<std::uint8_t, 65536> buffer;
    for (;;) {
        const ssize_t count = ::read(file.get(), buffer.data(), buffer.size());
        if (count < 0 && errno != EINTR) {
            return lastError();
        }
        if (count == 0) {
            return content;
        }
        content.insert(content.end(), buffer.begin(), buffer.begin() + (count > 0 ? count : 0));
        if (content.size() > limit) {
            return std::unexpected("it is larger than " + std::to_string(limit >> 20) + " MiB");
        }
    }
}

std::expected<void, std::string> NPWriteFile(const std::string& path, const QXData& content)
{
    if (isSpecial(path)) {
        return writeInto(path, content);
    }
    const std::string target = resolved(path);
    std::string temporary = target + ".XXXXXX";
    NPFileDescriptor file(::mkostemp(temporary.data(), O_CLOEXEC));
    if (!file) {
        return lastError();
    }
    if (!writeWhole(file.get(), content) || ::fchmod(file.get(), permissionsFor(target)) != 0
        || ::fsync(file.get()) != 0 || ::rename(temporary.c_str(), target.c_str()) != 0) {
        const auto error = lastError();
        ::unlink(temporary.c_str());
        return error;
    }
    // The new name is only safe once the folder is on the disk too; where that cannot be had, it soon is.
    const NPFileDescriptor folder(::open(folderOf(target).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder) {
        ::fsync(folder.get());
    }
    return {};
}
