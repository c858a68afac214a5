#include "Engine/NPLockFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int ownerOnly = 0600;

// A lock of this kind belongs to the open file, and can be looked for without being taken.
struct flock wholeFile()
{
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return lock;
}

} // namespace

std::expected<NPLockFile, std::string> NPLockFile::open(const std::filesystem::path& path)
{
    std::error_code ignored; // opening the file tells
    std::filesystem::create_directories(path.parent_path(), ignored);
    NPFileDescriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, ownerOnly));
    if (!file) {
        return std::unexpected("cannot open " + path.string() + ": " + std::strerror(errno));
    }
    return NPLockFile(std::move(file));
}

bool NPLockFile::take()
{
    struct flock whole = wholeFile();
    if (::fcntl(_file.get(), F_OFD_SETLK, &whole) != 0) {
        return false;
    }
    // Only for people: the lock holds without it, also where the disk is full.
    const std::string process = std::to_string(::getpid()) + '\n';
    [[maybe_unused]] const bool isSaid =
        ::ftruncate(_file.get(), 0) == 0 && ::pwrite(_file.get(), process.data(), process.size(), 0) > 0;
    return true;
}

std::optional<int> NPLockFile::holder(const std::filesystem::path& path)
{
    const NPFileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct flock whole = wholeFile();
    if (!file || ::fcntl(file.get(), F_OFD_GETLK, &whole) != 0 || whole.l_type == F_UNLCK) {
        return std::nullopt;
    }
    char text[16] = {};
    const ssize_t length = ::pread(file.get(), text, sizeof text - 1, 0);
    return length > 0 ? std::atoi(text) : 0;
}
